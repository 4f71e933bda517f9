// What the files on ECMP groups share: their accounts, what a member says, and how groups are read from the switch.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <string>

#include "route_agent/work.h"

namespace route_agent {

// A phase's work on the groups.
struct EcmpWork {
    explicit EcmpWork(Run& of_run)
        : run(of_run),
          device(of_run.device),
          entries(of_run, "ecmpGroup", of_run.ecmp.entries),
          groups(of_run, "ECMP groups", of_run.ecmp.groups),
          members(of_run, "ECMP members", of_run.ecmp.members),
          stopwatch(of_run.ecmp.entries) {}

    Run& run;
    const Device& device;
    Account entries;
    Account groups;
    Account members;
    Stopwatch stopwatch;
};

// What a member says. The paths of a group have the next hop of the list in common: each leads to the one that a
// next-hop table of its own has under this number.
struct Path {
    unsigned next_hop_table = 0;
    uint32_t next_hop = 0;

    friend auto operator<=>(const Path&, const Path&) = default;
};

inline std::string to_text(const Path& path) {
    return std::to_string(path.next_hop) + " of table " + std::to_string(path.next_hop_table);
}

inline size_t number_of(size_t row) {
    return row + 1;
}

// What the switch has, by the handles and numbers that it gives.
struct FoundGroup {
    pd_group handle = 0;
    std::map<Path, pd_member> paths;
    size_t member_count = 0; // more than paths, if two members say the same
};

using FoundGroups = std::map<uint32_t, FoundGroup>; // by number

// Reads members, groups and entries. What belongs to no entry's group counts as a difference, and is left out.
FoundGroups read_groups(EcmpWork& work);

} // namespace route_agent
