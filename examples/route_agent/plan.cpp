// Sorts routes into tables, and numbers partitions and ECMP groups.
#include "route_agent/plan.h"

#include <algorithm>
#include <unordered_map>

namespace route_agent {
namespace {

constexpr size_t max_partitions = 65536;   // the number has 16 bits
constexpr uint16_t last_ecmp_group = 1023; // the highest number in the 10 bits of a next hop that choose a group

struct TwoLevels {
    TableId first;
    TableId second;
    unsigned first_length; // of the prefixes in the first level
};

constexpr TwoLevels two_level_schemes[] = {
    {ipv4Partition0, ipv4FinalResolve0, 12},
    {ipv6LgMaskPartition0, ipv6LgMaskFinalResolve0, 64},
};

// A tenth of the groups comes with each of the later loads, but never the first group. A list of three or more next
// hops has groups in all loads.
void spread_over_loads(std::vector<EcmpGroup>& groups) {
    const size_t late = groups.empty() ? 0 : std::min((groups.size() + 9) / 10, (groups.size() - 1) / 2);
    for (size_t i = groups.size() - 2 * late; i < groups.size(); ++i)
        groups[i].load = i < groups.size() - late ? 1 : 2;
}

// Fills the first level from the sorted routes of the second. False if there are too many partitions.
bool add_partitions(Plan& plan, const TwoLevels& scheme) {
    std::vector<Entry>& partitions = plan.tables[scheme.first];
    for (Entry& route : plan.tables[scheme.second]) {
        const Prefix prefix = network_of(route.prefix.family, route.prefix.address, scheme.first_length);
        if (partitions.empty() || partitions.back().prefix != prefix) {
            if (partitions.size() == max_partitions) return false;
            partitions.push_back(
                {.prefix = prefix, .partition = static_cast<uint16_t>(partitions.size()), .load = route.load});
        }
        Entry& partition = partitions.back();
        route.partition = partition.partition;
        partition.load = std::min(partition.load, route.load);
    }
    return true;
}

} // namespace

std::optional<Plan> make_plan(const std::vector<Route>& routes, std::string& reason, uint16_t first_group) {
    Plan plan;
    plan.first_group = first_group;
    std::unordered_map<uint32_t, uint16_t> numbers; // of groups, by next hop
    PerTable<size_t> sizes{};
    for (const Route& route : routes) {
        ++sizes[table_for(route.prefix)];
        const auto number = static_cast<uint16_t>(first_group + plan.groups.size());
        if (!numbers.try_emplace(route.next_hop, number).second) continue;
        if (number > last_ecmp_group) {
            reason = text_of("there are more than ", last_ecmp_group - first_group + 1,
                             " different next hops; there are not enough numbers for ECMP groups");
            return std::nullopt;
        }
        plan.groups.push_back({.next_hop = route.next_hop});
    }
    spread_over_loads(plan.groups);
    for (size_t i = 0; i < table_count; ++i)
        plan.tables[i].reserve(sizes[i]);
    for (const Route& route : routes) {
        const uint16_t number = numbers.at(route.next_hop);
        plan.tables[table_for(route.prefix)].push_back(
            {.prefix = route.prefix, .group = number, .load = plan.groups[number - first_group].load});
    }
    for (std::vector<Entry>& entries : plan.tables)
        std::ranges::sort(entries, {}, &Entry::prefix);
    for (const TwoLevels& scheme : two_level_schemes) {
        if (add_partitions(plan, scheme)) continue;
        const Family family = plan.tables[scheme.second].front().prefix.family;
        reason =
            text_of("prefixes longer than /", scheme.first_length, " lie in more than ", max_partitions, " different ",
                    family_name(family), " prefixes of /", scheme.first_length, "; there are not enough partitions");
        return std::nullopt;
    }
    return plan;
}

Selection select_every_second(const Plan& plan) {
    Selection selection;
    for (size_t i = 0; i < table_count; ++i)
        for (size_t row = 0; row < plan.tables[i].size(); ++row)
            selection[i].push_back(row % 2 == 1);
    for (const TwoLevels& scheme : two_level_schemes) {
        std::vector<bool>& empty = selection[scheme.first];
        empty.assign(empty.size(), true);
        const std::vector<Entry>& routes = plan.tables[scheme.second];
        for (size_t row = 0; row < routes.size(); ++row)
            if (!selection[scheme.second][row]) empty[routes[row].partition] = false; // a partition's number is its row
    }
    return selection;
}

} // namespace route_agent
