// Sorts routes into tables, and numbers partitions and ECMP groups.
#include "route_agent/plan.h"

#include <algorithm>
#include <unordered_map>

namespace route_agent {
namespace {

using GroupNumbers = std::unordered_map<uint32_t, uint16_t>; // by next hop

// False if the numbers run out.
bool number_groups(const std::vector<Route>& routes, std::vector<EcmpGroup>& groups, GroupNumbers& numbers) {
    for (const Route& route : routes) {
        const auto [at, is_new] = numbers.try_emplace(route.next_hop, static_cast<uint16_t>(groups.size() + 1));
        if (!is_new) continue;
        if (groups.size() == max_ecmp_groups) return false;
        groups.push_back({.next_hop = route.next_hop, .country = route.country});
    }
    return true;
}

// A tenth of the groups comes with each of the later loads, but never the first group. Lists of three next hops and
// more have groups in all loads.
void spread_over_loads(std::vector<EcmpGroup>& groups) {
    const size_t late = groups.empty() ? 0 : std::min((groups.size() + 9) / 10, (groups.size() - 1) / 2);
    for (size_t i = groups.size() - 2 * late; i < groups.size(); ++i)
        groups[i].load = i < groups.size() - late ? 1 : 2;
}

// Fills the first level from the second, whose routes are sorted: those of a partition stand together. False if the
// partitions run out.
bool add_partitions(Plan& plan, const TwoLevels& scheme) {
    std::vector<Entry>& partitions = plan.tables[index_of(scheme.first)];
    for (Entry& route : plan.tables[index_of(scheme.second)]) {
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

std::optional<Plan> make_plan(const std::vector<Route>& routes, std::string& reason) {
    Plan plan;
    GroupNumbers numbers;
    if (!number_groups(routes, plan.groups, numbers)) {
        reason = "there are more than " + std::to_string(max_ecmp_groups) +
                 " different next hops; ECMP groups have no more numbers";
        return std::nullopt;
    }
    spread_over_loads(plan.groups);
    PerTable<size_t> sizes{};
    for (const Route& route : routes)
        ++sizes[index_of(table_for(route.prefix))];
    for (size_t i = 0; i < table_count; ++i)
        plan.tables[i].reserve(sizes[i]);
    for (const Route& route : routes) {
        const uint16_t number = numbers.at(route.next_hop);
        plan.tables[index_of(table_for(route.prefix))].push_back(
            {.prefix = route.prefix, .group = number, .load = plan.groups[number - 1u].load});
    }
    for (std::vector<Entry>& entries : plan.tables)
        std::ranges::sort(entries, {}, &Entry::prefix);
    for (const TwoLevels& scheme : two_level_schemes) {
        if (!add_partitions(plan, scheme)) {
            const Prefix& route = plan.tables[index_of(scheme.second)].front().prefix;
            reason = std::string("prefixes longer than /") + std::to_string(scheme.first_length) +
                     " lie in more than " + std::to_string(max_partitions) + " different " + family_name(route.family) +
                     " prefixes of /" + std::to_string(scheme.first_length) + "; there are no more partitions";
            return std::nullopt;
        }
    }
    return plan;
}

Selection select_every_second(const Plan& plan) {
    Selection selection;
    for (size_t i = 0; i < table_count; ++i) {
        selection[i].assign(plan.tables[i].size(), false);
        for (size_t row = 1; row < selection[i].size(); row += 2)
            selection[i][row] = true;
    }
    for (const TwoLevels& scheme : two_level_schemes) {
        std::vector<bool>& empty = selection[index_of(scheme.first)];
        empty.assign(empty.size(), true);
        const std::vector<Entry>& routes = plan.tables[index_of(scheme.second)];
        for (size_t row = 0; row < routes.size(); ++row)
            if (!selection[index_of(scheme.second)][row])
                empty[routes[row].partition] = false; // a partition's number is its row
    }
    return selection;
}

} // namespace route_agent
