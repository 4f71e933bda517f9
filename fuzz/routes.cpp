// Fuzzes lists of routes. An input is the text of a list, or behind an odd byte the routes of a list that is sound. The
// agent refuses a bad list, and finds all as meant on the switch after a sound one. The tables that it fills lead each
// address to the next hop of the longest prefix in the list.
#include <map>
#include <sstream>

#include "fuzz/input.h"
#include "route_agent/agent.h"
#include "route_agent/phases.h"
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

bool covers(const Prefix& prefix, Family family, Address address) {
    return prefix.family == family && prefix.address <= address && address <= last_of(prefix);
}

// What the tables hold in the hardware, and where they lead an address.
class Switch {
public:
    Switch(const Device& device, const Plan& plan) : plan_(plan) {
        for (size_t i = 0; i < table_count; ++i) {
            const RouteTable& table = route_tables[i];
            pd_entry handle = PD_HDL_END;
            if (table.first(device.session, device.target, &handle) != 0) continue;
            while (handle != PD_HDL_END) {
                demand(table.read(device, handle, held_[i].emplace_back()) == 0, "an entry can't be read");
                demand(table.next(device.session, device.target, handle, 1, &handle) == 0, "the walk ended early");
            }
        }
    }

    std::optional<uint32_t> next_hop(Family family, Address address) const {
        const Content* found = family == Family::ipv4
                                   ? any_of({longest(ipv4Host, vrf, family, address),
                                             through(ipv4Partition0, ipv4FinalResolve0, family, address),
                                             longest(ipv4ShortMaskLpm, vrf, family, address)})
                                   : any_of({longest(ipv6Host, vrf, family, address),
                                             through(ipv6LgMaskPartition0, ipv6LgMaskFinalResolve0, family, address),
                                             longest(ipv6Partition, vrf, family, address),
                                             longest(ipv6ShortMaskLpm, vrf, family, address)});
        if (found == nullptr) return std::nullopt;
        return plan_.groups.at(std::max(found->ecmp_group, found->next_hop) - 1).next_hop;
    }

private:
    static constexpr unsigned vrf = 1;

    // The first that isn't null.
    static const Content* any_of(std::initializer_list<const Content*> choices) {
        for (const Content* choice : choices)
            if (choice != nullptr) return choice;
        return nullptr;
    }
    const Content* longest(TableId table, unsigned scope, Family family, Address address) const {
        const Content* best = nullptr;
        for (const Content& each : held_[table])
            if (each.scope == scope && covers(each.prefix, family, address) &&
                (best == nullptr || each.prefix.length > best->prefix.length))
                best = &each;
        return best;
    }
    const Content* through(TableId first, TableId second, Family family, Address address) const {
        const Content* const partition = longest(first, vrf, family, address);
        return partition != nullptr ? longest(second, partition->partition, family, address) : nullptr;
    }

    const Plan& plan_;
    PerTable<std::vector<Content>> held_;
};

std::optional<uint32_t> longest_prefix(const Routes& routes, Family family, Address address) {
    std::optional<uint32_t> found;
    int length = -1;
    for (const auto& [prefix, next_hop] : routes)
        if (covers(prefix, family, address) && prefix.length > length) {
            found = next_hop;
            length = prefix.length;
        }
    return found;
}

// Looks up the ends of each prefix, and the addresses beside them.
void check_lookups(const Routes& routes, const Switch& filled) {
    for (const auto& [prefix, next_hop] : routes) {
        const Family family = prefix.family;
        const Address one = Address{1} << (128 - address_bits(family));
        const Address last = last_of({last_of(prefix) & ~(one - 1), 128, family});
        for (const Address address : {prefix.address, prefix.address - one, last, last + one})
            demand(filled.next_hop(family, address) == longest_prefix(routes, family, address),
                   text_of("the address ", Prefix{address, static_cast<uint8_t>(address_bits(family)), family},
                           " leads elsewhere"));
    }
}

void check_switch(const Routes& routes) {
    std::vector<Route> list;
    for (const auto& [prefix, next_hop] : routes)
        list.push_back({prefix, next_hop});
    std::string reason;
    const std::optional<Plan> plan = make_plan(list, reason);
    demand(plan.has_value(), reason);
    const Device device = open_device();
    std::ostringstream messages;
    Progress progress(messages, false);
    Run run(device, *plan, progress);
    for (unsigned load = 0; load < load_count; ++load)
        program(run, load);
    check_lookups(routes, Switch(device, *plan));
    close_device(device);
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
    if (routes) check_switch(*routes);
    return 0;
}
