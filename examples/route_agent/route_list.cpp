// Checks of the user's list. Everything that can be known of one line is found here, so that nothing is programmed
// from a list that is bad further down.
#include "route_agent/route_list.h"

#include <algorithm>
#include <unordered_map>

#include "route_agent/line_reader.h"

namespace route_agent {
namespace {

constexpr std::string_view spaces = " \t\r\v\f";

// Cuts the first word off the text; empty if there is none.
std::string_view take_word(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(spaces), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(spaces));
    text.remove_prefix(word.size());
    return word;
}

std::string parse_prefix(std::string_view word, Prefix& prefix) {
    const size_t slash = word.find('/');
    const std::string_view address_text = word.substr(0, slash);
    prefix.family = std::ranges::find(address_text, ':') == address_text.end() ? Family::ipv4 : Family::ipv6;
    const std::optional<Address> address = parse_address(prefix.family, address_text);
    if (!address) return quoted(word) + " is no IPv4 or IPv6 prefix";
    const unsigned width = address_bits(prefix.family);
    unsigned length = width;
    if (slash != std::string_view::npos) {
        const std::string_view length_text = word.substr(slash + 1);
        const Parsed parsed = parse_decimal(length_text, length);
        if (parsed == Parsed::no_number) return "prefix length " + quoted(length_text) + " is no number";
        if (parsed == Parsed::too_large || length > width) {
            return "prefix length " + quoted(length_text) + " is too large, an " + family_name(prefix.family) +
                   " address has " + std::to_string(width) + " bits";
        }
    }
    prefix = network_of(prefix.family, *address, length);
    if (prefix.address != *address)
        return quoted(word) + " has bits set beyond the prefix length, the prefix is " + to_text(prefix);
    return {};
}

std::string parse_next_hop(std::string_view word, uint32_t& next_hop) {
    if (word.empty()) return "no next hop behind the prefix";
    const Parsed parsed = parse_decimal(word, next_hop);
    if (parsed == Parsed::no_number) return "next hop " + quoted(word) + " is no decimal number";
    if (parsed == Parsed::too_large) return "next hop " + quoted(word) + " doesn't fit 32 bits";
    return {};
}

struct PrefixHash {
    size_t operator()(const Prefix& prefix) const {
        uint64_t hash = prefix.address.high ^ std::rotl(prefix.address.low, 29) ^ prefix.length;
        hash *= 0x9E3779B97F4A7C15; // spreads the bits, which differ mostly at the top, over the whole word
        return hash ^ hash >> 32;
    }
};

} // namespace

RouteLine parse_route_line(std::string_view line) {
    line = line.substr(0, line.find('#'));
    const std::string_view prefix_word = take_word(line);
    if (prefix_word.empty()) return {};
    Route route;
    std::string reason = parse_prefix(prefix_word, route.prefix);
    if (reason.empty()) reason = parse_next_hop(take_word(line), route.next_hop);
    if (reason.empty()) {
        if (const std::string_view trailing = take_word(line); !trailing.empty())
            reason = "trailing " + quoted(trailing) + " behind the next hop";
    }
    return reason.empty() ? RouteLine{route, {}} : RouteLine{std::nullopt, reason};
}

std::optional<std::vector<Route>> read_route_list(std::istream& in, const std::string& name, std::ostream& messages) {
    std::vector<Route> routes;
    std::unordered_map<Prefix, size_t, PrefixHash> line_of;
    const auto take = [&](std::string_view line, size_t number) -> std::string {
        RouteLine parsed = parse_route_line(line);
        if (!parsed.route) return parsed.reason;
        const auto [earlier, is_new] = line_of.try_emplace(parsed.route->prefix, number);
        if (!is_new)
            return to_text(parsed.route->prefix) + " was given before, in line " + std::to_string(earlier->second);
        routes.push_back(*parsed.route);
        return {};
    };
    if (!read_lines(in, name, messages, take)) return std::nullopt;
    if (routes.empty()) {
        messages << name << ": there is no route in this list\n";
        return std::nullopt;
    }
    return routes;
}

} // namespace route_agent
