// What is to stand on the switch: routes in the order of their prefixes, the partitions that lead to them, and the ECMP
// groups that they lead to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "route_agent/route.h"
#include "route_agent/table_choice.h"

namespace route_agent {

// The agent is restarted twice while it works. What it programs belongs to one of three loads: nearly all to the first,
// the routes and groups of the last next hops of a list to the ones behind the restarts.
inline constexpr unsigned load_count = 3;

// An entry of a route table: a route, or in a first level the partition that holds the routes of a prefix.
struct Entry {
    Prefix prefix;
    uint16_t group = 0;     // number of the ECMP group; 0 in a first level
    uint16_t partition = 0; // in both levels of a two-level scheme
    uint8_t load = 0;       // a partition comes with its first route
};

// A next hop of the list: what the routes of a country, or of a number in the user's list, lead to.
struct EcmpGroup {
    uint32_t next_hop = 0;
    Country country{};
    uint8_t load = 0;
};

struct Plan {
    PerTable<std::vector<Entry>> tables;
    std::vector<EcmpGroup> groups; // by number, from 1 on
};

// A group comes with 2 to 4 paths and gets another one in each later load.
constexpr unsigned path_count(const EcmpGroup& group, size_t number, unsigned load) {
    return 2 + static_cast<unsigned>(number % 3) + load - group.load;
}

// The routes must have different prefixes. Groups are numbered in the order in which their next hops first occur: a
// list may have next hops of 32 bits. Nothing if the routes need more partitions or groups than there are; `reason`
// then says so.
std::optional<Plan> make_plan(const std::vector<Route>& routes, std::string& reason);

// Marks entries of a plan.
using Selection = PerTable<std::vector<bool>>;

// Every second route of every table, and the partitions that have no other routes.
Selection select_every_second(const Plan& plan);

} // namespace route_agent
