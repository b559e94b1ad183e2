// Probe scenarios of the memory manager: what the load-time table holds,
// the mode switches, a full pool registry and the release at unload, each
// in a fresh process (the counting allocator comes in via the search path).
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "memory/counting_allocator.h"
#include "service/memory.h"
#include "service/serv.h"
#include "support/probe.h"

namespace {

using orb::test::AllocatorCounts;
using orb::test::CountingAllocator;
namespace mem = orb::mem;

}  // namespace

// Where the allocate primitive comes from: replacement, crt or other.
ORB_PROBE_SCENARIO(memory_primitives) {
    auto allocate = reinterpret_cast<void *>(mem::GetPrimitives().allocate);
    auto release = reinterpret_cast<void *>(mem::GetPrimitives().release);
    const char *source = "other";
    if (allocate == reinterpret_cast<void *>(&std::malloc) && release == reinterpret_cast<void *>(&std::free))
        source = "crt";
    else if (CountingAllocator::Loaded() && allocate == CountingAllocator::VariableValue("orb_malloc_dll"))
        source = "replacement";
    std::printf("%s\n", source);
    return 0;
}

// One hundred allocate/release pairs of one size: primitive calls they cost.
ORB_PROBE_SCENARIO(memory_switch) {
    AllocatorCounts before = CountingAllocator::Read();
    int misaligned = 0;
    for (int i = 0; i < 100; ++i) {
        void *p = ServAlloc(1000, i % 2 ? 4096 : 16);
        if (!p || (uintptr_t(p) & (i % 2 ? 4095 : 63))) ++misaligned;
        ServFree(p);
    }
    AllocatorCounts d = CountingAllocator::Read() - before;
    std::printf("cache=%d mallocs=%ld frees=%ld misaligned=%d direct_left=%lld\n",
                int(mem::CacheEnabled()), d.mallocs, d.frees, misaligned,
                (long long)mem::ReadStatistics().blocks_outstanding);
    return 0;
}

#if defined(_WIN32)
// Windows gives a finished thread's identifier to the next new thread, which
// then finds that thread's pool: the pool makers stay alive (on small
// stacks) until the end of the scenario.
namespace {
HANDLE g_made, g_leave;
DWORD WINAPI MakePoolAndWait(LPVOID) {
    ServFree(ServAlloc(100, 64));
    SetEvent(g_made);
    WaitForSingleObject(g_leave, INFINITE);
    return 0;
}
}  // namespace
#endif

// Threads, one after another, each making a pool, until 1024 are
// registered; the next thread's request goes direct.
ORB_PROBE_SCENARIO(memory_registry_full) {
#if defined(_WIN32)
    g_made = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    g_leave = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::vector<HANDLE> makers;
    while (makers.size() < 4096 && mem::TakeCensus().pools_registered < mem::kMaxPools) {
        HANDLE t = CreateThread(nullptr, 64 * 1024, &MakePoolAndWait, nullptr,
                                STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
        if (!t) break;
        makers.push_back(t);
        WaitForSingleObject(g_made, INFINITE);
    }
#else
    for (int i = 0; i < 4096 && mem::TakeCensus().pools_registered < mem::kMaxPools; ++i)
        std::thread([] { ServFree(ServAlloc(100, 64)); }).join();
#endif
    int64_t before = mem::ReadStatistics().blocks_outstanding;
    int64_t during = 0;
    std::thread([&] {
        void *p = ServAlloc(100, 64);
        during = mem::ReadStatistics().blocks_outstanding;
        ServFree(p);
    }).join();
    std::printf("pools=%d direct=%lld left=%lld\n", mem::TakeCensus().pools_registered,
                (long long)(during - before),
                (long long)(mem::ReadStatistics().blocks_outstanding - before));
#if defined(_WIN32)
    SetEvent(g_leave);
    for (HANDLE t : makers) {
        WaitForSingleObject(t, INFINITE);
        CloseHandle(t);
    }
#endif
    return 0;
}

// The release of the pools at unload, with one buffer still in use.
ORB_PROBE_SCENARIO(memory_release_pools) {
    void *held = ServAlloc(100, 64);
    ServFree(ServAlloc(200, 64));
    std::thread([] {
        void *a = ServAlloc(300, 64), *b = ServAlloc(400, 128);
        ServFree(a);
        ServFree(b);
    }).join();
    mem::ReleasePools();
    mem::PoolCensus c = mem::TakeCensus();
    std::printf("released cache=%d records=%d buffers=%d\n", int(mem::CacheEnabled()),
                c.records_live, c.buffers_live);
    ServFree(held);
    c = mem::TakeCensus();
    std::printf("held freed records=%d buffers=%d live=%ld\n", c.records_live, c.buffers_live,
                CountingAllocator::Read().Live());
    void *later = ServAlloc(100, 64);
    std::printf("later direct=%lld\n", (long long)mem::ReadStatistics().blocks_outstanding);
    ServFree(later);
    std::printf("end live=%ld\n", CountingAllocator::Read().Live());
    return 0;
}
