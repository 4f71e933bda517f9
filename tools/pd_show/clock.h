// The time that dumps spend in the driver's reads. A module of its own, which stands between library and driver only
// when it is asked for. Relies on the time stamp counter of x86-64.
#pragma once

#include <cstdint>

namespace pd_show {

inline uint64_t ticks() {
    return __builtin_ia32_rdtsc();
}

// Of calls of one kind.
struct TimeSpent {
    uint64_t calls = 0;
    uint64_t ticks = 0; // the clock's own included
};

// Calls `work` and adds its time.
template <class Work>
auto timed(TimeSpent& spent, Work&& work) {
    const uint64_t start = ticks();
    const auto result = work();
    spent.ticks += ticks() - start;
    ++spent.calls;
    return result;
}

} // namespace pd_show

extern "C" {

using pd_show_clock_start_function = bool(void* driver);
using pd_show_clock_read_function = void(pd_show::TimeSpent* spent);
// `driver` is what dlopen gave. Comes before the first call of the driver. False if the driver lacks a function that
// the clock stands for: the library doesn't miss it then.
__attribute__((visibility("default"))) pd_show_clock_start_function pd_show_clock_start;
__attribute__((visibility("default"))) pd_show_clock_read_function pd_show_clock_read;

} // extern "C"
