// A process-wide pointer to one data-fitting operation's implementation,
// resolved on first use from a table indexed by ExtCpuLevel and cached.
// Racing first calls store the same value.
#ifndef ORB_DATAFIT_DF_LEVEL_CACHE_H
#define ORB_DATAFIT_DF_LEVEL_CACHE_H

#include <array>
#include <atomic>

#include "datafit/df_task.h"
#include "service/serv.h"

namespace orb::df {

template <class Fn>
class LevelCache {
public:
    using Table = std::array<Fn, 10>;
    constexpr explicit LevelCache(const Table &table) : table_(table) {}

    Fn Get() {
        Fn f = slot_.load(std::memory_order_relaxed);
        if (__builtin_expect(f != nullptr, 1)) return f;
        f = table_[LevelIndex(ServGetExtCpuLevel())];
        slot_.store(f, std::memory_order_relaxed);
        return f;
    }
    Fn ForLevel(int level) const { return table_[LevelIndex(level)]; }

private:
    Table table_;
    std::atomic<Fn> slot_{nullptr};
};

// A table whose ten rows hold two copies: rows 0..4 and 5..9.
template <class Fn>
constexpr std::array<Fn, 10> TwoCopies(Fn low, Fn high) {
    return {low, low, low, low, low, high, high, high, high, high};
}

}  // namespace orb::df

#endif
