// A second program: a table of each shape, and a row of most other kinds. Its library is built from the same sources.
#pragma once

#include "catalog/catalog.h"

namespace tiny_switch {

using namespace catalog;
using enum Addressing;
using enum Match;
using enum Role;
using enum Tag;
using enum Use;

// clang-format off
inline constexpr Action actions[] = {
    {"drop"},
    {"forward", {{"port", 9}, {"rate", 32, untagged, slot_index}}},
    {"setNextHop", {{"nextHop", 24}}},
    {"send", {{"port", 9}, {"dmac", 32}}},
};

inline constexpr Table edge[] = {
    // 128-bit fields begin at an even offset, which leaves gaps in the record.
    {.name = "hosts",
     .handle = 0x1000001,
     .summary = "Hosts by VRF and address.",
     .ttl_on_add = true,
     .key = {{"vrf", "md_vrf", 8}, {"dip", "ip_dip", 128, exact, v6addr}, {"ttl", "ip_ttl", 8}},
     .actions = {{"setNextHop", 0x20000001, entry}, {"drop", 0x20000002, entry_or_default}}},
    {.name = "acl",
     .handle = 0x1000002,
     .summary = "Drops, or forwards at a rate.",
     .key = {{"port", "md_port", 9}, {"dip", "ip_dip", 128, ternary, v6addr}, {"proto", "ip_proto", 8, ternary}},
     .record_order = {"ip_proto", "md_port", "ip_dip"},
     .actions = {{"drop", 0x20000003, entry_or_default}, {"forward", 0x20000004, entry}}},
};

inline constexpr Table core[] = {
    {.name = "routes",
     .handle = 0x1000010,
     .summary = "IPv4 routes in partitions.",
     .idle_time = true,
     .partitioned = true,
     .key = {{"part", "md_part", 16}, {"dip", "ipv4_dip", 32, lpm, v4addr}},
     .actions = {{"setNextHop", 0x20000005, entry}, {"drop", 0x20000006, entry_or_default}}},
    {.name = "nextHop",
     .handle = 0x1000011,
     .summary = "The members or groups of next hops.",
     .key = {{"nextHop", "md_nextHop", 16, exact, untagged, 0xFFF, 32}}},
    {.name = "tail",
     .handle = 0x1000012,
     .summary = "What happens to all packets in the end.",
     .actions = {{"drop", 0x20000007, default_only}}},
};

inline constexpr Seam seams[] = {{"edge", "The edge.", edge}, {"core", "The core.", core}};

inline constexpr Profile profiles[] = {{.name = "hops",
                                        .data_table = 0x2000001,
                                        .selector = 0x3000001,
                                        .table = "nextHop",
                                        .actions = {{"send", 0x20000008}, {"drop", 0x20000009}}}};

inline constexpr Resource counters[] = {{"hostCount", 0x4000001, direct, "hosts"}};
inline constexpr Resource meters[] = {{"aclRate", 0x5000001, indirect, "acl"}};
inline constexpr Register registers[] = {{"seen", 0x6000001, Cell::word}};
inline constexpr Digest digests[] = {{"learned", 0x9000001, {{"md_mac", 4}, {"md_port", 2}}}};

inline constexpr CounterWords counter_words[] = {
    {.table = "hosts",
     .pieces = {{"md_vrf", Form::exact, "VRF", 0xff},
                {"ip_dip", Form::silent},
                {"ip_ttl", Form::exact, "TTL", 0xff}}}};
// clang-format on

inline constexpr Catalog program{.name = "tiny_switch",
                                 .prefix = "p4_pd_tiny_switch_",
                                 .actions = actions,
                                 .seams = seams,
                                 .profiles = profiles,
                                 .counters = counters,
                                 .meters = meters,
                                 .registers = registers,
                                 .digests = digests,
                                 .counter_words = counter_words};

} // namespace tiny_switch
