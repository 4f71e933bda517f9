// The switch at work: what it does when packets come, in a tour and in rounds of traffic.
#include <algorithm>
#include <iomanip>
#include <map>

#include "leaf_switch/steps.h"

namespace leaf_switch {
namespace {

constexpr Station desk = {{0x020000, 0x000031}, server_vlan, 3};
constexpr Station printer = {{0x020000, 0x000032}, server_vlan, 4};
constexpr Station backup = {{0x020000, 0x000041}, storage_vlan, lag_interface};

constexpr uint32_t elsewhere = ipv4(192, 0, 2, 1);

std::string colons(const Mac& mac) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const uint32_t half : {mac.oui, mac.station})
        for (int shift = 16; shift >= 0; shift -= 8)
            text += {digits[half >> (shift + 4) & 0xF], digits[half >> shift & 0xF], ':'};
    text.pop_back();
    return text;
}

void expect_as_planned(const char* what, size_t planned, size_t found) {
    if (found != planned) {
        throw std::runtime_error(std::string(what) + ": " + std::to_string(found) + " instead of the planned " +
                                 std::to_string(planned));
    }
}

void print_stations(const Leaf& leaf, std::ostream& out) {
    for (const Station& station : learned_stations(leaf)) {
        out << "  " << colons(station.mac) << " in VLAN " << station.vlan << " behind interface 0x" << std::hex
            << station.interface << std::dec << '\n';
    }
}

void show_learning(const Leaf& leaf, std::ostream& out) {
    const Station newcomers[] = {desk, printer, backup};
    const size_t unknown = send_frames(leaf, newcomers);
    expect_as_planned("new stations in a digest", std::size(newcomers), unknown);
    expect_as_planned("known stations in a digest", 0, send_frames(leaf, newcomers));
    out << "Learning: " << unknown << " unknown stations sent frames, and now are known\n";
    print_stations(leaf, out);

    // Less than a time to live, but more than half of one.
    constexpr uint32_t seconds = 200;
    pass_time(seconds);
    Station moved = desk;
    moved.interface = 2;
    const Station still_there[] = {moved, backup};
    const size_t moves = send_frames(leaf, still_there);
    pass_time(seconds);
    const size_t forgotten = forget_silent(leaf);
    expect_as_planned("moved stations in a digest", 1, moves);
    expect_as_planned("silent stations that were forgotten", 1, forgotten);
    out << "After " << 2 * seconds << " s, in which stations moved: " << moves << ", and were silent: " << forgotten
        << '\n';
    print_stations(leaf, out);
}

void check_routing(const Leaf& leaf) {
    for (const Host& host : hosts) {
        const Way planned = {host.next_hop, host.interface, host.mac, host.vlan};
        if (route_packet(leaf, host.address) != planned)
            throw std::runtime_error(std::string("packets to ") + host.name + " take another way than planned");
    }
    expect_as_planned("the route to another address", spines_ecmp, route_packet(leaf, elsewhere).number);
}

void show_routing(const Leaf& leaf, std::ostream& out) {
    check_routing(leaf);
    out << "Routing: packets to the " << std::size(hosts)
        << " hosts take their next hops, and one to another address takes ECMP group " << spines_ecmp << '\n';
}

void print_limit(const Leaf& leaf, uint16_t port, std::ostream& out) {
    const pd_meter_spec limit = broadcast_limit(leaf, port);
    out << "  port " << port << ": " << limit.committed_rate << ", bursts of " << limit.committed_burst << "; at most "
        << limit.peak_rate << ", bursts of " << limit.peak_burst << '\n';
}

void show_storm_control(const Leaf& leaf, std::ostream& out) {
    pd_meter_spec limit = broadcast_limit(leaf, 1);
    limit.committed_rate /= 4;
    limit.peak_rate /= 4;
    set_broadcast_limit(leaf, 1, limit);
    out << "Storm control: rates of broadcasts, after that of port 1 was lowered\n";
    print_limit(leaf, 1, out);
    print_limit(leaf, 2, out);
}

struct Planned {
    Packet packet;
    unsigned count;
    std::vector<std::string> counted_as;
};

std::vector<Planned> planned_packets() {
    const Host& server = hosts[1];
    constexpr uint16_t https_port = 443;
    constexpr uint32_t strange_interface = 0x50001;
    const uint16_t outside = uplinks[0].port;
    return {
        {{"for HTTPS", 1, server.mac, server.interface, server.address, tcp, https_port}, 20, {}},
        {{"for telnet", 1, server.mac, server.interface, server.address, tcp, telnet_port},
         12,
         {"matched by the rule against telnet", "dropped by rule"}},
        {{"for telnet from outside", outside, server.mac, server.interface, server.address, tcp, telnet_port}, 5, {}},
        {{"for nowhere", 1, server.mac, strange_interface, server.address, tcp, https_port},
         4,
         {"dropped for want of a port"}},
        {{"for telnet nowhere", 1, server.mac, strange_interface, server.address, tcp, telnet_port},
         3,
         {"matched by the rule against telnet", "dropped by rule"}},
        {{"for all", 1, broadcast_mac, server.interface}, 10, {}},
        {{.what = "over the limit of broadcasts",
          .ingress_port = 1,
          .destination_mac = broadcast_mac,
          .interface = server.interface,
          .is_over_limit = true},
         3000,
         {"dropped by storm control"}},
        {{.what = "for ARP", .ingress_port = 3, .destination_mac = broadcast_mac, .interface = 2, .is_arp = true},
         7,
         {"copied to the CPU for ARP"}},
        {{"for BGP at a server", outside, router_mac, server.interface, server.address, tcp, bgp_port}, 6, {}},
        {{"for BGP", outside, router_mac, cpu_port, switch_address, tcp, bgp_port, 85},
         2,
         {"trapped to the CPU for BGP"}},
    };
}

