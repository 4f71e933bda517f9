// The part of reading lists that is no template.
#include "route_agent/line_reader.h"

#include "route_agent/printable.h"

namespace route_agent {

const char* why_no_text(std::string_view line, size_t number) {
    if (number == 1 && line.starts_with("\xEF\xBB\xBF"))
        return "the list begins with a byte order mark; save it as UTF-8 without one";
    if (number == 1 && (line.starts_with("\xFF\xFE") || line.starts_with("\xFE\xFF")))
        return "the list is UTF-16; save it as UTF-8 without a byte order mark";
    return line.find('\0') != std::string_view::npos ? "the line has a NUL byte; a list is text" : nullptr;
}

std::string quoted(std::string_view text) {
    constexpr size_t longest = 50;
    std::string result = "'";
    result += printable(text.substr(0, longest));
    return result + (text.size() > longest ? "...'" : "'");
}

} // namespace route_agent
