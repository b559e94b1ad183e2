// The memory manager in-process, observed through the counting replacement
// allocator the library picked up at load: alignment, size zero, the pool
// limit and the direct path, slot choice, recycling, release from another
// thread, failing primitives, and many threads at once. After each case
// every block the primitive has outstanding must be held by the manager.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <future>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "memory/counting_allocator.h"
#include "service/memory.h"
#include "service/serv.h"

namespace {

using namespace orb;
using test::AllocatorCounts;
using test::CountingAllocator;

// A case in a thread of its own gets a fresh pool.
template <class Fn>
void InFreshThread(Fn fn) {
    std::thread(fn).join();
}

// Pool records + cached buffers + direct blocks == blocks the primitive has
// outstanding. Holds whenever no thread is inside ServAlloc / ServFree.
void ExpectNothingLost() {
    mem::PoolCensus c = mem::TakeCensus();
    mem::Statistics s = mem::ReadStatistics();
    EXPECT_EQ(CountingAllocator::Read().Live(), c.records_live + c.buffers_live + s.blocks_outstanding)
        << "records " << c.records_live << " buffers " << c.buffers_live << " direct " << s.blocks_outstanding;
}

bool AlignedTo(const void *p, uint32_t a) { return (uintptr_t(p) & (a - 1)) == 0; }

int64_t DirectBlocks() { return mem::ReadStatistics().blocks_outstanding; }

class Memory : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CountingAllocator::Loaded()) << "the replacement allocator was not loaded";
        ASSERT_TRUE(mem::CacheEnabled());
    }
    void TearDown() override { ExpectNothingLost(); }
};

TEST_F(Memory, EffectiveAlignmentRule) {
    const struct { int32_t requested; uint32_t effective; } cases[] = {
        {0, 64}, {1, 64}, {16, 64}, {32, 64}, {63, 64}, {64, 64}, {96, 64}, {100, 64}, {128, 128}, {192, 64},
        {4096, 4096}, {1 << 20, 1 << 20}, {1 << 30, 1u << 30}, {-64, 64}, {INT32_MIN, 64}, {INT32_MAX, 64}};
    for (const auto &c : cases) EXPECT_EQ(mem::EffectiveAlignment(c.requested), c.effective) << c.requested;
}

// Every alignment through the pools (ServAlloc) and straight to the
// primitive (DirectAlloc): aligned, writable in full (the sanitizers see any
// shortfall); size 0 gives null and takes nothing.
TEST_F(Memory, EveryPathAlignsAndSizeZeroTakesNothing) {
    InFreshThread([] {
        for (bool direct : {false, true})
            for (int32_t alignment : {0, 16, 64, 96, 128, 4096, 1 << 16, 1 << 20}) {
                const uint32_t a = mem::EffectiveAlignment(alignment);
                for (uint32_t size : {1u, 100u, 4096u, 100000u}) {
                    void *p = direct ? mem::DirectAlloc(size, a) : ServAlloc(size, alignment);
                    ASSERT_NE(p, nullptr) << direct << " " << size << " " << alignment;
                    EXPECT_TRUE(AlignedTo(p, a)) << direct << " " << size << " " << alignment;
                    std::memset(p, 0x5a, size);
                    direct ? mem::DirectFree(p) : ServFree(p);
                }
            }
        const int64_t before = DirectBlocks();
        for (int32_t alignment : {0, 16, 64, 96, 128, 4096}) EXPECT_EQ(ServAlloc(0, alignment), nullptr);
        EXPECT_EQ(DirectBlocks(), before);
        ServFree(nullptr);  // ignored
    });
}

