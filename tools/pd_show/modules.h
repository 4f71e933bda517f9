// The modules that pd-show loads when an option asks for them: the demo and the clock.
#pragma once

#include <cstdint>
#include <string>

#include "views/stopwatch.h"
#include "vl_pd/types.h"

namespace pd_show {

// The VRFs of the list of routes: alone, and beside the leaf switch, which has its own routes in the first one.
inline constexpr uint8_t routes_vrf = 1;
inline constexpr uint8_t routes_vrf_beside_demo = 2;

} // namespace pd_show

extern "C" {
#pragma GCC visibility push(default)

// The clock measures the driver's reads. The library calls it in place of the driver.
using pd_show_clock_start_function = bool(void* driver);
using pd_show_clock_read_function = void(pd_views::TimeSpent* spent);
// `driver` is a handle of dlopen(). Must precede the first call of the driver. False if the driver lacks a function
// that the clock measures: the loader wouldn't notice, because it finds the clock's.
pd_show_clock_start_function pd_show_clock_start;
pd_show_clock_read_function pd_show_clock_read;

// The demo fills the embedded driver with the code of the examples. It is linked against library and driver, and so
// must be loaded after them.
using pd_show_demo_function = int(bool leaf_switch, const char* routes, pd_session* session, std::string* problem);
// On device 0, brings up the leaf switch if `leaf_switch`, then programs the list of routes unless `routes` is null.
// Starts the library first. Returns an exit status; if it isn't 0, `problem` says what was wrong.
pd_show_demo_function pd_show_demo;

#pragma GCC visibility pop
} // extern "C"
