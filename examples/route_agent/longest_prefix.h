// A longest-prefix match over the list of routes, to compare the switch with. It shares nothing with the plan.
#pragma once

#include <span>
#include <vector>

#include "route_agent/route_list.h"

namespace route_agent {

// Addresses that follow each other and have the same longest prefix. The next segment begins after the last one.
struct Segment {
    Address first = 0;
    const Route* route = nullptr; // null if no prefix covers the addresses
};

// All addresses of the family, in ascending order. Every prefix in `routes` begins a segment, and another one begins
// after its last address. Routes to the prefixes in `removed` don't count as the longest. `routes` has both families.
// Both lists are sorted by prefix.
std::vector<Segment> segments_of(Family family, const std::vector<Route>& routes, std::span<const Prefix> removed = {});

// The route with the longest prefix that covers the address, or null.
const Route* longest_prefix(const std::vector<Segment>& segments, Address address);

} // namespace route_agent
