// The part of reading lists that is no template.
#include "route_agent/line_reader.h"

namespace route_agent {

std::string quoted(std::string_view text) {
    constexpr std::size_t longest = 50;
    std::string result = "'";
    for (const char c : text.substr(0, longest)) {
        result += c >= ' ' && c <= '~' ? c : '?';
    }
    return result + (text.size() > longest ? "...'" : "'");
}

} // namespace route_agent
