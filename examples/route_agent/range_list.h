// Address allocations as ranges with a country: lines "FIRST,LAST,CC", ascending, with # comments. IPv4 addresses are
// decimal numbers there, IPv6 addresses are written as usual.
#pragma once

#include <istream>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "route_agent/route.h"

namespace route_agent {

// Countries have next hops from 1 on, in the order in which they first occur.
using CountryNextHops = std::map<Country, uint32_t>;

// Appends the prefixes of all ranges. False if a line is bad; the messages then say what is wrong.
bool read_range_list(std::istream& in, const std::string& name, Family family, CountryNextHops& next_hops,
                     std::vector<Route>& routes, std::ostream& messages);

} // namespace route_agent
