// Many threads allocating and releasing at once, a share of the buffers
// released by another thread than the one that allocated them. Every buffer
// is filled with its own byte and checked before release, so two live
// requests sharing memory show up as corruption; afterwards nothing may be
// lost. Meant to run under ThreadSanitizer and AddressSanitizer as well.
#include <gtest/gtest.h>

#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "memory_test_support.h"
#include "service/serv.h"

namespace {

using namespace orb;

struct Block {
    unsigned char *p;
    uint32_t size;
    unsigned char value;
};

// Buffers handed from one thread to another for release.
class Exchange {
public:
    void Put(Block b) {
        std::lock_guard<std::mutex> lock(mutex_);
        blocks_.push_back(b);
    }
    bool Take(Block *b) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (blocks_.empty()) return false;
        *b = blocks_.back();
        blocks_.pop_back();
        return true;
    }

private:
    std::mutex mutex_;
    std::vector<Block> blocks_;
};

bool Intact(const Block &b) {
    for (uint32_t i = 0; i < b.size; ++i)
        if (b.p[i] != b.value) return false;
    return true;
}

void CheckAndFree(const Block &b, std::atomic<int> *corrupt) {
    if (!Intact(b)) corrupt->fetch_add(1);
    ServFree(b.p);
}

TEST(MemoryConcurrency, ManyThreadsLoseAndCorruptNothing) {
    constexpr int kThreads = 8, kSteps = 4000;
    constexpr uint32_t kSizes[] = {1, 64, 100, 1000, 5000, 20000};
    constexpr int32_t kAlignments[] = {0, 64, 96, 256, 4096};
    const mem::Statistics s0 = mem::ReadStatistics();
    Exchange exchange;
    std::atomic<int> corrupt{0}, misaligned{0}, failed{0};

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
                if (!test::AlignedTo(p, mem::EffectiveAlignment(alignment))) misaligned.fetch_add(1);
                Block b{p, size, static_cast<unsigned char>(id * 31 + step)};
                std::memset(p, b.value, size);
                live.push_back(b);
            } else if (choice < 6 && !live.empty()) {
                size_t i = rng() % live.size();
                CheckAndFree(live[i], &corrupt);
                live.erase(live.begin() + long(i));
            } else if (choice == 6 && !live.empty()) {
                exchange.Put(live.back());
                live.pop_back();
            } else {
                Block b;
                if (exchange.Take(&b)) CheckAndFree(b, &corrupt);
            }
        }
        for (const Block &b : live) CheckAndFree(b, &corrupt);
    };

    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(worker, i);
    for (auto &t : threads) t.join();
    Block b;
    while (exchange.Take(&b)) CheckAndFree(b, &corrupt);

    EXPECT_EQ(corrupt.load(), 0);
    EXPECT_EQ(misaligned.load(), 0);
    EXPECT_EQ(failed.load(), 0);
    EXPECT_EQ(mem::TakeCensus().slots_in_use, 0);
    mem::Statistics s1 = mem::ReadStatistics();
    EXPECT_EQ(s1.blocks_outstanding, s0.blocks_outstanding);
    EXPECT_EQ(s1.bytes_outstanding, s0.bytes_outstanding);
    test::ExpectNothingLost();
}

}  // namespace