TEST_F(Memory, PoolLimitBoundary) {
    const struct { uint32_t size; int32_t alignment; bool direct; } cases[] = {
        {mem::kPoolLimitBytes, 64, false}, {mem::kPoolLimitBytes + 1, 0, true}, {mem::kPoolLimitBytes + 1, 4096, true}};
    for (const auto &c : cases) {
        InFreshThread([&] {
            mem::Statistics before = mem::ReadStatistics();
            void *p = ServAlloc(c.size, c.alignment);
            ASSERT_NE(p, nullptr);
            uint32_t a = mem::EffectiveAlignment(c.alignment);
            EXPECT_TRUE(AlignedTo(p, a));
            // Both ends of the request are writable.
            static_cast<unsigned char *>(p)[0] = 1;
            static_cast<unsigned char *>(p)[c.size - 1] = 1;
            mem::Statistics during = mem::ReadStatistics();
            uint64_t total = uint64_t(c.size) + a + mem::kDirectHeaderBytes;
            EXPECT_EQ(during.blocks_outstanding - before.blocks_outstanding, c.direct ? 1 : 0) << c.size;
            EXPECT_EQ(during.bytes_outstanding - before.bytes_outstanding, c.direct ? total : 0) << c.size;
            if (c.direct) {
                // Header words: raw pointer two words below, total one word below.
                auto *header = static_cast<uintptr_t *>(p) - 2;
                EXPECT_EQ(header[1], total);
                EXPECT_LE(header[0] + mem::kDirectHeaderBytes, uintptr_t(p));
                EXPECT_GE(header[0] + total, uintptr_t(p) + c.size);
            }
            ServFree(p);
            mem::Statistics after = mem::ReadStatistics();
            EXPECT_EQ(after.blocks_outstanding, before.blocks_outstanding);
            EXPECT_EQ(after.bytes_outstanding, before.bytes_outstanding);
        });
    }
}

