// What a dump of entries spent its time on.
#pragma once

#include <cstddef>

#include "views/stopwatch.h"

namespace pd_show {

// Shows the times on stderr: of everything, of the driver's reads, of making text and of writing it.
void tell_times(size_t shown, double seconds, pd_views::TimeSpent all, pd_views::TimeSpent driver,
                pd_views::TimeSpent text, pd_views::TimeSpent output);

} // namespace pd_show
