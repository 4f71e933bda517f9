// A longest-prefix match over the list of routes, to compare the switch with. It shares nothing with the plan.
#pragma once

#include <vector>

#include "route_agent/route_list.h"

namespace route_agent {

// Addresses that follow each other and have the same longest prefix. The next segment begins after the last one.
struct Segment {
    Address first = 0;
    const Route* route = nullptr; // null if no prefix covers the addresses
};

// All addresses of the family, in ascending order. The routes are sorted by prefix, of both families.
std::vector<Segment> segments_of(Family family, const std::vector<Route>& routes);

// The route with the longest prefix that covers the address, or null.
const Route* longest_prefix(const std::vector<Segment>& segments, Address address);

} // namespace route_agent
