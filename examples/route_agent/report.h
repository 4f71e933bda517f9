// The table at the end of a run.
#pragma once

#include <ostream>

#include "route_agent/run.h"

namespace route_agent {

// One row per table and one for all, and behind it lines for the groups and members that the entries of ecmpGroup stand
// for. The calls of these count for the rate of ecmpGroup.
void print_report(std::ostream& out, const Run& run);

} // namespace route_agent
