// What is connected to the leaf, and the numbers that the administrator of the switch chooses.
//
//   ports 1 to 4     servers, untagged in VLAN 10
//   ports 5 and 6    LAG 1 to a storage box, tagged in VLANs 10 and 20
//   ports 49 and 50  uplinks to two spines, routed
#pragma once

#include <compare>
#include <cstdint>

namespace leaf_switch {

// Tables match a MAC address as two halves.
struct Mac {
    uint32_t oui;
    uint32_t station;
    friend auto operator<=>(const Mac&, const Mac&) = default;
};

inline constexpr uint32_t all_of_half = 0xFFFFFF; // the mask that matches a whole half
inline constexpr Mac broadcast_mac = {0xFFFFFF, 0xFFFFFF};
inline constexpr Mac router_mac = {0x020000, 0x000001};

constexpr uint32_t ipv4(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return a << 24 | b << 16 | c << 8 | d;
}

inline constexpr uint16_t server_vlan = 10;
inline constexpr uint16_t storage_vlan = 20;
inline constexpr uint16_t no_vlan = 0;

inline constexpr uint16_t server_ports[] = {1, 2, 3, 4};
inline constexpr uint16_t lag_ports[] = {5, 6};
inline constexpr uint16_t cpu_port = 64;
inline constexpr uint16_t vxlan_udp_port = 4789;
inline constexpr uint8_t tcp = 6;
inline constexpr uint16_t telnet_port = 23;
inline constexpr uint16_t bgp_port = 179;

// An interface is where frames come in and leave. The top four of its 20 bits are its kind. A port's interface has kind
// 0 and the port's number; the only other kind in this switch is the LAG.
inline constexpr uint32_t all_of_interface = 0xFFFFF;
inline constexpr uint32_t interface_kind = 0xF0000;
inline constexpr uint32_t learned_kinds = 0xC0000; // the bits of the kind that are 0 in ports and LAGs
inline constexpr uint32_t lag_interface = 0x20001;

// The LAG's ports share a virtual port: frames of either port come in by the LAG.
inline constexpr uint16_t lag_virtual_port = 0x201;

inline constexpr uint8_t vrf = 1;
inline constexpr uint32_t switch_address = ipv4(10, 0, 10, 1);

// ECMP groups and next hops share their numbers, so a group must not have a next hop's number.
inline constexpr uint32_t spines_ecmp = 200;

// A routed port has its own VLAN, with no other port in it.
struct Uplink {
    uint16_t port;
    uint16_t own_vlan;
    uint32_t next_hop;
    Mac spine;
};

inline constexpr Uplink uplinks[] = {
    {49, 4001, 1, {0x020000, 0x00F001}},
    {50, 4002, 2, {0x020000, 0x00F002}},
};

struct Host {
    const char* name;
    uint32_t address;
    Mac mac;
    uint16_t vlan;
    uint32_t interface;
    uint32_t next_hop;
};

inline constexpr Host hosts[] = {
    {"server 1", ipv4(10, 0, 10, 11), {0x020000, 0x000011}, server_vlan, 1, 101},
    {"server 2", ipv4(10, 0, 10, 12), {0x020000, 0x000012}, server_vlan, 2, 102},
    {"the storage box", ipv4(10, 0, 20, 21), {0x020000, 0x000021}, storage_vlan, lag_interface, 103},
};

} // namespace leaf_switch
