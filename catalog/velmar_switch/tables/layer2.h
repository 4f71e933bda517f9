// Layer 2: learning of source MACs, look-up of destination MACs, misses, and pruning and remapping of the result.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;
using enum Match;
using enum Tag;
using enum Use;

// clang-format off
inline constexpr Table layer2[] = {
    {.name = "l2LearningLookup",
     .handle = 0x1000017,
     .summary = "Source-MAC lookup for learning, by MAC, layer-2 domain and interface. A hit does nothing; a miss "
                "(the default) asks for a learn. Entries age by idle time.",
     .idle_time = true,
     .ttl_on_add = true,
     .key = {{"smacOui", "ingMd_smacOui", 24, exact, mac},
             {"smacStation", "ingMd_smacStation", 24, exact, mac},
             {"ingL2Domain", "ingMd_ingL2Domain", 12},
             {"ingL2Aintf", "ingMd_ingL2Aintf", 20}},
     .actions = {{"noOp", 0x20000042, entry},
                 {"setL2LearningLookupMiss", 0x20000043, entry_or_default}}},

    {.name = "l2StaticMacSrcAddrDrop",
     .handle = 0x1000016,
     .summary = "Drops frames whose source MAC is static on this layer-2 domain.",
     .key = {{"smacOui", "ingMd_smacOui", 24, exact, mac},
             {"smacStation", "ingMd_smacStation", 24, exact, mac},
             {"ingL2Domain", "ingMd_ingL2Domain", 12}},
     .actions = {{"setDropSmac", 0x20000040, entry},
                 {"onMiss", 0x20000041, entry_or_default}}},

    {.name = "learningDigestGeneration",
     .handle = 0x100003f,
     .summary = "The last learning decision, by application id (exact), the invalid-tunnel, STP, VLAN and control "
                "flags, port and the two top bits of the layer-2 interface. It generates the MAC or the VTEP "
                "learning digest, or applies the dot1x outcome. The default resets the application id.",
     .key = {{"applicationId", "learningDigestMd_applicationId", 2},
             {"invalidTunnel", "ingMd_invalidTunnel", 1, ternary},
             {"ingressPort", "ig_intr_md_ingress_port", 9, ternary, port},
             {"ingL2Aintf", "ingMd_ingL2Aintf", 20, ternary, untagged, 0xc0000},
             {"stpBlocked", "ingVlanStpCheck_stpBlocked", 1, ternary},
             {"invalidVlan", "ingVlanStpCheck_invalidVlan", 1, ternary},
             {"l2Control", "ingMd_l2Control", 1, ternary}},
     .record_order = {"ig_intr_md_ingress_port", "ingMd_ingL2Aintf", "ingMd_invalidTunnel", "ingMd_l2Control",
                      "ingVlanStpCheck_invalidVlan", "ingVlanStpCheck_stpBlocked", "learningDigestMd_applicationId"},
     .actions = {{"generateMacLearningDigest", 0x200000af, entry},
                 {"generateVtepLearningDigest", 0x200000b0, entry},
                 {"dot1xTrap", 0x200000b1, entry},
                 {"dot1xDrop", 0x200000b2, entry},
                 {"resetApplicationId", 0x200000b3, entry_or_default}}},

    {.name = "l2ForwardParams",
     .handle = 0x1000021,
     .summary = "Gives the 20-bit port that layer-2 forwarding uses, by the outer Ethernet valid bit.",
     .key = {{"outerEthHdrValid", "outerEthHdr_valid", 1}},
     .actions = {{"l2ForwardParamsSet", 0x20000061, entry_or_default}}},

    {.name = "l2Lookup",
     .handle = 0x1000024,
     .summary = "Destination-MAC lookup in the egress layer-2 domain: known unicast, known multicast, known "
                "unicast through a tunnel next hop, or drop.",
     .key = {{"dmacOui", "egrMd_dmacOui", 24, exact, mac},
             {"dmacStation", "egrMd_dmacStation", 24, exact, mac},
             {"egrL2Domain", "egrMd_egrL2Domain", 12}},
     .actions = {{"l2LookupKnownUcast", 0x20000070, entry},
                 {"l2LookupKnownMcast", 0x20000071, entry},
                 {"l2LookupKnownUcastTunnel", 0x20000072, entry},
                 {"l2LookupDrop", 0x20000073, entry},
                 {"onMiss", 0x20000074, entry_or_default}}},

    {.name = "l2LookupMiss",
     .handle = 0x1000027,
     .summary = "Ternary catch-all after an l2Lookup miss, by ingress port and destination MAC: broadcast hit, "
                "unknown multicast, unknown unicast. Every action, NoAction included, carries the direct meter "
                "stormControlMeter.",
     .key = {{"ingressPort", "ig_intr_md_ingress_port", 9, ternary, port, 0x7f},
             {"dmacOui", "egrMd_dmacOui", 24, ternary, mac},
             {"dmacStation", "egrMd_dmacStation", 24, ternary, mac}},
     .record_order = {"egrMd_dmacOui", "egrMd_dmacStation", "ig_intr_md_ingress_port"},
     .actions = {{"l2LookupBcastHit", 0x20000075, entry},
                 {"l2LookupUnknownMcastAction", 0x20000076, entry},
                 {"l2LookupUnknownUcastAction", 0x20000077, entry},
                 {"NoAction", 0x20000078, entry_or_default}}},

    {.name = "l2Multicast",
     .handle = 0x1000049,
     .summary = "Gives the layer-2 multicast result by MAC and layer-2 domain: multicast group, valid bit, copy bit.",
     .key = {{"dmacOui", "egrMd_dmacOui", 24, exact, mac},
             {"dmacStation", "egrMd_dmacStation", 24, exact, mac},
             {"egrL2Domain", "egrMd_egrL2Domain", 12}},
     .actions = {{"setL2McResult", 0x200000c9, entry},
                 {"NoAction", 0x200000ca, entry_or_default}}},

    {.name = "mcastPrune",
     .handle = 0x1000065,
     .summary = "Chooses the pruning parameters of multicast replication by decap type, routed flag, port type "
                "and the top nibbles of interface and multicast group.",
     .key = {{"decapType", "egrMd_decapType", 3, ternary},
             {"routed", "egrMd_routed", 1, ternary},
             {"portType", "phase0_portType", 2, ternary},
             {"egrL2AintfUnresolved", "egrMd_egrL2AintfUnresolved", 20, ternary, untagged, 0xf0000},
             {"mcastGrpA", "ig_intr_md_for_tm_mcast_grp_a", 16, ternary, untagged, 0xf000}},
     .record_order = {"egrMd_decapType", "egrMd_egrL2AintfUnresolved", "egrMd_routed", "ig_intr_md_for_tm_mcast_grp_a",
                      "phase0_portType"},
     .actions = {{"setPruneParams", 0x2000010c, entry},
                 {"setPruneParamsForL2Flood", 0x2000010d, entry_or_default},
                 {"setPruneParamsForL3Only", 0x2000010e, entry},
                 {"l3FloodEgressL2Aintf", 0x2000010f, entry},
                 {"setPruneParamsUnused", 0x20000110, entry}}},

    {.name = "l2XRemap",
     .handle = 0x100005b,
     .summary = "Gives a port its l2XId (9 bits).",
     .key = {{"ingressPort", "ig_intr_md_ingress_port", 9, exact, port}},
     .actions = {{"setL2XId", 0x200000f5, entry_or_default}}},

    {.name = "samePortBridgingTest",
     .handle = 0x1000057,
     .summary = "Tests whether a frame is bridged back to its ingress port.",
     .actions = {{"samePortBridgingTestAction", 0x200000d7, default_only}}},

    {.name = "mlagUcastPrune",
     .handle = 0x1000058,
     .summary = "Sets the MLAG prune flag for unicast by the low 11 bits of the unresolved egress interface.",
     .key = {{"egrL2AintfUnresolved", "egrMd_egrL2AintfUnresolved", 20, exact, untagged, 0x7ff}},
     .actions = {{"noOp", 0x200000d8, entry_or_default},
                 {"setMlagPrune", 0x200000d9, entry}}},

    {.name = "vlanDecap",
     .handle = 0x1000066,
     .summary = "Its only action removes the VLAN header.",
     .actions = {{"removeVlanHdr", 0x20000101, default_only}}},
};
// clang-format on

} // namespace velmar_switch
