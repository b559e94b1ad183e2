// Alignment, size zero, the pool limit and the direct path with its header
// and statistics.
#include <gtest/gtest.h>

#include <cstdint>

#include "memory_test_support.h"
#include "service/serv.h"

namespace {

using namespace orb;
using test::AlignedTo;
using test::InFreshThread;
using test::Touch;

TEST(MemoryAlignment, EffectiveAlignmentRule) {
    struct Case {
        int32_t requested;
        uint32_t effective;
    } cases[] = {{0, 64},     {1, 64},       {16, 64},        {32, 64},  {63, 64},
                 {64, 64},    {96, 64},      {100, 64},       {128, 128}, {192, 64},
                 {4096, 4096}, {1 << 20, 1 << 20}, {1 << 30, 1u << 30}, {-64, 64},
                 {INT32_MIN, 64}, {INT32_MAX, 64}};
    for (const auto &c : cases) EXPECT_EQ(mem::EffectiveAlignment(c.requested), c.effective) << c.requested;
}

// Every alignment through the pools (ServAlloc) and straight to the
// primitive (DirectAlloc): aligned, writable in full; size 0 gives null
// and takes nothing.
TEST(MemoryAlignment, EveryPathAlignsAndSizeZeroTakesNothing) {
    InFreshThread([] {
        for (bool direct : {false, true})
            for (int32_t alignment : {0, 16, 64, 96, 128, 4096, 1 << 16, 1 << 20}) {
                const uint32_t a = mem::EffectiveAlignment(alignment);
                for (uint32_t size : {1u, 100u, 4096u, 100000u}) {
                    void *p = direct ? mem::DirectAlloc(size, a) : ServAlloc(size, alignment);
                    ASSERT_NE(p, nullptr) << direct << " " << size << " " << alignment;
                    EXPECT_TRUE(AlignedTo(p, a)) << direct << " " << size << " " << alignment;
                    Touch(p, size, 0x5a);
                    direct ? mem::DirectFree(p) : ServFree(p);
                }
            }
        const mem::Statistics before = mem::ReadStatistics();
        for (int32_t alignment : {0, 16, 64, 96, 128, 4096}) EXPECT_EQ(ServAlloc(0, alignment), nullptr);
        EXPECT_EQ(mem::ReadStatistics().blocks_outstanding, before.blocks_outstanding);
        ServFree(nullptr);  // ignored
    });
}

TEST(MemoryAlignment, PoolLimitBoundary) {
    struct Case {
        uint32_t size;
        int32_t alignment;
        bool direct;
    } cases[] = {{mem::kPoolLimitBytes, 64, false},
                 {mem::kPoolLimitBytes + 1, 0, true},
                 {mem::kPoolLimitBytes + 1, 4096, true}};
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

}  // namespace