TEST_F(Memory, RepeatedPairOfOneSizeReachesThePrimitiveOnce) {
    InFreshThread([] {
        AllocatorCounts before = CountingAllocator::Read();
        void *first = ServAlloc(1000, 64);
        ServFree(first);
        for (int i = 0; i < 1000; ++i) {
            void *p = ServAlloc(1000, 64);
            ASSERT_EQ(p, first);
            std::memset(p, i & 0xff, 1000);
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
TEST_F(Memory, SlotChoice) {
    const struct {
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
            std::vector<bool> released(held.size());
            for (int i : c.released) ServFree(held[size_t(i)]), released[size_t(i)] = true;
            AllocatorCounts before = CountingAllocator::Read();
            const int64_t direct = DirectBlocks();
            void *p = ServAlloc(c.request, 64);
            ASSERT_NE(p, nullptr) << c.what;
            std::memset(p, 0x11, c.request);
            AllocatorCounts d = CountingAllocator::Read() - before;
            EXPECT_EQ(d.mallocs, c.mallocs) << c.what;
            EXPECT_EQ(d.frees, c.frees) << c.what;
            EXPECT_EQ(DirectBlocks() - direct, c.direct) << c.what;
            for (size_t i = 0; i < held.size(); ++i)
                EXPECT_EQ(p == held[i], int(i) == c.reuses) << c.what << " buffer " << i;
            ServFree(p);
            for (size_t i = 0; i < held.size(); ++i)
                if (!released[i]) ServFree(held[i]);
        });
        ExpectNothingLost();
    }
}

TEST_F(Memory, ReleaseFromAnotherThread) {
    void *p = nullptr;
    // Promises rather than std::latch: the MinGW runtime's atomic wait can
    // miss a wake-up.
    std::promise<void> allocated, released;
    std::future<void> allocated_seen = allocated.get_future(), released_seen = released.get_future();
    std::thread owner([&] {
        p = ServAlloc(500, 128);
        allocated.set_value();
        released_seen.wait();
        AllocatorCounts before = CountingAllocator::Read();
        void *again = ServAlloc(500, 128);
        EXPECT_EQ(again, p);  // the slot was marked free
        EXPECT_EQ((CountingAllocator::Read() - before).mallocs, 0);
        ServFree(again);
    });
    allocated_seen.wait();
    AllocatorCounts before = CountingAllocator::Read();
    const int64_t direct = DirectBlocks();
    int in_use = mem::TakeCensus().slots_in_use;
    InFreshThread([&] { ServFree(p); });  // a thread without a pool
    ServFree(nullptr);
    EXPECT_EQ(mem::TakeCensus().slots_in_use, in_use - 1);
    EXPECT_EQ((CountingAllocator::Read() - before).frees, 0);
    EXPECT_EQ(DirectBlocks(), direct);
    released.set_value();
    owner.join();

    // A direct block released by another thread than its maker.
    InFreshThread([&] { p = ServAlloc(mem::kPoolLimitBytes + 1, 64); });
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(DirectBlocks(), direct + 1);
    InFreshThread([&] { ServFree(p); });
    EXPECT_EQ(DirectBlocks(), direct);
}

TEST_F(Memory, FailingPrimitive) {
    const struct {
        const char *what;
        int warm;  // buffers of 100 bytes held before the request
        uint32_t request;
        bool succeeds;
        long direct;  // direct blocks the request leaves outstanding
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
            const int64_t direct = DirectBlocks();
            CountingAllocator::FailNext(1);
            void *p = ServAlloc(c.request, 64);
            CountingAllocator::FailNext(0);
            EXPECT_EQ(p != nullptr, c.succeeds) << c.what;
            EXPECT_EQ(DirectBlocks() - direct, c.direct) << c.what;
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

// Many threads allocating and releasing at once, a share of the buffers
// released by another thread than the one that allocated them. Every buffer
// is filled with its own byte and checked before release, so two live
// requests sharing memory show up as corruption. Meant to run under
// ThreadSanitizer and AddressSanitizer as well.
TEST_F(Memory, ManyThreadsLoseAndCorruptNothing) {
    struct Block {
        unsigned char *p;
        uint32_t size;
        unsigned char value;
    };
    constexpr int kThreads = 8, kSteps = 4000;
    constexpr uint32_t kSizes[] = {1, 64, 100, 1000, 5000, 20000};
    constexpr int32_t kAlignments[] = {0, 64, 96, 256, 4096};
    const mem::Statistics s0 = mem::ReadStatistics();
    std::mutex exchange_mutex;
    std::vector<Block> exchange;  // buffers handed from one thread to another for release
    std::atomic<int> corrupt{0}, misaligned{0}, failed{0};
    auto check_and_free = [&](const Block &b) {
        for (uint32_t i = 0; i < b.size; ++i)
            if (b.p[i] != b.value) {
                corrupt.fetch_add(1);
                break;
            }
        ServFree(b.p);
    };
    auto take = [&](Block *b) {
        std::lock_guard<std::mutex> lock(exchange_mutex);
        if (exchange.empty()) return false;
        *b = exchange.back();
        exchange.pop_back();
        return true;
    };

    auto worker = [&](int id) {
        std::mt19937 rng(1234u + unsigned(id));
        std::vector<Block> live;
        for (int step = 0; step < kSteps; ++step) {
            unsigned choice = rng() % 8;
            if (choice < 4 && live.size() < 8) {  // up to 8 live: some go direct
                uint32_t size = kSizes[rng() % std::size(kSizes)];
                int32_t alignment = kAlignments[rng() % std::size(kAlignments)];
                auto *p = static_cast<unsigned char *>(ServAlloc(size, alignment));
                if (!p) {
                    failed.fetch_add(1);
                    continue;
                }
                if (!AlignedTo(p, mem::EffectiveAlignment(alignment))) misaligned.fetch_add(1);
                Block b{p, size, static_cast<unsigned char>(id * 31 + step)};
                std::memset(p, b.value, size);
                live.push_back(b);
            } else if (choice < 6 && !live.empty()) {
                size_t i = rng() % live.size();
                check_and_free(live[i]);
                live.erase(live.begin() + long(i));
            } else if (choice == 6 && !live.empty()) {
                std::lock_guard<std::mutex> lock(exchange_mutex);
                exchange.push_back(live.back());
                live.pop_back();
            } else if (Block b{}; take(&b)) {
                check_and_free(b);
            }
        }
        for (const Block &b : live) check_and_free(b);
    };

    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(worker, i);
    for (auto &t : threads) t.join();
    for (Block b{}; take(&b);) check_and_free(b);

    EXPECT_EQ(corrupt.load(), 0);
    EXPECT_EQ(misaligned.load(), 0);
    EXPECT_EQ(failed.load(), 0);
    EXPECT_EQ(mem::TakeCensus().slots_in_use, 0);
    mem::Statistics s1 = mem::ReadStatistics();
    EXPECT_EQ(s1.blocks_outstanding, s0.blocks_outstanding);
    EXPECT_EQ(s1.bytes_outstanding, s0.bytes_outstanding);
}

}  // namespace
