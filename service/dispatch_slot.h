// DispatchSlot: a process-wide cached pointer to one operation's kernel
// variant, filled on first call from a six-entry table indexed by
// CpuLevel - 2. After the first call the hot path is one load, one test
// and a tail call with the caller's arguments passed on untouched.
#ifndef ORB_SERVICE_DISPATCH_SLOT_H
#define ORB_SERVICE_DISPATCH_SLOT_H

#include <array>
#include <atomic>

#include "service/serv.h"

namespace orb {

// Out-of-line so that the guard costs nothing on the hot path. Prints
// message 1213 with the level and ends the process with exit code 1.
[[noreturn]] void DispatchUnsupportedLevel(int level);

// Returns table index for a level, or ends the process for a level that
// no variant serves (unsigned comparison: negative levels are outside).
inline unsigned DispatchIndexForLevel(int level) {
    unsigned i = static_cast<unsigned>(level) - 2u;
    if (i > 5u) DispatchUnsupportedLevel(ServGetCpuLevel());
    return i;
}

template <typename Fn>
class DispatchSlot;

template <typename R, typename... Args>
class DispatchSlot<R (*)(Args...)> {
public:
    using Fn = R (*)(Args...);
    using Table = std::array<Fn, 6>;

    constexpr explicit DispatchSlot(const Table &table) : table_(table) {}

    // Racing first calls compute the same level and store the same pointer;
    // relaxed atomics make that race well defined.
    __attribute__((always_inline)) R operator()(Args... args) {
        Fn f = slot_.load(std::memory_order_relaxed);
        if (__builtin_expect(f != nullptr, 1)) return f(args...);
        return FirstCall(args..., this);
    }

    // The variant this slot serves (resolving it if needed).
    Fn Resolve() {
        Fn f = slot_.load(std::memory_order_relaxed);
        if (f) return f;
        f = table_[DispatchIndexForLevel(ServGetCpuLevel())];
        slot_.store(f, std::memory_order_relaxed);
        return f;
    }

    // Variant for an explicit level: tests call every variant this way.
    Fn ForLevel(int level) const { return table_[DispatchIndexForLevel(level)]; }

    const Table &table() const { return table_; }

private:
    // Kept out of line so that the hot path needs no stack frame.
    // The slot comes last so the caller's arguments stay where they are.
    [[gnu::noinline]] static R FirstCall(Args... args, DispatchSlot *self) {
        return self->Resolve()(args...);
    }

    std::atomic<Fn> slot_{nullptr};
    const Table &table_;
};

}  // namespace orb

#endif
