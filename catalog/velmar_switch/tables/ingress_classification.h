// The start of ingress: from the physical port to layer-2 domain, VRF, tunnel state and the first drop marks.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;
using enum Match;
using enum Tag;
using enum Use;

// clang-format off
inline constexpr Table ingress_classification[] = {
    {.name = "ingressPortMapping",
     .handle = 0x1000001,
     .summary = "Turns the physical ingress port into the port's phase-0 record: virtual port, native interface, "
                "switch-port flag and the 2-bit physical-port value.",
     .key = {{"ingressPort", "ig_intr_md_ingress_port", 9}},
     .actions = {{"setPhase0", 0x20000000, entry}}},

    {.name = "l2DmacClassify",
     .handle = 0x100000a,
     .summary = "Classifies the outer destination MAC per ingress port: unicast, multicast, broadcast, IP "
                "multicast, illegal, or a layer-2 control frame with a CPU reason code and a high-priority flag. "
                "It owns the direct counter l2DmacClassifyCount.",
     .key = {{"ingressPort", "ig_intr_md_ingress_port", 9, exact, port, 0x7f},
             {"dmacOui", "outerEthHdr_dmacOui", 24, ternary, mac},
             {"dmacStation", "outerEthHdr_dmacStation", 24, ternary, mac}},
     .actions = {{"setL2ControlFrame", 0x20000004, entry},
                 {"setIllegalDmac", 0x20000005, entry},
                 {"setMcast", 0x20000006, entry},
                 {"setBcast", 0x20000007, entry},
                 {"setUcast", 0x20000008, entry},
                 {"setIpMcast", 0x20000009, entry},
                 {"classifyL2ControlFrame", 0x2000000a, entry},
                 {"onMiss", 0x2000000b, entry_or_default}}},

    {.name = "ingStpCheck",
     .handle = 0x100000b,
     .summary = "Ingress STP check. Its data is in the register ingStpCheckData. The outcome reaches later tables as "
                "ingVlanStpCheck_stpBlocked.",
     .actions = {{"ingStpAction", 0x2000000d, default_only}}},

    {.name = "ingVlanCheck",
     .handle = 0x100000c,
     .summary = "Ingress VLAN check. Its data is in the register ingVlanCheckData. The outcome reaches later tables "
                "as ingVlanStpCheck_invalidVlan.",
     .actions = {{"ingVlanAction", 0x2000000c, default_only}}},

    {.name = "l2SmacCheck",
     .handle = 0x100000d,
     .summary = "Marks illegal outer source MACs by a ternary match on the two MAC halves.",
     .key = {{"smacOui", "outerEthHdr_smacOui", 24, ternary, mac},
             {"smacStation", "outerEthHdr_smacStation", 24, ternary, mac}},
     .actions = {{"setIllegalSmac", 0x2000000e, entry},
                 {"NoAction", 0x2000000f, entry_or_default}}},

    {.name = "tunnelTermination",
     .handle = 0x1000003,
     .summary = "Decides whether a packet ends a tunnel here, by outer destination MAC, outer IPv4 destination and "
                "tunnel type (ternary), and outer IPv6 valid bit (exact). setTunnelTerminationTypeVxlan also gives "
                "the VXLAN vxlanVti and the vxlanVgwpIp flag.",
     .key = {{"dmacOui", "outerEthHdr_dmacOui", 24, ternary, mac},
             {"dmacStation", "outerEthHdr_dmacStation", 24, ternary, mac},
             {"dip", "outerIpv4Hdr_dip", 32, ternary, v4addr},
             {"tunnelType", "ingMd_tunnelType", 3, ternary},
             {"outerIpv6HdrValid", "outerIpv6Hdr_valid", 1}},
     .record_order = {"ingMd_tunnelType", "outerEthHdr_dmacOui", "outerEthHdr_dmacStation", "outerIpv4Hdr_dip",
                      "outerIpv6Hdr_valid"},
     .actions = {{"setTunnelTerminationTypeVxlan", 0x20000010, entry},
                 {"setTunnelTerminationTypeNoneIpv6", 0x20000011, entry},
                 {"setTunnelTerminationTypeNoneIpv4AndL2", 0x20000012, entry_or_default}}},

    {.name = "l2DomainLookup",
     .handle = 0x1000004,
     .summary = "Finds the layer-2 interface (l2Aintf, 20 bits) of a packet by switch-port flag, virtual port, VLAN "
                "header valid bit and VLAN id. It has one action each for untagged, translated and tagged frames.",
     .key = {{"switchPort", "phase0_switchPort", 1},
             {"ingVPort", "phase0_ingVPort", 14, exact, vport},
             {"vlanHdr0Valid", "vlanHdr_0__valid", 1},
             {"vlanId", "vlanHdr_0__vlanId", 12, ternary}},
     .actions = {{"setL2DomainUntagged", 0x20000013, entry},
                 {"setL2DomainVlanXlate", 0x20000014, entry},
                 {"setL2DomainTagged", 0x20000015, entry},
                 {"NoAction", 0x20000016, entry_or_default}}},

    {.name = "untaggedPktToL3",
     .handle = 0x1000006,
     .summary = "Gives an untagged frame its VRF and IP-routing properties by native interface.",
     .key = {{"nativeAintf", "phase0_nativeAintf", 12}},
     .actions = {{"setVrfPropertiesUntaggedPkt", 0x20000017, entry},
                 {"setVrfPropertiesUntaggedPktDefault", 0x20000018, entry_or_default}}},

    {.name = "taggedXlatePktToL3",
     .handle = 0x1000005,
     .summary = "Gives a tagged frame its VRF and IP-routing properties by virtual port and VLAN id, with the "
                "translated VLAN and the sub-interface flag.",
     .key = {{"ingVPort", "phase0_ingVPort", 14, exact, vport},
             {"vlanId", "vlanHdr_0__vlanId", 12}},
     .actions = {{"setVrfPropertiesTaggedXlatePkt", 0x20000019, entry},
                 {"onMiss", 0x2000001a, entry_or_default}}},

    {.name = "taggedPktToL3",
     .handle = 0x1000007,
     .summary = "Gives a tagged frame its VRF and IP-routing properties by VLAN id.",
     .key = {{"vlanId", "vlanHdr_0__vlanId", 12}},
     .actions = {{"setVrfPropertiesTaggedPkt", 0x2000001b, entry},
                 {"setVrfPropertiesTaggedPktDefault", 0x2000001c, entry_or_default}}},

    {.name = "vxlanL2AintfLookup",
     .handle = 0x1000008,
     .summary = "Maps the outer IPv4 source of a VXLAN packet to the ingress layer-2 interface. An unknown tunnel "
                "ends in one of two miss actions. Only one of them asks for a VTEP learn.",
     .key = {{"sip", "outerIpv4Hdr_sip", 32, exact, v4addr}},
     .actions = {{"setVxlanL2AintfLookupFields", 0x2000001d, entry_or_default},
                 {"setVxlanL2AintfInvalidTunnel", 0x2000001e, entry_or_default},
                 {"setvxlanL2AintfLookupMissVtepLearn", 0x2000001f, entry_or_default},
                 {"setvxlanL2AintfLookupMissSkipVtepLearn", 0x20000020, entry_or_default}}},

    {.name = "vxlanVniResolution",
     .handle = 0x1000009,
     .summary = "Resolves the VNI (8 low bits and 16 high bits) and the tunnel type to VLAN, VRF, IP-routing state "
                "and layer-3 interface.",
     .key = {{"ingressVniLow", "ingMd_ingressVniLow", 8},
             {"ingressVniHigh", "ingMd_ingressVniHigh", 16},
             {"tunnelType", "ingMd_tunnelType", 3}},
     .record_order = {"ingMd_ingressVniHigh", "ingMd_ingressVniLow", "ingMd_tunnelType"},
     .actions = {{"vxlanVniResolutionHit", 0x20000021, entry_or_default},
                 {"vxlanVniResolutionMiss", 0x20000022, entry_or_default},
                 {"NoAction", 0x20000023, entry_or_default}}},

    {.name = "vlanProperties",
     .handle = 0x100000e,
     .summary = "Flags per layer-2 domain: IGMP snooping, SVI enabled, VXLAN.",
     .key = {{"ingL2Domain", "ingMd_ingL2Domain", 12}},
     .actions = {{"setVlanProperties", 0x20000056, entry_or_default}}},

    {.name = "l3DmacCheck",
     .handle = 0x1000014,
     .summary = "Validates the destination MAC for routing by layer-3 interface, address family and port type.",
     .key = {{"ingL3Aintf", "ingMd_ingL3Aintf", 12, ternary},
             {"dmacOui", "ingMd_dmacOui", 24, ternary, mac},
             {"dmacStation", "ingMd_dmacStation", 24, ternary, mac},
             {"v4V6Valid", "ingMd_v4V6Valid", 3, ternary},
             {"portType", "phase0_portType", 2, ternary}},
     .record_order = {"ingMd_dmacOui", "ingMd_dmacStation", "ingMd_ingL3Aintf", "ingMd_v4V6Valid", "phase0_portType"},
     .actions = {{"ignoreIngL3DmacValid", 0x20000038, entry},
                 {"setIngL3DmacValid", 0x20000039, entry},
                 {"onMiss", 0x2000003a, entry_or_default}}},

    {.name = "vrrpMacCheck",
     .handle = 0x1000015,
     .summary = "Exact-match twin of l3DmacCheck for virtual-router MACs.",
     .key = {{"ingL3Aintf", "ingMd_ingL3Aintf", 12},
             {"dmacOui", "ingMd_dmacOui", 24, exact, mac},
             {"dmacStation", "ingMd_dmacStation", 24, exact, mac}},
     .actions = {{"setIngL3DmacValid", 0x2000003b, entry},
                 {"NoAction", 0x2000003c, entry_or_default}}},

    {.name = "ingressPortDropCheck",
     .handle = 0x1000013,
     .summary = "Per-port drop decisions on parser and classification faults: invalid tunnel, illegal source or "
                "destination MAC, outer header flags, checksum error. It owns the direct counter "
                "ingressPortDropCount.",
     .key = {{"ingressPort", "ig_intr_md_ingress_port", 9, exact, port, 0x7f},
             {"invalidTunnel", "ingMd_invalidTunnel", 1, ternary},
             {"illegalSmac", "ingMd_illegalSmac", 1, ternary},
             {"illegalDmac", "ingMd_illegalDmac", 1, ternary},
             {"outerHdrFlags", "parserMd_outerHdrFlags", 4, ternary},
             {"checksumErr", "parserMd_checksumErr", 1, ternary}},
     .record_order = {"ig_intr_md_ingress_port", "ingMd_illegalDmac", "ingMd_illegalSmac", "ingMd_invalidTunnel",
                      "parserMd_checksumErr", "parserMd_outerHdrFlags"},
     .actions = {{"setDrop", 0x2000003d, entry},
                 {"setDropAndReason", 0x2000003e, entry},
                 {"onMiss", 0x2000003f, entry_or_default}}},

    {.name = "vxlanVgwp",
     .handle = 0x100002a,
     .summary = "Its default setDropVgwpVxlan marks the packet for dropping; an entry with noOp lets it pass. The "
                "key is the inner destination MAC, the outer IPv4 valid bit and ingMd_vxlanVgwpIp.",
     .key = {{"dmacOui", "innerEthHdr_dmacOui", 24, ternary, mac},
             {"dmacStation", "innerEthHdr_dmacStation", 24, ternary, mac},
             {"outerIpv4HdrValid", "outerIpv4Hdr_valid", 1},
             {"vxlanVgwpIp", "ingMd_vxlanVgwpIp", 1}},
     .record_order = {"ingMd_vxlanVgwpIp", "innerEthHdr_dmacOui", "innerEthHdr_dmacStation", "outerIpv4Hdr_valid"},
     .actions = {{"setDropVgwpVxlan", 0x2000007a, entry_or_default},
                 {"noOp", 0x2000007b, entry}}},

    {.name = "vxlanArp",
     .handle = 0x100002b,
     .summary = "Its only action cancels the VXLAN decap.",
     .actions = {{"cancelVxlanDecap", 0x2000007c, default_only}}},

    {.name = "decapIngress",
     .handle = 0x1000041,
     .summary = "Performs the decap chosen earlier: removes the outer header or saves the outer ECN, by decap type "
                "and outer header validity.",
     .key = {{"decapType", "egrMd_decapType", 3},
             {"outerIpv4HdrValid", "outerIpv4Hdr_valid", 1},
             {"outerIpv6HdrValid", "outerIpv6Hdr_valid", 1}},
     .actions = {{"removeOuterIpv4Hdr", 0x200000dc, entry},
                 {"removeOuterIpv6Hdr", 0x200000dd, entry},
                 {"saveOuterIpv4Ecn", 0x200000de, entry},
                 {"saveOuterIpv6Ecn", 0x200000df, entry},
                 {"decapIngressVxlan", 0x200000e0, entry},
                 {"decapIngressDefault", 0x200000e1, entry_or_default}}},
};
// clang-format on

} // namespace velmar_switch
