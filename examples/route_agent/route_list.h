// Reads lists of routes: the user's own list, and address allocations as ranges with a country. A list is read whole or
// not at all; messages say NAME:LINE: reason for each bad line. `name` is printable.
#pragma once

#include <array>
#include <cstdint>
#include <istream>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "route_agent/prefix.h"

namespace route_agent {

// A route as a list gives it, before a table is chosen for it.
struct Route {
    Prefix prefix;
    uint32_t next_hop = 0;
};

// In bytes, comments included. So a file without line ends, such as a device, doesn't fill the memory.
inline constexpr size_t longest_line = 4096;

// The text must be digits and nothing else.
std::errc parse_decimal(std::string_view text, uint32_t& number);

// The route of a line "PREFIX NEXT_HOP", or nothing if the line is blank, a comment, or bad. Only a bad line gives a
// reason.
std::optional<Route> parse_route_line(std::string_view line, std::string& reason);

// A list of such lines with both families mixed. It must have a route, and no prefix twice.
std::optional<std::vector<Route>> read_route_list(std::istream& in, const std::string& name, std::ostream& messages);

// Countries get next hops from 1 on, in the order in which they first occur.
using CountryNextHops = std::map<std::array<char, 2>, uint32_t>;

// Appends the prefixes of all ranges in a list of lines "FIRST,LAST,CC" with # comments; false if a line is bad. IPv4
// addresses are decimal numbers there. Ranges must ascend without overlap, so no prefix occurs twice.
bool read_range_list(std::istream& in, const std::string& name, Family family, CountryNextHops& next_hops,
                     std::vector<Route>& routes, std::ostream& messages);

} // namespace route_agent
