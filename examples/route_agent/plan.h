// What the agent programs: which table takes which route, the partitions that lead to long prefixes, and the ECMP
// groups that the routes lead to.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "route_agent/route_list.h"

namespace route_agent {

// The route tables, by the pipeline's names. They divide the prefix lengths among themselves. Long prefixes have two
// levels: the first level names the partition in which the second level looks. The second level comes first here:
// entries are added in this order, so a partition becomes reachable when its routes are in place.
enum TableId : uint8_t {
    ipv4Host,
    ipv4ShortMaskLpm,
    ipv4FinalResolve0,
    ipv4Partition0,
    ipv6Host,
    ipv6ShortMaskLpm,
    ipv6Partition,
    ipv6LgMaskFinalResolve0,
    ipv6LgMaskPartition0,
    table_count,
};

// One value of any type per table.
template <class Value>
using PerTable = std::array<Value, table_count>;

constexpr TableId table_for(const Prefix& prefix) {
    if (prefix.family == Family::ipv4)
        return prefix.length <= 12 ? ipv4ShortMaskLpm : prefix.length <= 31 ? ipv4FinalResolve0 : ipv4Host;
    return prefix.length <= 22    ? ipv6ShortMaskLpm
           : prefix.length <= 64  ? ipv6Partition
           : prefix.length <= 127 ? ipv6LgMaskFinalResolve0
                                  : ipv6Host;
}

// The agent is restarted twice while it works. So it programs three loads: nearly everything in the first, and the
// routes and groups of a list's last next hops after the restarts.
inline constexpr unsigned load_count = 3;

// An entry of a route table: a route, or in a first level the partition that holds the routes of a prefix.
struct Entry {
    Prefix prefix;
    uint16_t group = 0;     // number of the ECMP group; 0 in a first level
    uint16_t partition = 0; // in both levels
    uint8_t load = 0;       // a partition comes with its first route
};

// The paths to a next hop of the list, which is a country or a number in the user's list.
struct EcmpGroup {
    uint32_t next_hop = 0;
    uint8_t load = 0;
};

struct Plan {
    PerTable<std::vector<Entry>> tables;
    std::vector<EcmpGroup> groups; // by number, from first_group on
    uint16_t first_group = 1;
};

// A group comes with 2 to 4 paths and gets another one in each later load.
constexpr unsigned path_count(const EcmpGroup& group, size_t number, unsigned load) {
    return 2 + static_cast<unsigned>(number % 3) + load - group.load;
}

// The routes must have different prefixes. Groups are numbered in the order in which their next hops first occur, from
// first_group on: an agent that shares the switch has the numbers below. Returns nothing if the routes need more
// partitions or groups than there are; `reason` then says so.
std::optional<Plan> make_plan(const std::vector<Route>& routes, std::string& reason, uint16_t first_group = 1);

// Marks entries of a plan.
using Selection = PerTable<std::vector<bool>>;

// Every second route of every table, and the partitions that have no other routes.
Selection select_every_second(const Plan& plan);

} // namespace route_agent
