// Per-thread pools, observed through the counting replacement allocator the
// library picked up at load: which requests reach the primitive, which go
// direct, recycling, release from another thread, failing primitives.
#include <gtest/gtest.h>

#include <latch>
#include <vector>

#include "memory_test_support.h"
#include "service/serv.h"

namespace {

using namespace orb;
using test::AllocatorCounts;
using test::CountingAllocator;
using test::ExpectNothingLost;
using test::InFreshThread;

class MemoryPool : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CountingAllocator::Loaded()) << "the replacement allocator was not loaded";
        ASSERT_TRUE(mem::CacheEnabled());
    }
    void TearDown() override { ExpectNothingLost(); }
};

TEST_F(MemoryPool, RepeatedPairOfOneSizeReachesThePrimitiveOnce) {
    InFreshThread([] {
        AllocatorCounts before = CountingAllocator::Read();
        void *first = ServAlloc(1000, 64);
        ServFree(first);
        for (int i = 0; i < 1000; ++i) {
            void *p = ServAlloc(1000, 64);
            ASSERT_EQ(p, first);
            test::Touch(p, 1000, uint8_t(i));
            ServFree(p);
        }
        AllocatorCounts d = CountingAllocator::Read() - before;
        EXPECT_EQ(d.mallocs, 2);  // the pool record and the one buffer
        EXPECT_EQ(d.frees, 0);
        EXPECT_EQ(d.callocs + d.reallocs, 0);
    });
}

// Which slot a request takes: set up live buffers of the given sizes,
// release some, then request one more.
TEST_F(MemoryPool, SlotChoice) {
    struct Case {
        const char *what;
        std::vector<uint32_t> sizes;
        std::vector<int> released;
        uint32_t request;
        int reuses;  // index of the buffer handed out again, -1 none
        long mallocs, frees, direct;
    } cases[] = {
        {"equal capacity wins over an earlier larger one", {300, 100}, {0, 1}, 100, 1, 0, 0, 0},
        {"first larger free slot when none is equal", {300, 400, 100}, {0, 1, 2}, 150, 0, 0, 0, 0},
        {"a new slot before recycling a smaller one", {100}, {0}, 150, -1, 1, 0, 0},
        {"smaller free slot recycled when five are made", {100, 100, 100, 100, 100}, {2}, 1000, -1, 1, 1, 0},
        {"in-use slots are never taken", {100, 100, 100, 100, 100}, {}, 100, -1, 1, 0, 1},
        {"larger slot keeps serving smaller requests", {5000, 1, 1, 1, 1}, {0}, 64, 0, 0, 0, 0},
    };
    for (const auto &c : cases) {
        InFreshThread([&] {
            std::vector<void *> held;
            for (uint32_t s : c.sizes) held.push_back(ServAlloc(s, 64));
            for (int i : c.released) ServFree(held[size_t(i)]);
            AllocatorCounts before = CountingAllocator::Read();
            mem::Statistics s0 = mem::ReadStatistics();
            void *p = ServAlloc(c.request, 64);
            ASSERT_NE(p, nullptr) << c.what;
            test::Touch(p, c.request, 0x11);
            AllocatorCounts d = CountingAllocator::Read() - before;
            EXPECT_EQ(d.mallocs, c.mallocs) << c.what;
            EXPECT_EQ(d.frees, c.frees) << c.what;
            EXPECT_EQ(mem::ReadStatistics().blocks_outstanding - s0.blocks_outstanding, c.direct) << c.what;
            if (c.reuses >= 0)
                EXPECT_EQ(p, held[size_t(c.reuses)]) << c.what;
            else
                for (size_t i = 0; i < held.size(); ++i) EXPECT_NE(p, held[i]) << c.what;
            ServFree(p);
            for (size_t i = 0; i < held.size(); ++i) {
                bool released = false;
                for (int r : c.released) released |= size_t(r) == i;
                if (!released) ServFree(held[i]);
            }
        });
        ExpectNothingLost();
    }
}

TEST_F(MemoryPool, ReleaseFromAnotherThreadFreesTheOwnersSlot) {
    void *p = nullptr;
    std::latch allocated(1), released(1);
    std::thread owner([&] {
        p = ServAlloc(500, 128);
        allocated.count_down();
        released.wait();
        AllocatorCounts before = CountingAllocator::Read();
        void *again = ServAlloc(500, 128);
        EXPECT_EQ(again, p);  // the slot was marked free
        EXPECT_EQ((CountingAllocator::Read() - before).mallocs, 0);
        ServFree(again);
    });
    allocated.wait();
    AllocatorCounts before = CountingAllocator::Read();
    mem::Statistics s0 = mem::ReadStatistics();
    int in_use = mem::TakeCensus().slots_in_use;
    InFreshThread([&] { ServFree(p); });  // a thread without a pool
    ServFree(nullptr);
    EXPECT_EQ(mem::TakeCensus().slots_in_use, in_use - 1);
    EXPECT_EQ((CountingAllocator::Read() - before).frees, 0);
    EXPECT_EQ(mem::ReadStatistics().blocks_outstanding, s0.blocks_outstanding);
    released.count_down();
    owner.join();
}

TEST_F(MemoryPool, DirectBlockReleasedFromAnotherThread) {
    void *p = nullptr;
    InFreshThread([&] { p = ServAlloc(mem::kPoolLimitBytes + 1, 64); });
    ASSERT_NE(p, nullptr);
    mem::Statistics s0 = mem::ReadStatistics();
    InFreshThread([&] { ServFree(p); });
    EXPECT_EQ(mem::ReadStatistics().blocks_outstanding, s0.blocks_outstanding - 1);
}

TEST_F(MemoryPool, FailingPrimitive) {
    struct Case {
        const char *what;
        int warm;        // buffers of 100 bytes held before the request
        uint32_t request;
        bool succeeds;
        long direct;     // direct blocks the request leaves outstanding
    } cases[] = {
        {"pool record cannot be made: direct block", 0, 100, true, 1},
        {"new slot cannot be filled: null", 1, 200, false, 0},
        {"recycled slot cannot be refilled: null", 5, 200, false, 0},
        {"direct block cannot be made: null", 0, mem::kPoolLimitBytes + 1, false, 0},
    };
    for (const auto &c : cases) {
        InFreshThread([&] {
            std::vector<void *> held;
            for (int i = 0; i < c.warm; ++i) held.push_back(ServAlloc(100, 64));
            if (c.warm == 5) ServFree(held.back()), held.pop_back();
            mem::Statistics s0 = mem::ReadStatistics();
            CountingAllocator::FailNext(1);
            void *p = ServAlloc(c.request, 64);
            CountingAllocator::FailNext(0);
            EXPECT_EQ(p != nullptr, c.succeeds) << c.what;
            EXPECT_EQ(mem::ReadStatistics().blocks_outstanding - s0.blocks_outstanding, c.direct) << c.what;
            ServFree(p);
            // The manager recovers: the same request now succeeds.
            void *q = ServAlloc(c.request, 64);
            EXPECT_NE(q, nullptr) << c.what;
            ServFree(q);
            for (void *h : held) ServFree(h);
        });
        ExpectNothingLost();
    }
}

}  // namespace
