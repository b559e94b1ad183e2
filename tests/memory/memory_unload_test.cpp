// Windows: an application that loads orb_custom.dll at run time, uses it
// from two threads and unloads it gets back every block the library took
// from the replacement allocator (pools, records, buffers) and the library's
// thread-local slot. Links nothing of the library; reaches it only through
// LoadLibraryA / GetProcAddress, as an application does.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <thread>
#include <vector>

#include "memory/counting_allocator.h"

namespace {

using orb::test::CountingAllocator;

// Thread-local slots a process can still allocate.
int FreeTlsSlots() {
    std::vector<DWORD> taken;
    for (DWORD k; (k = TlsAlloc()) != TLS_OUT_OF_INDEXES;) taken.push_back(k);
    for (DWORD k : taken) TlsFree(k);
    return int(taken.size());
}

struct Library {
    HMODULE module = LoadLibraryA(ORB_DLL_PATH);
    template <class Fn>
    Fn Get(const char *name) const {
        return reinterpret_cast<Fn>(reinterpret_cast<void *>(GetProcAddress(module, name)));
    }
};

// Vector math (the thread's error record) and a committed transform (pooled
// buffers), everything released again by the caller.
void UseLibrary(const Library &lib) {
    auto sqrt = lib.Get<void (*)(int, const double *, double *)>("vdSqrt");
    auto create = lib.Get<int32_t (*)(void **, int32_t, int32_t)>("DftiCreateDescriptor_d_1d");
    auto commit = lib.Get<int32_t (*)(void *)>("DftiCommitDescriptor");
    auto forward = lib.Get<int32_t (*)(void *, ...)>("DftiComputeForward");
    auto release = lib.Get<int32_t (*)(void **)>("DftiFreeDescriptor");
    ASSERT_TRUE(sqrt && create && commit && forward && release);
    std::vector<double> a(64, 4.0), y(64), data(2 * 96, 1.0);
    sqrt(64, a.data(), y.data());
    EXPECT_EQ(y[63], 2.0);
    void *h = nullptr;
    ASSERT_EQ(create(&h, 32, 96), 0);
    ASSERT_EQ(commit(h), 0);
    ASSERT_EQ(forward(h, data.data()), 0);
    EXPECT_EQ(data[0], 96.0);  // the sum of 96 ones
    EXPECT_EQ(release(&h), 0);
}

TEST(MemoryUnload, FreeLibraryReturnsBlocksAndTheSlot) {
    // Loaded first and pinned, so its counts outlive the library.
    ASSERT_NE(LoadLibraryA("liborbmalloc.dll"), nullptr);
    ASSERT_TRUE(CountingAllocator::Loaded());
    const long live_before = CountingAllocator::Read().Live();
    const int slots_before = FreeTlsSlots();

    for (int round = 0; round < 3; ++round) {
        Library lib;
        ASSERT_NE(lib.module, nullptr) << ORB_DLL_PATH;
        UseLibrary(lib);
        std::thread([&lib] { UseLibrary(lib); }).join();
        EXPECT_GT(CountingAllocator::Read().Live(), live_before)
            << "the library did not take its blocks from liborbmalloc.dll";
        EXPECT_LT(FreeTlsSlots(), slots_before) << "no thread-local slot while loaded";
        ASSERT_TRUE(FreeLibrary(lib.module));
        EXPECT_EQ(GetModuleHandleA("orb_custom.dll"), nullptr);
        EXPECT_EQ(CountingAllocator::Read().Live(), live_before) << "round " << round;
        EXPECT_EQ(FreeTlsSlots(), slots_before) << "round " << round;
    }
}

}  // namespace
