// Loads the driver and the library that the user chose, and starts them.
#pragma once

#include <optional>
#include <string>

#include "pd_show/arguments.h"
#include "views/library.h"
#include "views/stopwatch.h"

namespace pd_show {

struct Loaded {
    pd_views::Library library;
    void* clock; // null without --time
};

// Loads the driver first, so that the library finds the driver's functions. `timed` puts the clock between the two.
// Throws a Problem.
Loaded load(const std::optional<std::string>& driver, bool timed);

// The time spent in reads of the driver. Needs the clock.
pd_views::TimeSpent driver_time(const Loaded& loaded);

// Starts the library, brings up what --demo and --routes ask for, and returns an open session. Throws a Problem.
pd_session start(const pd_views::Library& library, const Arguments& arguments);

} // namespace pd_show
