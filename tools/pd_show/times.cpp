// What a dump of entries spent its time on.
#include "pd_show/times.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace pd_show {

using pd_views::Stopwatch;
using pd_views::TimeSpent;

namespace {

// The ticks that an empty measurement takes. The least of many is the right one, because the others were interrupted.
uint64_t clock_cost() {
    uint64_t least = UINT64_MAX;
    for (unsigned i = 0; i < 10000; ++i) {
        TimeSpent spent;
        { const Stopwatch stopwatch(spent); }
        least = std::min(least, spent.ticks);
    }
    return least;
}

} // namespace

// A measurement also costs as many ticks outside of its result as in it. This is an estimate: a time below its error is
// shown as 0.
void tell_times(size_t shown, double seconds, TimeSpent all, TimeSpent driver, TimeSpent text, TimeSpent output) {
    const auto cost = static_cast<double>(clock_cost());
    const auto without_clock = [&](TimeSpent spent, double times) {
        return std::max(0.0, static_cast<double>(spent.ticks) - times * cost * static_cast<double>(spent.calls));
    };
    const double in_driver = without_clock(driver, 1);
    const auto in_output = static_cast<double>(output.ticks);
    const double in_text =
        std::max(0.0, without_clock(text, 1) - in_output); // writing a full buffer is part of the text's time
    const double in_library =
        std::max(0.0, without_clock({driver.calls + text.calls, all.ticks}, 2) - in_driver - in_text - in_output);
    const double in_all = std::max(1.0, in_driver + in_library + in_text + in_output);
    const double seconds_per_tick = seconds / static_cast<double>(all.ticks);
    std::fprintf(stderr, "pd-show: %zu entries in %.3f s, of which\n", shown, in_all * seconds_per_tick);
    const auto line = [&](double spent, const char* what) {
        std::fprintf(stderr, "  %8.3f s %5.1f %%  %s\n", spent * seconds_per_tick, 100 * spent / in_all, what);
    };
    line(in_driver, "the driver's reads");
    line(in_library, "the library: decoding and value strings");
    line(in_text, "text");
    line(in_output, "output");
}

} // namespace pd_show
