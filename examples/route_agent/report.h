// The table at the end of a run.
#pragma once

#include <ostream>

#include "route_agent/phases.h"

namespace route_agent {

// One row per route table and one for all.
void print_report(std::ostream& out, const PerTable<Tally>& tallies);

} // namespace route_agent
