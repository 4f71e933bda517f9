// Names that somebody may have meant who typed another one.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pd_show {

// The nearest first, and none that are too far off to be meant.
std::vector<std::string> near_names(std::string_view typed, std::span<const std::string> names);

// ": did you mean ipv4Host or ipv6Host?", or nothing.
std::string near_text(std::string_view typed, std::span<const std::string> names);

} // namespace pd_show
