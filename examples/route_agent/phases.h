// The agent's work on the switch, in phases that follow each other: program, read back, remove, verify. A phase throws
// Refused where the driver refuses what it should do; what it does otherwise than meant is counted as a difference.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include "route_agent/device.h"
#include "route_agent/plan.h"
#include "route_agent/progress.h"

namespace route_agent {

// What came of one table.
struct Tally {
    std::size_t added = 0;
    std::size_t read_equal = 0; // right after programming
    std::size_t deleted = 0;
    std::size_t left = 0;        // entries that the driver counts at the end
    std::size_t differences = 0; // in all phases
    std::size_t calls = 0;
    std::chrono::steady_clock::duration busy{}; // in the phases' loops over this table
};

// Where the driver put an entry of the plan.
struct Placed {
    pd_entry handle;
    std::uint32_t row;
};

struct Run {
    const Device& device;
    const Plan& plan;
    Progress& progress;
    PerTable<Tally> tallies{};
    PerTable<std::vector<Placed>> placed{}; // by handle
    Selection removed = select_none(plan);
};

// Adds all entries of the plan.
void program(Run& run);
// Walks every table and reads all entries.
void read_back(Run& run);
// Removes every second route by key, and the partitions that became empty.
void remove_every_second(Run& run);
// Counts, walks and reads again what is left, and looks for every key that was removed.
void verify_rest(Run& run);

// Asks the driver how many entries are left. May follow a phase that was refused.
void count_left(Run& run);

// True if the phases found all that was planned and nothing else.
bool all_as_meant(const Run& run);

} // namespace route_agent
