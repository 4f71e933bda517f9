// Sorts routes into tables and numbers the partitions.
#include "route_agent/plan.h"

#include <algorithm>

namespace route_agent {
namespace {

// Fills the first level from the second, whose routes are sorted: those of a partition stand together. False if the
// partitions run out.
bool add_partitions(Plan& plan, const TwoLevels& scheme) {
    std::vector<Entry>& partitions = plan[index_of(scheme.first)];
    for (Entry& route : plan[index_of(scheme.second)]) {
        const Prefix prefix = network_of(route.prefix.family, route.prefix.address, scheme.first_length);
        if (partitions.empty() || partitions.back().prefix != prefix) {
            if (partitions.size() == max_partitions) {
                return false;
            }
            partitions.push_back({.prefix = prefix, .partition = static_cast<std::uint16_t>(partitions.size())});
        }
        route.partition = partitions.back().partition;
    }
    return true;
}

} // namespace

std::optional<Plan> make_plan(const std::vector<Route>& routes, std::string& reason) {
    PerTable<std::size_t> sizes{};
    for (const Route& route : routes) {
        ++sizes[index_of(table_for(route.prefix))];
    }
    Plan plan;
    for (std::size_t i = 0; i < table_count; ++i) {
        plan[i].reserve(sizes[i]);
    }
    for (const Route& route : routes) {
        plan[index_of(table_for(route.prefix))].push_back(
            {.prefix = route.prefix, .next_hop = route.next_hop, .country = route.country});
    }
    for (std::vector<Entry>& entries : plan) {
        std::ranges::sort(entries, {}, &Entry::prefix);
    }
    for (const TwoLevels& scheme : two_level_schemes) {
        if (!add_partitions(plan, scheme)) {
            const Prefix& route = plan[index_of(scheme.second)].front().prefix;
            reason = std::string("prefixes longer than /") + std::to_string(scheme.first_length) +
                     " lie in more than " + std::to_string(max_partitions) + " different " + family_name(route.family) +
                     " prefixes of /" + std::to_string(scheme.first_length) + "; there are no more partitions";
            return std::nullopt;
        }
    }
    return plan;
}

std::size_t entry_count(const Plan& plan) {
    std::size_t count = 0;
    for (const std::vector<Entry>& entries : plan) {
        count += entries.size();
    }
    return count;
}

Selection select_none(const Plan& plan) {
    Selection selection;
    for (std::size_t i = 0; i < table_count; ++i) {
        selection[i].assign(plan[i].size(), false);
    }
    return selection;
}

Selection select_every_second(const Plan& plan) {
    Selection selection = select_none(plan);
    for (std::vector<bool>& marks : selection) {
        for (std::size_t row = 1; row < marks.size(); row += 2) {
            marks[row] = true;
        }
    }
    for (const TwoLevels& scheme : two_level_schemes) {
        std::vector<bool>& empty = selection[index_of(scheme.first)];
        empty.assign(empty.size(), true);
        const std::vector<Entry>& routes = plan[index_of(scheme.second)];
        for (std::size_t row = 0; row < routes.size(); ++row) {
            if (!selection[index_of(scheme.second)][row]) {
                empty[routes[row].partition] = false; // a partition's number is its row
            }
        }
    }
    return selection;
}

} // namespace route_agent
