// The reproducibility mode read from "ORB_CBWR", once per process.
#include <atomic>

#include "service/cpu_detect.h"
#include "service/platform.h"
#include "service/serv.h"

namespace {

std::atomic<int32_t> g_cbwr_word{0};
std::atomic<bool> g_cbwr_read{false};

void ReadCbwr() {
    char buf[128] = {};
    uint32_t got = orb::plat::GetEnv("ORB_CBWR", buf, sizeof buf);
    // Set but too long for the buffer: the buffer stays empty, which matches
    // no name and so counts as AUTO.
    int32_t word = got == 0 ? 0 : orb::ParseCbwr(got < sizeof buf ? buf : "");
    g_cbwr_word.store(word, std::memory_order_relaxed);
    g_cbwr_read.store(true, std::memory_order_release);
}

int32_t Query(int32_t query, bool locked) {
    if (query == -1) return g_cbwr_word.load(std::memory_order_relaxed);
    if (query != 1) return -2;
    if (!g_cbwr_read.load(std::memory_order_acquire)) {
        if (locked) {
            ServLock();
            if (!g_cbwr_read.load(std::memory_order_relaxed)) ReadCbwr();
            ServUnlock();
        } else {
            ReadCbwr();  // racing readers store the same word
        }
    }
    return orb::CbwrModeFromWord(g_cbwr_word.load(std::memory_order_relaxed));
}

}  // namespace

extern "C" int32_t ServGetCbwrMode(int32_t query) { return Query(query, false); }
extern "C" int32_t ServGetCbwrModeLocked(int32_t query) { return Query(query, true); }
