// How long calls take, by a clock that costs little.
#pragma once

#include <cstdint>

namespace pd_views {

// The time stamp counter of x86-64.
inline uint64_t read_ticks() {
    return __builtin_ia32_rdtsc();
}

// The time that calls took.
struct TimeSpent {
    uint64_t calls = 0;
    uint64_t ticks = 0; // includes the cost of looking at the clock
};

// Adds a call and the time of its scope.
class Stopwatch {
public:
    explicit Stopwatch(TimeSpent& spent) : spent_(spent) {}
    ~Stopwatch() {
        spent_.ticks += read_ticks() - start_;
        ++spent_.calls;
    }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

private:
    TimeSpent& spent_;
    uint64_t start_ = read_ticks();
};

} // namespace pd_views
