// Cuts the addresses into segments where prefixes begin and end.
#include "route_agent/longest_prefix.h"

#include <algorithm>

namespace route_agent {

std::vector<Segment> segments_of(Family family, const std::vector<Route>& routes, std::span<const Prefix> removed) {
    std::vector<Segment> segments(1);
    const auto begin = [&](Address first, const Route* route) {
        if (segments.back().first != first) segments.emplace_back();
        segments.back() = {first, route};
    };
    struct Open {
        Address last;
        const Route* route; // the longest so far
    };
    std::vector<Open> open; // prefixes that lie in each other
    const auto longest = [&] { return open.empty() ? nullptr : open.back().route; };
    const auto close = [&] {
        const Address last = open.back().last;
        open.pop_back();
        if (last != ~Address{0}) begin(last + 1, longest());
    };
    for (const Route& route : routes) {
        if (route.prefix.family != family) continue;
        while (!open.empty() && open.back().last < route.prefix.address)
            close();
        const bool is_removed = std::ranges::binary_search(removed, route.prefix);
        open.push_back({last_of(route.prefix), is_removed ? longest() : &route});
        begin(route.prefix.address, longest());
    }
    while (!open.empty())
        close();
    return segments;
}

const Route* longest_prefix(const std::vector<Segment>& segments, Address address) {
    return std::prev(std::ranges::upper_bound(segments, address, {}, &Segment::first))->route;
}

} // namespace route_agent
