// The ECMP groups on the switch, from their members to the entries that lead to them. Members, groups and entries count
// for tallies of their own.
#pragma once

#include <optional>

#include "route_agent/run.h"

namespace route_agent {

// The groups of a load with all their paths, and another path for each group of an earlier load.
void add_groups(Run& run, unsigned load);

// Reads all members, groups and entries from the switch, and compares them with what is meant to stand. Their handles
// are the ones that the agent goes on with: after a restart it has no others. Returns what stood as meant, in
// `read_equal`; the other counts are 0.
EcmpTallies learn_groups(Run& run);

// What the agent knows of the groups that it can't work out from its plan.
void forget_groups(Run& run);

// Adds a member to a group that has it already, and an entry that stands already. Both must give `expected`. Returns
// the status of the first, or nothing if no group stands.
std::optional<pd_status> add_again(Run& run, pd_status expected);

// Removes the groups to which no route leads any more.
void remove_groups_without_routes(Run& run);

// Looks for the entries of the groups that were removed.
void check_groups_gone(Run& run);

// Asks the library of every entry whether the hardware holds it as the driver placed it.
void compare_groups_with_hardware(Run& run);

// Asks the driver how many entries, groups and members are left.
void count_groups_left(Run& run);

bool groups_as_meant(const Run& run);

} // namespace route_agent
