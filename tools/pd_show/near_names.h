// Names that somebody may have meant who typed another one.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace pd_show {

// ": did you mean ipv4Host or ipv6Host?", the nearest first, or nothing if all are too far off to be meant.
std::string near_text(std::string_view typed, std::span<const std::string> names);

} // namespace pd_show
