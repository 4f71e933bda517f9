// Reads range lists. Ranges must ascend without overlap: then no prefix comes out twice.
#include "route_agent/range_list.h"

#include "route_agent/line_reader.h"

namespace route_agent {
namespace {

std::optional<Address> parse_range_end(Family family, std::string_view text) {
    if (family == Family::ipv6) return parse_address(family, text);
    uint32_t bits = 0;
    if (parse_decimal(text, bits) != Parsed::good) return std::nullopt;
    return from_ipv4(bits);
}

struct Range {
    Address first;
    Address last;
    Country country{};
};

std::string parse_range(std::string_view line, Family family, Range& range) {
    const size_t first_comma = line.find(',');
    const size_t second_comma = line.find(',', first_comma + 1);
    if (first_comma == std::string_view::npos || second_comma == std::string_view::npos)
        return quoted(line) + " is not FIRST,LAST,CC";
    const std::optional<Address> first = parse_range_end(family, line.substr(0, first_comma));
    const std::optional<Address> last =
        parse_range_end(family, line.substr(first_comma + 1, second_comma - first_comma - 1));
    if (!first || !last) return quoted(line) + " has no " + family_name(family) + " address at both ends";
    if (*first > *last) return quoted(line) + " ends before it begins";
    const std::string_view country = line.substr(second_comma + 1);
    if (country.size() != 2) return "country code " + quoted(country) + " isn't two letters";
    range = {*first, *last, {country[0], country[1]}};
    return {};
}

} // namespace

bool read_range_list(std::istream& in, const std::string& name, Family family, CountryNextHops& next_hops,
                     std::vector<Route>& routes, std::ostream& messages) {
    std::optional<Address> end_before;
    const auto take = [&](std::string_view line, size_t) -> std::string {
        if (line.empty() || line.front() == '#') return {};
        Range range;
        if (std::string reason = parse_range(line, family, range); !reason.empty()) return reason;
        if (end_before && range.first <= *end_before)
            return quoted(line) + " begins inside or before the range above it";
        end_before = range.last;
        const uint32_t fresh = static_cast<uint32_t>(next_hops.size()) + 1;
        const uint32_t next_hop = next_hops.try_emplace(range.country, fresh).first->second;
        split_range(family, range.first, range.last, [&](const Prefix& prefix) {
            routes.push_back({prefix, next_hop, range.country});
        });
        return {};
    };
    return read_lines(in, name, messages, take);
}

} // namespace route_agent
