// Cross-family stress: more threads than cores call every family at once for
// a bounded time. Each thread has its own vector-math mode, callback and
// status; Fourier descriptors and spline tasks are made and freed per call,
// one committed Fourier descriptor is shared by all threads, and short-lived
// threads make memory pools whose buffers other threads release. Every
// result must equal the single-threaded run of the same job, and the memory
// manager must hold nothing more afterwards than before.
//
// Time budget: STRESS_SECONDS if set, else 10 s (3 s under a sanitizer).
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <map>
#include <mutex>
#include <thread>
#include <tuple>
#include <vector>

#include "service/memory.h"
#include "stress/stress_jobs.h"

namespace orb::stress {
namespace {

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ORB_STRESS_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORB_STRESS_SANITIZED 1
#endif

double BudgetSeconds() {
    if (const char *v = std::getenv("STRESS_SECONDS")) return std::atof(v);
#ifdef ORB_STRESS_SANITIZED
    return 3;
#else
    return 10;
#endif
}

constexpr int kThreads = kLanes;  // 12 threads on a 2-core machine
constexpr int kSeeds = 3;
constexpr int kSharedN = 128;
enum Job { kFourier, kShared, kSpline, kVector, kMemory, kJobs };

// Results of the single-threaded run, by (job, kind or lane, seed).
using Key = std::tuple<int, int, int>;

Outcome RunJob(Job job, int kind, int seed, DftiHandle shared) {
    switch (job) {
        case kFourier: return FourierJob(kind % kFourierKinds, uint32_t(seed));
        case kShared: return SharedFourierJob(shared, kSharedN, uint32_t(seed));
        case kSpline: return SplineJob(kind % kSplineKinds, uint32_t(seed));
        case kVector: return VectorJob(kind, uint32_t(seed));
        default: return MemoryJob(uint32_t(seed));
    }
}

// Fourier plans may split work differently across runs; everything else
// must reproduce the same bits.
double Tolerance(Job job) { return job == kFourier || job == kShared ? 1e-12 : 0; }

TEST(Stress, EveryFamilyFromManyThreadsMatchesTheSingleThreadedRun) {
    int32_t status = 0;
    DftiHandle shared = MakeSharedDescriptor(kSharedN, kThreads + 1, &status);
    ASSERT_EQ(status, 0);

    std::map<Key, Outcome> ref;
    for (int job = 0; job < kJobs; ++job)
        for (int kind = 0; kind < kLanes; ++kind)
            for (int seed = 0; seed < kSeeds; ++seed) {
                Outcome o = RunJob(Job(job), kind, seed, shared);
                ASSERT_EQ(o.error, "") << "job " << job << " kind " << kind;
                ref[{job, kind, seed}] = o;
            }
    int64_t callbacks_before[kLanes];
    for (int l = 0; l < kLanes; ++l) callbacks_before[l] = CallbackCount(l);
    const mem::PoolCensus census0 = mem::TakeCensus();
    const mem::Statistics stats0 = mem::ReadStatistics();

    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::milliseconds(int64_t(BudgetSeconds() * 1000));
    std::mutex mu;
    std::vector<std::string> failures;
    std::vector<int64_t> vector_jobs(kThreads, 0), total_jobs(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            // Every job at least twice, then until the deadline.
            for (int i = 0; i < 2 * kJobs || std::chrono::steady_clock::now() < deadline; ++i) {
                const Job job = Job((t + i) % kJobs);
                const int kind = job == kVector ? t : (i / kJobs + t) % kLanes;
                const int seed = (i * 7 + t) % kSeeds;
                std::string e = Compare(ref.at({job, kind, seed}), RunJob(job, kind, seed, shared), Tolerance(job));
                ++total_jobs[t];
                if (job == kVector) ++vector_jobs[t];
                if (!e.empty()) {
                    std::lock_guard<std::mutex> lock(mu);
                    failures.push_back("thread " + std::to_string(t) + " job " + std::to_string(job) +
                                       " kind " + std::to_string(kind) + ": " + e);
                }
            }
        });
    for (std::thread &th : threads) th.join();

    for (const std::string &f : failures) ADD_FAILURE() << f;
    int64_t jobs = 0;
    for (int t = 0; t < kThreads; ++t) {
        jobs += total_jobs[t];
        // Each lane's callback saw exactly its own thread's zero divisors.
        const int64_t want = t % 2 == 0 ? vector_jobs[t] * ZeroDivisors(t) : 0;
        EXPECT_EQ(CallbackCount(t) - callbacks_before[t], want) << "lane " << t;
    }
    std::printf("%lld jobs in %d threads\n", static_cast<long long>(jobs), kThreads);

    // Every buffer handed out during the run came back.
    const mem::PoolCensus census1 = mem::TakeCensus();
    const mem::Statistics stats1 = mem::ReadStatistics();
    EXPECT_EQ(census1.slots_in_use, census0.slots_in_use);
    EXPECT_EQ(stats1.blocks_outstanding, stats0.blocks_outstanding);
    EXPECT_EQ(stats1.bytes_outstanding, stats0.bytes_outstanding);
    EXPECT_EQ(DftiFreeDescriptor(&shared), 0);
}

}  // namespace
}  // namespace orb::stress
