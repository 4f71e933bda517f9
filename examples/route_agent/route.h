// A route as the lists give it, before it is known which table takes it.
#pragma once

#include <array>
#include <cstdint>

#include "route_agent/prefix.h"

namespace route_agent {

using Country = std::array<char, 2>; // zeros where a list has none

struct Route {
    Prefix prefix;
    uint32_t next_hop = 0;
    Country country{};
};

} // namespace route_agent
