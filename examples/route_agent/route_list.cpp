// Reads and checks lists line by line. A list is checked as far as possible before anything is programmed.
#include "route_agent/route_list.h"

#include <algorithm>
#include <charconv>
#include <functional>

#include "route_agent/printable.h"

namespace route_agent {

std::errc parse_decimal(std::string_view text, uint32_t& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return end == text.data() + text.size() ? error : std::errc::invalid_argument;
}

namespace {

// For messages: in quotes, shortened and printable.
std::string quoted(std::string_view text) {
    constexpr size_t longest = 50;
    return "'" + printable(text.substr(0, longest)) + (text.size() > longest ? "...'" : "'");
}

// Why the line can't belong to a list in UTF-8, or null. The rest of such a file isn't worth reading.
const char* why_no_text(std::string_view line, size_t number) {
    if (number == 1 && line.starts_with("\xEF\xBB\xBF"))
        return "the list begins with a byte order mark; save it as UTF-8 without one";
    if (number == 1 && (line.starts_with("\xFF\xFE") || line.starts_with("\xFE\xFF")))
        return "the list is UTF-16; save it as UTF-8 without a byte order mark";
    return line.find('\0') != std::string_view::npos ? "the line has a NUL byte; a list is text" : nullptr;
}

// Takes a line and its number. Returns why the line is bad, or an empty text.
using TakeLine = std::function<std::string(std::string_view, size_t)>;

// False if a line was bad, or if the stream could not be read to its end; the messages say so.
bool read_lines(std::istream& in, const std::string& name, std::ostream& messages, const TakeLine& take) {
    constexpr size_t max_bad_lines = 20; // a file with more is probably not a list of routes
    std::array<char, longest_line + 1> room;
    size_t number = 0;
    size_t bad = 0;
    while (in.getline(room.data(), room.size())) {
        size_t length = static_cast<size_t>(in.gcount());
        if (length != 0 && !in.eof()) --length; // the line's end
        const std::string_view line(room.data(), length);
        const char* const no_text = why_no_text(line, ++number);
        const std::string reason = no_text != nullptr ? no_text : take(line, number);
        if (reason.empty()) continue;
        messages << name << ':' << number << ": " << reason << '\n';
        if (no_text != nullptr) return false;
        if (++bad == max_bad_lines) {
            messages << name << ": stopped after " << bad << " bad lines\n";
            return false;
        }
    }
    if (in.bad())
        messages << name << ": can't be read beyond line " << number << '\n';
    else if (!in.eof())
        messages << name << ':' << number + 1 << ": the line is longer than " << longest_line << " bytes\n";
    return in.eof() && !in.bad() && bad == 0;
}

// Cuts the first word off the text; empty if there is none.
std::string_view take_word(std::string_view& text) {
    constexpr std::string_view spaces = " \t\r\v\f";
    text.remove_prefix(std::min(text.find_first_not_of(spaces), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(spaces));
    text.remove_prefix(word.size());
    return word;
}

std::string parse_prefix(std::string_view word, Prefix& prefix) {
    const size_t slash = word.find('/');
    const std::string_view address_text = word.substr(0, slash);
    const Family family = std::ranges::find(address_text, ':') == address_text.end() ? Family::ipv4 : Family::ipv6;
    const std::optional<Address> address = parse_address(family, address_text);
    if (!address) return quoted(word) + " is not an IPv4 or IPv6 prefix";
    const uint32_t width = address_bits(family);
    uint32_t length = width;
    if (slash != std::string_view::npos) {
        const std::string_view length_text = word.substr(slash + 1);
        const std::errc error = parse_decimal(length_text, length);
        if (error == std::errc::invalid_argument)
            return text_of("prefix length ", quoted(length_text), " is not a number");
        if (error != std::errc{} || length > width) {
            return text_of("prefix length ", quoted(length_text), " is too large, an ", family_name(family),
                           " address has ", width, " bits");
        }
    }
    prefix = network_of(family, *address, length);
    if (prefix.address == *address) return {};
    return text_of(quoted(word), " has bits set beyond the prefix length, the prefix is ", prefix);
}

std::string parse_next_hop(std::string_view word, uint32_t& next_hop) {
    if (word.empty()) return "no next hop after the prefix";
    const std::errc error = parse_decimal(word, next_hop);
    if (error == std::errc::invalid_argument) return "next hop " + quoted(word) + " is not a decimal number";
    return error == std::errc{} ? "" : "next hop " + quoted(word) + " doesn't fit 32 bits";
}

struct Range {
    Address first;
    Address last;
    std::array<char, 2> country;
};

std::string parse_range(std::string_view line, Family family, Range& range) {
    const size_t first_comma = line.find(',');
    const size_t second_comma = line.find(',', first_comma + 1);
    if (first_comma == std::string_view::npos || second_comma == std::string_view::npos)
        return quoted(line) + " is not FIRST,LAST,CC";
    const auto parse_end = [&](std::string_view text) -> std::optional<Address> {
        if (family == Family::ipv6) return parse_address(family, text);
        uint32_t bits = 0;
        if (parse_decimal(text, bits) != std::errc{}) return std::nullopt;
        return from_ipv4(bits);
    };
    const std::optional<Address> first = parse_end(line.substr(0, first_comma));
    const std::optional<Address> last = parse_end(line.substr(first_comma + 1, second_comma - first_comma - 1));
    if (!first || !last) return quoted(line) + " has no " + family_name(family) + " address at both ends";
    if (*first > *last) return quoted(line) + " ends before it begins";
    const std::string_view country = line.substr(second_comma + 1);
    if (country.size() != 2) return "country code " + quoted(country) + " isn't two letters";
    range = {*first, *last, {country[0], country[1]}};
    return {};
}

} // namespace

std::optional<Route> parse_route_line(std::string_view line, std::string& reason) {
    line = line.substr(0, line.find('#'));
    const std::string_view prefix_word = take_word(line);
    reason.clear();
    if (prefix_word.empty()) return std::nullopt;
    Route route;
    reason = parse_prefix(prefix_word, route.prefix);
    if (reason.empty()) reason = parse_next_hop(take_word(line), route.next_hop);
    if (!reason.empty()) return std::nullopt;
    if (const std::string_view trailing = take_word(line); !trailing.empty()) {
        reason = "trailing " + quoted(trailing) + " after the next hop";
        return std::nullopt;
    }
    return route;
}

std::optional<std::vector<Route>> read_route_list(std::istream& in, const std::string& name, std::ostream& messages) {
    std::vector<Route> routes;
    std::map<Prefix, size_t> line_of;
    const auto take = [&](std::string_view line, size_t number) {
        std::string reason;
        const std::optional<Route> route = parse_route_line(line, reason);
        if (!route) return reason;
        const auto [earlier, is_new] = line_of.try_emplace(route->prefix, number);
        if (!is_new) return text_of(route->prefix, " was already given in line ", earlier->second);
        routes.push_back(*route);
        return reason;
    };
    if (!read_lines(in, name, messages, take)) return std::nullopt;
    if (!routes.empty()) return routes;
    messages << name << ": there is no route in this list\n";
    return std::nullopt;
}

bool read_range_list(std::istream& in, const std::string& name, Family family, CountryNextHops& next_hops,
                     std::vector<Route>& routes, std::ostream& messages) {
    std::optional<Address> end_before;
    return read_lines(in, name, messages, [&](std::string_view line, size_t) -> std::string {
        if (line.empty() || line.front() == '#') return {};
        Range range;
        if (std::string reason = parse_range(line, family, range); !reason.empty()) return reason;
        if (end_before && range.first <= *end_before)
            return quoted(line) + " begins inside or before the range above it";
        end_before = range.last;
        const uint32_t fresh = static_cast<uint32_t>(next_hops.size()) + 1;
        const uint32_t next_hop = next_hops.try_emplace(range.country, fresh).first->second;
        for (const Prefix& prefix : split_range(family, range.first, range.last))
            routes.push_back({prefix, next_hop});
        return {};
    });
}

} // namespace route_agent
