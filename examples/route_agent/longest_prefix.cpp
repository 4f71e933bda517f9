// Cuts the addresses into segments where prefixes begin and end.
#include "route_agent/longest_prefix.h"

#include <algorithm>

namespace route_agent {

std::vector<Segment> segments_of(Family family, const std::vector<Route>& routes) {
    std::vector<Segment> segments(1);
    const auto begin = [&](Address first, const Route* route) {
        if (segments.back().first != first) segments.emplace_back();
        segments.back() = {first, route};
    };
    std::vector<const Route*> open; // their prefixes lie in each other
    const auto close = [&] {
        const Address last = last_of(open.back()->prefix);
        open.pop_back();
        if (last != ~Address{0}) begin(last + 1, open.empty() ? nullptr : open.back());
    };
    for (const Route& route : routes) {
        if (route.prefix.family != family) continue;
        while (!open.empty() && last_of(open.back()->prefix) < route.prefix.address)
            close();
        begin(route.prefix.address, &route);
        open.push_back(&route);
    }
    while (!open.empty())
        close();
    return segments;
}

const Route* longest_prefix(const std::vector<Segment>& segments, Address address) {
    return std::prev(std::ranges::upper_bound(segments, address, {}, &Segment::first))->route;
}

} // namespace route_agent
