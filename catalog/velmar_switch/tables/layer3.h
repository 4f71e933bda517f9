// Layer 3: routes, next-hop resolution, ECMP and LAG selection, IPv4 multicast.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;
using enum Match;
using enum Tag;
using enum Use;

// In records a next hop always has 32 bits, even where a key takes only the low 16.
inline constexpr unsigned next_hop_record_bits = 32;

// clang-format off
inline constexpr Table layer3[] = {
    {.name = "hashComputeInnerIpHdr",
     .handle = 0x1000002,
     .summary = "Starts the hash input from the inner IP header, with one action per address family. The key is the "
                "two valid bits.",
     .key = {{"innerIpv4HdrValid", "innerIpv4Hdr_valid", 1},
             {"innerIpv6HdrValid", "innerIpv6Hdr_valid", 1}},
     .actions = {{"hashComputeInnerIpv4HdrAction", 0x20000001, entry},
                 {"hashComputeInnerIpv6HdrAction", 0x20000002, entry},
                 {"NoAction", 0x20000003, entry_or_default}}},

    {.name = "hashComputeOuterIpv4Hdr",
     .handle = 0x100001e,
     .summary = "Hash step over the outer IPv4 header.",
     .actions = {{"hashComputeOuterIpv4HdrAction", 0x20000054, default_only}}},

    {.name = "hashComputeOuterIpv6Hdr",
     .handle = 0x100001d,
     .summary = "Hash step over the outer IPv6 header.",
     .actions = {{"hashComputeOuterIpv6HdrAction", 0x20000055, default_only}}},

    {.name = "hashComputeInnerEthHdr",
     .handle = 0x100001c,
     .summary = "Hash step over the inner Ethernet header.",
     .actions = {{"hashComputeInnerEthHdrAction", 0x2000007d, default_only}}},

    {.name = "hashComputeIpAndL4Hdr",
     .handle = 0x100002c,
     .summary = "Hash step over the IP and layer-4 headers.",
     .actions = {{"hashComputeIpAndL4HdrAction", 0x2000007f, default_only}}},

    {.name = "ipv4Host",
     .handle = 0x1000023,
     .summary = "Exact IPv4 host routes by VRF and destination. Every route result has the form of its four actions: "
                "one ECMP group, or one next hop in one of three result spaces (setNextHop, setNextHop2, "
                "setNextHop3).",
     .idle_time = true,
     .key = {{"vrfId", "l3Info_vrfId", 8},
             {"dip", "ingIpv4_dip", 32, exact, v4addr}},
     .actions = {{"setEcmp", 0x20000069, entry},
                 {"setNextHop", 0x2000006a, entry},
                 {"setNextHop2", 0x2000006b, entry},
                 {"setNextHop3", 0x2000006c, entry},
                 {"onMiss", 0x2000006d, entry_or_default}}},

    {.name = "ipv6Host",
     .handle = 0x1000022,
     .summary = "Exact IPv6 host routes by VRF and destination, with the same results as ipv4Host.",
     .idle_time = true,
     .key = {{"vrfId", "l3Info_vrfId", 8},
             {"dip", "ingIpv6_dip", 128, exact, v6addr}},
     .actions = {{"setEcmp", 0x20000062, entry},
                 {"setNextHop", 0x20000063, entry},
                 {"setNextHop2", 0x20000064, entry},
                 {"setNextHop3", 0x20000065, entry},
                 {"onMiss", 0x20000066, entry_or_default}}},

    {.name = "ipv4Partition0",
     .handle = 0x1000025,
     .summary = "First level of the IPv4 partitioned LPM, over the 7 low bits of the VRF and the 32-bit "
                "ingIpv4_dipAndVrf with prefix length. The result is pri (5 bits), the partition index partIdx and a "
                "next hop with its table.",
     .idle_time = true,
     .key = {{"vrfId", "l3Info_vrfId", 8, exact, untagged, 0x7f},
             {"dipAndVrf", "ingIpv4_dipAndVrf", 32, lpm}},
     .actions = {{"setIpv4PrtResultXFirst", 0x2000006e, entry},
                 {"onMiss", 0x2000006f, entry_or_default}}},

    {.name = "ipv6LgMaskPartition0",
     .handle = 0x1000026,
     .summary = "First level of the IPv6 long-mask partitioned LPM, over the whole 128-bit destination. The result "
                "is that of ipv4Partition0, with 7 bits of pri.",
     .idle_time = true,
     .key = {{"vrfId", "l3Info_vrfId", 8},
             {"dip", "ingIpv6_dip", 128, lpm, v6addr}},
     .actions = {{"setIpv6PrtResultXFirst", 0x20000067, entry},
                 {"onMiss", 0x20000068, entry_or_default}}},

    {.name = "ipv6Partition",
     .handle = 0x1000035,
     .summary = "First level of the IPv6 partitioned LPM, over the high 64 bits of the destination. The result is a "
                "partition index and a route result.",
     .idle_time = true,
     .key = {{"vrfId", "l3Info_vrfId", 8},
             {"dip", "ingIpv6_dip", 128, lpm, v6addr, {0xffffffffffffffff, 0x0}}},
     .actions = {{"setIpv6PrtIdxNextHop", 0x2000008a, entry},
                 {"setIpv6PrtIdxNextHop2", 0x2000008b, entry},
                 {"setIpv6PrtIdxNextHop3", 0x2000008c, entry},
                 {"setIpv6PrtIdxEcmp", 0x2000008d, entry},
                 {"onMiss", 0x2000008e, entry_or_default}}},

    {.name = "ipv4ShortMaskLpm",
     .handle = 0x1000037,
     .summary = "Short prefixes of IPv4: VRF and the top 12 bits of the destination.",
     .idle_time = true,
     .key = {{"vrfId", "l3Info_vrfId", 8},
             {"dip", "ingIpv4_dip", 32, lpm, v4addr, 0xfff00000}},
     .actions = {{"setEcmp", 0x20000080, entry},
                 {"setNextHop", 0x20000081, entry},
                 {"setNextHop2", 0x20000082, entry},
                 {"setNextHop3", 0x20000083, entry},
                 {"ipv4ShortMaskLpmMiss", 0x20000084, entry_or_default}}},

    {.name = "ipv6ShortMaskLpm",
     .handle = 0x1000039,
     .summary = "Short prefixes of IPv6: VRF and the top 22 bits of the destination.",
     .idle_time = true,
     .key = {{"vrfId", "l3Info_vrfId", 8},
             {"dip", "ingIpv6_dip", 128, lpm, v6addr, {0xfffffc0000000000, 0x0}}},
     .actions = {{"setEcmp", 0x2000008f, entry},
                 {"setNextHop", 0x20000090, entry},
                 {"setNextHop2", 0x20000091, entry},
                 {"setNextHop3", 0x20000092, entry},
                 {"setFibMiss", 0x20000093, entry_or_default}}},

    {.name = "ipv4FinalResolve0",
     .handle = 0x1000033,
     .summary = "Second level of the IPv4 partitioned LPM: partition index and the 20 low bits of the "
                "destination. The four actions name the next-hop result space of the winning route; the default "
                "is setDefaultVrf.",
     .idle_time = true,
     .partitioned = true,
     .key = {{"partIdx", "fibV4ResultX_partIdx", 16, exact, dec},
             {"dip", "ingIpv4_dip", 32, lpm, v4addr, 0xfffff}},
     .actions = {{"setNextHop0First", 0x20000085, entry},
                 {"setNextHop2First", 0x20000086, entry},
                 {"setNextHop3First", 0x20000087, entry},
                 {"setNextHop1First", 0x20000088, entry},
                 {"setDefaultVrf", 0x20000089, entry_or_default}}},

    {.name = "ipv6LgMaskFinalResolve0",
     .handle = 0x1000034,
     .summary = "Second level of the IPv6 long-mask LPM: partition index and the low 64 bits of the destination.",
     .idle_time = true,
     .partitioned = true,
     .key = {{"partIdx", "fibV6ResultX_partIdx", 16, exact, dec},
             {"dip", "ingIpv6_dip", 128, lpm, v6addr, {0x0, 0xffffffffffffffff}}},
     .actions = {{"setV6NextHop0First", 0x20000099, entry},
                 {"setV6NextHop2First", 0x2000009a, entry},
                 {"setV6NextHop3First", 0x2000009b, entry},
                 {"setV6NextHop1First", 0x2000009c, entry},
                 {"ipv6LgMaskFinalResolveDefaultFirst", 0x2000009d, entry_or_default}}},

    {.name = "ipv6FinalResolve",
     .handle = 0x1000038,
     .summary = "Second level of the IPv6 LPM: a 14-bit partition index and 42 bits of the destination, bits 64 "
                "to 105, with route results like ipv4Host.",
     .idle_time = true,
     .partitioned = true,
     .key = {{"fibPartitionIndex", "ingIpv6_fibPartitionIndex", 16, exact, dec, 0x3fff},
             {"dip", "ingIpv6_dip", 128, lpm, v6addr, {0x3ffffffffff, 0x0}}},
     .actions = {{"setEcmp", 0x20000094, entry},
                 {"setNextHop", 0x20000095, entry},
                 {"setNextHop2", 0x20000096, entry},
                 {"setNextHop3", 0x20000097, entry},
                 {"onMiss", 0x20000098, entry_or_default}}},

    {.name = "switchToCpu",
     .handle = 0x1000036,
     .summary = "Gives the next hop that leads to the CPU, by the low bit of l3Info_ipRouting and the address-"
                "family bits.",
     .key = {{"ipRouting", "l3Info_ipRouting", 4, exact, untagged, 0x1},
             {"v4V6Valid", "ingMd_v4V6Valid", 3}},
     .actions = {{"setSwitchToCpu", 0x2000009e, entry_or_default}}},

    {.name = "ecmpHashSelection",
     .handle = 0x100003a,
     .summary = "Picks the hash result that feeds ECMP, by the validity of the inner and outer headers and the "
                "fragment flags: outer IP, outer layer 4, inner IP, inner layer 4 or inner Ethernet.",
     .key = {{"innerL4PortHdrValid", "innerL4PortHdr_valid", 1, ternary},
             {"innerIpv4HdrValid", "innerIpv4Hdr_valid", 1, ternary},
             {"innerIpv4HdrFlagsMf", "innerIpv4Hdr_flagsMf", 1, ternary},
             {"innerIpv6HdrValid", "innerIpv6Hdr_valid", 1, ternary},
             {"innerEthHdrValid", "innerEthHdr_valid", 1, ternary},
             {"l4PortHdrValid", "l4PortHdr_valid", 1, ternary},
             {"outerIpv6HdrValid", "outerIpv6Hdr_valid", 1, ternary},
             {"outerIpv4HdrValid", "outerIpv4Hdr_valid", 1, ternary},
             {"outerIpv4HdrFlagsMf", "outerIpv4Hdr_flagsMf", 1, ternary}},
     .record_order = {"innerEthHdr_valid", "innerIpv4Hdr_valid", "innerIpv4Hdr_flagsMf", "innerIpv6Hdr_valid",
                      "innerL4PortHdr_valid", "l4PortHdr_valid", "outerIpv4Hdr_valid", "outerIpv4Hdr_flagsMf",
                      "outerIpv6Hdr_valid"},
     .actions = {{"setHashValuesEcmpOuterIpHdr", 0x200000a9, entry},
                 {"setHashValuesEcmpOuterL4Hdr", 0x200000aa, entry},
                 {"setHashValuesEcmpInnerIpHdr", 0x200000ab, entry},
                 {"setHashValuesEcmpInnerL4Hdr", 0x200000ac, entry},
                 {"setHashValuesEcmpInnerEthHdr", 0x200000ad, entry},
                 {"onMiss", 0x200000ae, entry_or_default}}},

    {.name = "lagHashSelection",
     .handle = 0x100003b,
     .summary = "Like ecmpHashSelection, but for LAG members. Outer Ethernet is also in the key, and is a sixth "
                "choice.",
     .key = {{"innerL4PortHdrValid", "innerL4PortHdr_valid", 1, ternary},
             {"innerIpv4HdrValid", "innerIpv4Hdr_valid", 1, ternary},
             {"innerIpv4HdrFlagsMf", "innerIpv4Hdr_flagsMf", 1, ternary},
             {"innerIpv6HdrValid", "innerIpv6Hdr_valid", 1, ternary},
             {"innerEthHdrValid", "innerEthHdr_valid", 1, ternary},
             {"l4PortHdrValid", "l4PortHdr_valid", 1, ternary},
             {"outerIpv6HdrValid", "outerIpv6Hdr_valid", 1, ternary},
             {"outerIpv4HdrValid", "outerIpv4Hdr_valid", 1, ternary},
             {"outerIpv4HdrFlagsMf", "outerIpv4Hdr_flagsMf", 1, ternary},
             {"outerEthHdrValid", "outerEthHdr_valid", 1, ternary}},
     .record_order = {"innerEthHdr_valid", "innerIpv4Hdr_valid", "innerIpv4Hdr_flagsMf", "innerIpv6Hdr_valid",
                      "innerL4PortHdr_valid", "l4PortHdr_valid", "outerEthHdr_valid", "outerIpv4Hdr_valid",
                      "outerIpv4Hdr_flagsMf", "outerIpv6Hdr_valid"},
     .actions = {{"setHashValuesLagOuterEthHdr", 0x200000b7, entry},
                 {"setHashValuesLagOuterIpHdr", 0x200000b8, entry},
                 {"setHashValuesLagOuterL4Hdr", 0x200000b9, entry},
                 {"setHashValuesLagInnerEthHdr", 0x200000ba, entry},
                 {"setHashValuesLagInnerIpHdr", 0x200000bb, entry},
                 {"setHashValuesLagInnerL4Hdr", 0x200000bc, entry},
                 {"onMiss", 0x200000bd, entry_or_default}}},

    {.name = "ecmpGroup",
     .handle = 0x1000046,
     .summary = "Indirect table over the profile ecmpMemberActionProfile: the low 10 bits of the next hop choose "
                "a member or a selector group.",
     .key = {{"nextHop", "l3_nextHop", 16, exact, untagged, 0x3ff, next_hop_record_bits}}},

    {.name = "reservedNextHop",
     .handle = 0x100004a,
     .summary = "Keyed by the low 4 bits of the next hop; setNextHopToCpu gives a CPU reason code.",
     .key = {{"nextHop", "l3_nextHop", 16, exact, untagged, 0xf, next_hop_record_bits}},
     .actions = {{"setNextHopToCpu", 0x200000d0, entry},
                 {"NoAction", 0x200000d1, entry_or_default}}},

    {.name = "routerNextHop0",
     .handle = 0x100004b,
     .summary = "Per-next-hop egress data: unresolved egress interface, tunnel next hop, MTU index (egrMtuId, 2 "
                "bits).",
     .key = {{"nextHop", "l3_nextHop", 16, exact, untagged, {}, next_hop_record_bits}},
     .actions = {{"setRouterNextHopDetails", 0x200000d2, entry_or_default}}},

    {.name = "nextHop0",
     .handle = 0x100005d,
     .summary = "Per-next-hop rewrite data: destination MAC and layer-2 domain.",
     .key = {{"nextHop", "l3_nextHop", 16, exact, untagged, {}, next_hop_record_bits}},
     .actions = {{"setNextHopDetails", 0x200000eb, entry_or_default}}},

    {.name = "tunnelResolve",
     .handle = 0x1000059,
     .summary = "Indirect table over tunnelMemberActionProfile, keyed by the 10-bit tunnel next hop.",
     .key = {{"tunnelNextHop", "egrMd_tunnelNextHop", 10}}},

    {.name = "lagGroup",
     .handle = 0x1000063,
     .summary = "Indirect table over lagPortActionProfile, with a ternary match on the unresolved egress interface. "
                "It is the only indirect table with entry priority.",
     .key = {{"egrL2AintfUnresolved", "egrMd_egrL2AintfUnresolved", 20, ternary}}},

    {.name = "routedMartian",
     .handle = 0x100004c,
     .summary = "Its only action marks a routed martian.",
     .actions = {{"setRoutedMartian", 0x200000cf, default_only}}},

    {.name = "ipv4McGroupVlan",
     .handle = 0x1000047,
     .summary = "IPv4 multicast lookup, first half: group address and layer-3 interface give an index, a "
                "multicast group, a valid bit and a copy bit.",
     .idle_time = true,
     .key = {{"dip", "ingIpv4_dip", 32, exact, v4addr},
             {"ingL3Aintf", "ingMd_ingL3Aintf", 12}},
     .actions = {{"setIpv4GroupVlanIndex", 0x200000be, entry},
                 {"NoAction", 0x200000bf, entry_or_default}}},

    {.name = "ipv4McSourceGroupVlan",
     .handle = 0x1000051,
     .summary = "IPv4 multicast lookup, second half: source address and the index of ipv4McGroupVlan give the "
                "(S,G) multicast group and copy bit.",
     .idle_time = true,
     .key = {{"sip", "ingIpv4_sip", 32, exact, v4addr},
             {"index", "ingIpmcSGVLookup_index", 16}},
     .actions = {{"setIpmcResult", 0x200000d3, entry},
                 {"NoAction", 0x200000d4, entry_or_default}}},

    {.name = "finalizeMcResult",
     .handle = 0x1000052,
     .summary = "Merges the layer-2 and layer-3 multicast results by their valid bits, protocol, snooping flag, "
                "ingMd_llm, trap flag, TTL and routing state into one outcome.",
     .key = {{"ingIpmcEValid", "ingIpmc_eValid", 1, ternary},
             {"ingL2McEValid", "ingL2Mc_eValid", 1, ternary},
             {"protocol", "ingMd_protocol", 8, ternary},
             {"ipMcast", "ingMd_ipMcast", 1, ternary},
             {"igmpSnoopingEnabled", "ingMd_igmpSnoopingEnabled", 1, ternary},
             {"llm", "ingMd_llm", 1, ternary},
             {"trapToCpu", "egrMd_trapToCpu", 1, ternary},
             {"ttl", "ingMd_ttl", 8, ternary},
             {"ipRouting", "l3Info_ipRouting", 4, ternary}},
     .record_order = {"egrMd_trapToCpu", "ingIpmc_eValid", "ingL2Mc_eValid", "ingMd_igmpSnoopingEnabled",
                      "ingMd_ipMcast", "ingMd_llm", "ingMd_protocol", "ingMd_ttl", "l3Info_ipRouting"},
     .actions = {{"finalizeMcResultIpmc", 0x200000e4, entry},
                 {"finalizeMcResultL2mc", 0x200000e5, entry},
                 {"finalizeMcResultL2mcFlood", 0x200000e6, entry},
                 {"finalizeMcResultCancel", 0x200000e7, entry},
                 {"finalizeMcResultFlood", 0x200000e8, entry},
                 {"finalizeMcResultL3Rpf", 0x200000e9, entry},
                 {"NoAction", 0x200000ea, entry_or_default}}},
};
// clang-format on

} // namespace velmar_switch
