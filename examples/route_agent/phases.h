// The agent's work on the switch, in phases that follow each other. A phase throws Refused where the driver refuses
// what it should do; what it does otherwise than meant is counted as a difference.
#pragma once

#include "route_agent/run.h"

namespace route_agent {

// Adds the ECMP groups and the entries of a load.
void program(Run& run, unsigned load);

// How the library's shadow of the ECMP profile comes back: from the device state that the driver logged before, or from
// the driver's tables.
enum class RestoreBy : uint8_t { log, replay };

// The agent starts again on a switch that goes on: neither it nor the library knows the members and groups there.
// Restores what both need to go on, and checks it against the plan.
void restart(Run& run, RestoreBy by);

// Walks every table and reads all entries, groups and members.
void read_back(Run& run);

// Lets idle time run on the host routes, with packets for most of them, and removes those that the driver calls idle.
void age_hosts(Run& run);

// Removes every second route by key, the partitions that became empty, and the groups that nothing leads to any more.
void remove_every_second(Run& run);

// Counts, walks and reads again what is left, and looks for every key that was removed.
void verify_rest(Run& run);

// Asks the library of all that is left whether the hardware holds it as the driver placed it.
void compare_with_hardware(Run& run);

// Asks the driver how many entries are left. May follow a phase that was refused.
void count_left(Run& run);

// True if the phases found all that was planned and nothing else.
bool all_as_meant(const Run& run);

} // namespace route_agent
