// What is to stand in every route table: routes in the order of their prefixes, and the partitions that lead to them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "route_agent/route.h"
#include "route_agent/table_choice.h"

namespace route_agent {

// An entry of a route table: a route, or in a first level the partition that holds the routes of a prefix.
struct Entry {
    Prefix prefix;
    std::uint32_t next_hop = 0;
    std::uint16_t partition = 0; // in both levels of a two-level scheme
    Country country{};
};

using Plan = PerTable<std::vector<Entry>>;

// The routes must have different prefixes. Nothing if they need more partitions than there are; `reason` then says so.
std::optional<Plan> make_plan(const std::vector<Route>& routes, std::string& reason);

std::size_t entry_count(const Plan& plan);

// Marks entries of a plan.
using Selection = PerTable<std::vector<bool>>;

Selection select_none(const Plan& plan);

// Every second route of every table, and the partitions that have no other routes.
Selection select_every_second(const Plan& plan);

} // namespace route_agent
