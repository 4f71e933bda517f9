// The user's own list: one "PREFIX NEXT_HOP" per line, both families mixed, with # comments and blank lines.
#pragma once

#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "route_agent/route.h"

namespace route_agent {

// A line has a route, or a reason why it's bad, or neither if it says nothing.
struct RouteLine {
    std::optional<Route> route;
    std::string reason;
};

RouteLine parse_route_line(std::string_view line);

// The whole list, or nothing if it has no route, any line is bad, or a prefix stands there twice; the messages then say
// what is wrong. `name` is printable.
std::optional<std::vector<Route>> read_route_list(std::istream& in, const std::string& name, std::ostream& messages);

} // namespace route_agent
