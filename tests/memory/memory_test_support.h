// Helpers shared by the memory tests: running a case in a thread of its own
// (a fresh pool), and the bookkeeping invariant that every block the
// primitive handed out and that was not released is held by the manager.
#ifndef ORB_TESTS_MEMORY_TEST_SUPPORT_H
#define ORB_TESTS_MEMORY_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>

#include "memory/counting_allocator.h"
#include "service/memory.h"

namespace orb::test {

template <class Fn>
void InFreshThread(Fn fn) {
    std::thread t(fn);
    t.join();
}

// Pool records + cached buffers + direct blocks == blocks the primitive has
// outstanding. Holds whenever no thread is inside ServAlloc / ServFree.
inline void ExpectNothingLost() {
    mem::PoolCensus c = mem::TakeCensus();
    mem::Statistics s = mem::ReadStatistics();
    EXPECT_EQ(CountingAllocator::Read().Live(), c.records_live + c.buffers_live + s.blocks_outstanding)
        << "records " << c.records_live << " buffers " << c.buffers_live << " direct "
        << s.blocks_outstanding;
}

inline bool AlignedTo(const void *p, uint32_t a) { return (uintptr_t(p) & (a - 1)) == 0; }

// Writes every byte of the request, so the sanitizers see any shortfall.
inline void Touch(void *p, uint32_t size, unsigned char value) { std::memset(p, value, size); }

}  // namespace orb::test

#endif
