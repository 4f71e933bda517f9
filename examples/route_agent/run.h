// The state of a run: what is planned, what stands on the switch by now, and the counts for the report.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include "route_agent/device.h"
#include "route_agent/plan.h"
#include "route_agent/progress.h"

namespace route_agent {

// What came of one table, or of the groups or members of the ECMP profile.
struct Tally {
    size_t added = 0;
    size_t read_equal = 0; // when all loads are programmed
    size_t aged = 0;       // removed because no packet hit them
    size_t deleted = 0;
    size_t left = 0;        // that the driver counts at the end
    size_t in_hardware = 0; // that the hardware holds as placed, at the end
    size_t differences = 0; // in all phases
    size_t calls = 0;
    std::chrono::steady_clock::duration busy{}; // in the phases' loops over this table
};

// The time of all three counts for the entries.
struct EcmpTallies {
    Tally entries;
    Tally groups;
    Tally members;
};

enum class RowState : uint8_t { to_come, standing, aged, deleted };

// Where the driver put an entry of the plan.
struct Placed {
    pd_entry handle;
    uint32_t row;
};

// A group of the plan on the switch.
struct GroupState {
    RowState state = RowState::to_come;
    unsigned path_count = 0;
    // What the agent doesn't know any more after a restart.
    pd_group handle = 0;
    std::vector<pd_member> members; // in the order of the paths
};

struct Run {
    Run(const Device& on_device, const Plan& of_plan, Progress& shown_on)
        : device(on_device),
          plan(of_plan),
          progress(shown_on),
          groups(of_plan.groups.size()) {
        for (size_t i = 0; i < table_count; ++i)
            rows[i].assign(plan.tables[i].size(), RowState::to_come);
    }

    const Device& device;
    const Plan& plan;
    Progress& progress;
    PerTable<Tally> tallies{};
    PerTable<std::vector<RowState>> rows{};
    PerTable<std::vector<Placed>> placed{}; // by handle
    EcmpTallies ecmp{};
    std::vector<GroupState> groups; // as in the plan
};

} // namespace route_agent
