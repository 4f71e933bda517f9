// Fuzzes lists of routes. An input is the text of a list, or behind an odd byte the routes of a list that is sound. The
// agent refuses a bad list. After a sound one it finds all as meant on the switch, and its packets reach the next hop
// of the longest prefix in the list.
#include <map>
#include <sstream>

#include "fuzz/input.h"
#include "route_agent/agent.h"
#include "route_agent/route_list.h"
#include "vl_model/testing.h"

namespace {

using namespace route_agent;
using fuzz::demand;

using Routes = std::map<Prefix, uint32_t>; // with their next hops
constexpr size_t most_routes = 64;

Routes make_routes(fuzz::Input& input) {
    Routes routes;
    while (!input.empty() && routes.size() < most_routes) {
        const Family family = input.byte() % 2 == 0 ? Family::ipv4 : Family::ipv6;
        // Few different bits, so that prefixes lie in each other.
        Address address = 0;
        for (int i = 0; i < 16; ++i)
            address = address << 8 | (i == 0 || i == 1 || i == 3 || i == 7 || i == 15 ? input.byte() : 0u);
        if (family == Family::ipv4) address = from_ipv4(to_ipv4(address));
        const unsigned length = input.byte() % (address_bits(family) + 1);
        routes[network_of(family, address, length)] = input.word();
    }
    return routes;
}

std::string list_of(const Routes& routes, fuzz::Input& input) {
    constexpr const char* ends[] = {"\n", " # a comment\n", "\t\r\n", "\n\n"};
    std::string list;
    for (const auto& [prefix, next_hop] : routes)
        list += text_of(prefix, ' ', next_hop, ends[input.byte() % 4]);
    return list;
}

std::optional<Routes> read_list(const std::string& text) {
    std::istringstream in(text);
    std::ostringstream messages;
    const auto routes = read_route_list(in, "list", messages);
    demand(routes.has_value() == messages.str().empty(), "a list is bad without a reason, or good with one");
    if (!routes) return std::nullopt;
    Routes read;
    for (const auto& [prefix, next_hop] : *routes) {
        demand(prefix.length <= address_bits(prefix.family) &&
                   prefix == network_of(prefix.family, prefix.address, prefix.length),
               "a prefix that was read has bits beyond its length");
        read[prefix] = next_hop;
    }
    demand(read.size() == routes->size(), "a prefix was read twice");
    return read;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    std::string text;
    if (input.byte() % 2 == 1) {
        const Routes routes = make_routes(input);
        text = list_of(routes, input);
        demand(routes.empty() || read_list(text) == routes, "a sound list was read differently");
    } else {
        text = input.take_all();
    }
    const std::optional<Routes> routes = read_list(text);
    vl_model_reset();
    std::istringstream in(text);
    std::ostringstream out, messages;
    const int status = run_agent({"--packets", "100", "-"}, {in, out, messages});
    demand(status == (routes ? exit_as_meant : exit_bad_input), messages.str() + out.str());
    return 0;
}