void show_counts(const Leaf& leaf, std::ostream& out) {
    for (const auto& [packet, count, counted_as] : planned_packets())
        send_packets(leaf, packet, count, counted_as);
    out << "Counters:\n";
    for (const PacketCount& count : packet_counts(leaf)) {
        out << "  " << std::left << std::setw(36) << count.what << std::right << std::setw(6) << count.packets
            << " packets" << std::setw(8) << count.bytes << " bytes\n";
    }
}

void show_vxlan_ports(const Leaf& leaf, std::ostream& out) {
    out << "The parser treats packets as VXLAN if they go to UDP port";
    for (const uint16_t port : vxlan_ports(leaf))
        out << ' ' << port;
    out << '\n';
}

void show_ecmp_prediction(const Leaf& leaf, std::ostream& out) {
    constexpr unsigned flows = 1000;
    std::map<uint32_t, unsigned> taken;
    for (unsigned i = 0; i < flows; ++i) {
        const Flow flow = {.source = hosts[0].address,
                           .destination = elsewhere,
                           .protocol = tcp,
                           .source_port = static_cast<uint16_t>(49152 + i),
                           .destination_port = 443};
        const uint32_t predicted = predicted_next_hop(leaf, flow);
        if (predicted != chosen_next_hop(leaf, flow)) {
            throw std::runtime_error("a flow from port " + std::to_string(flow.source_port) +
                                     " takes another way than was predicted");
        }
        ++taken[predicted];
    }
    out << "ECMP: of " << flows << " flows";
    for (const auto& [next_hop, count] : taken)
        out << (next_hop == taken.begin()->first ? " " : ", ") << count << " take next hop " << next_hop;
    out << "; all as predicted\n";
}

void show_snapshot(const Leaf& leaf, std::ostream& out) {
    constexpr uint16_t trigger = 0x0017;
    const uint16_t on_its_way[] = {0x0017, 0x0017, 0x0001, 0x0001};
    const uint32_t snapshot = arm_snapshot(leaf, trigger);
    send_through_snapshot(snapshot, first_snapshot_stage, on_its_way);
    const std::optional<Capture> capture = read_snapshot(snapshot);
    delete_snapshot(snapshot);
    if (!capture) throw std::runtime_error("the snapshot took nothing");
    out << "Snapshot: the trigger matched in stage " << capture->trigger_stage << "; the field in stages "
        << unsigned{first_snapshot_stage} << " to " << unsigned{last_snapshot_stage} << ":";
    for (const uint16_t field : capture->field)
        out << " 0x" << std::hex << std::setfill('0') << std::setw(4) << field << std::dec << std::setfill(' ');
    out << '\n';
}

} // namespace

void take_tour(const Leaf& leaf, std::ostream& out) {
    for (const auto show : {show_learning, show_storm_control, show_counts, show_vxlan_ports, show_routing,
                            show_ecmp_prediction, show_snapshot}) {
        out << '\n';
        show(leaf, out);
    }
    out << '\n';
}

void send_round(const Leaf& leaf, unsigned round) {
    const unsigned second = round / rounds_per_second;
    // Every 20 s the desk moves to another port. Every 30 s a visitor comes, and the one before falls silent.
    Station moving = desk;
    if (second / 20 % 2 != 0) moving.interface = 2;
    const Station visitor = {{0x020000, 0x000100 + second / 30 % 0x100}, server_vlan, 4};
    const Station senders[] = {moving, printer, backup, visitor};
    send_frames(leaf, senders);
    forget_silent(leaf);
    check_routing(leaf);
    for (const auto& [packet, count, counted_as] : planned_packets())
        send_packets(leaf, packet, std::min(count, 1 + round % 20), counted_as);
    // Updates the driver's copy of the counts, for readers that don't ask the hardware.
    for (const auto update :
         {p4_pd_velmar_switch_counter_hw_sync_haloCount, p4_pd_velmar_switch_counter_hw_sync_trapToCpuCount,
          p4_pd_velmar_switch_counter_hw_sync_finalDropControlCount})
        expect("updating counts", update(leaf.session, leaf.target, nullptr, nullptr));
    if (round % rounds_per_second == rounds_per_second - 1) pass_time(1);
}

} // namespace leaf_switch
