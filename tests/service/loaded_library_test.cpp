// The shared library as an application loads it: per-thread records live in
// its slot store, and each thread keeps the address of its record. Records
// must stay valid through thread exits and through an unload and reload of
// the library while one thread lives on (run under the sanitizers, a stale
// address is a use after free).
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

#include "service/platform.h"

namespace {

#if !defined(_WIN32)
using DivFn = void (*)(int, const double *, const double *, double *);

// One call that writes the thread's status (a zero divisor) and reads its
// mode; true when the quotients are right.
bool DivideOnce(DivFn div) {
    const double a[8] = {1, 2, 3, 4, 5, 6, 7, 8}, b[8] = {2, 2, 2, 2, 0, 2, 2, 2};
    double y[8] = {};
    div(8, a, b, y);
    return y[0] == 0.5 && y[7] == 4.0 && std::isinf(y[4]);
}
#endif

TEST(LoadedLibrary, ThreadRecordsAcrossThreadExitsAndReloads) {
#if defined(_WIN32)
    GTEST_SKIP() << "records are looked up in the slot on every call here";
#else
    std::atomic<DivFn> current{nullptr};
    std::atomic<int> phase{0}, done{0}, good{0};
    // Lives through every reload, calling once per phase.
    std::thread survivor([&] {
        for (int seen = 0; seen < 3; ++seen) {
            while (phase.load() == seen * 2) std::this_thread::yield();
            good += DivideOnce(current.load());
            done.fetch_add(1);
            while (phase.load() == seen * 2 + 1) std::this_thread::yield();
        }
    });
    for (int cycle = 0; cycle < 3; ++cycle) {
        void *lib = orb::plat::LibOpen(ORB_SHARED_LIBRARY);
        ASSERT_NE(lib, nullptr) << ORB_SHARED_LIBRARY;
        auto div = reinterpret_cast<DivFn>(orb::plat::LibSymbol(lib, "vdDiv"));
        ASSERT_NE(div, nullptr);
        current.store(div);
        EXPECT_TRUE(DivideOnce(div));
        std::vector<std::thread> shortLived;
        std::atomic<int> ok{0};
        for (int t = 0; t < 4; ++t)
            shortLived.emplace_back([&] {
                for (int r = 0; r < 50; ++r) ok += DivideOnce(div);
            });
        for (auto &t : shortLived) t.join();
        EXPECT_EQ(ok.load(), 200) << "cycle " << cycle;
        phase.store(cycle * 2 + 1);  // the survivor calls now
        while (done.load() == cycle) std::this_thread::yield();
        EXPECT_TRUE(DivideOnce(div));
        phase.store(cycle * 2 + 2);  // and waits while the library goes
        orb::plat::LibClose(lib);
    }
    survivor.join();
    EXPECT_EQ(good.load(), 3);
#endif
}

}  // namespace
