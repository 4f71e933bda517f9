// Egress: tunnel and VLAN encapsulation, multicast copies, membership and drop checks.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;
using enum Match;
using enum Tag;
using enum Use;

// clang-format off
inline constexpr Table egress_rewrite[] = {
    {.name = "egressMcRemap",
     .handle = 0x1000070,
     .summary = "Remaps the layer-2 domain of a multicast copy by the replication id.",
     .key = {{"egressRid", "eg_intr_md_egress_rid", 16}},
     .actions = {{"setL2DomainReplicated", 0x20000120, entry},
                 {"NoAction", 0x20000121, entry_or_default}}},

    {.name = "tunnelDip0",
     .handle = 0x100006e,
     .summary = "Gives the two tunnel destinations dip and dipB by the low 14 bits of egrMd_tunnelInfo.",
     .key = {{"tunnelInfo", "egrMd_tunnelInfo", 32, exact, untagged, 0x3fff}},
     .actions = {{"setTunnelDip", 0x2000011b, entry_or_default}}},

    {.name = "tunnelVniAndVti",
     .handle = 0x100006f,
     .summary = "Gives the VNI, its reserved byte and the VTI of an egress layer-2 domain, or marks the VNI "
                "invalid.",
     .key = {{"egrL2Domain", "egrMd_egrL2Domain", 12}},
     .actions = {{"setVxlanVniAndVti", 0x2000011c, entry},
                 {"setInvalidVni", 0x2000011d, entry_or_default}}},

    {.name = "tunnelReplication",
     .handle = 0x1000074,
     .summary = "Gives tunnel destination, destination MAC, layer-2 domain and encap type of one copy, by the "
                "replication id.",
     .key = {{"egressRid", "eg_intr_md_egress_rid", 16}},
     .actions = {{"setTunnelReplicationParams", 0x20000123, entry},
                 {"setTunnelReplicationMiss", 0x20000124, entry_or_default}}},

    {.name = "tunnelL2Info",
     .handle = 0x1000075,
     .summary = "Gives the MAC and layer-2 domain of the tunnel by the top 8 bits of egrMd_tunnelInfo.",
     .key = {{"tunnelInfo", "egrMd_tunnelInfo", 32, exact, untagged, 0xff000000}},
     .actions = {{"setTunnelL2Info", 0x20000125, entry},
                 {"setTunnelL2InfoDefault", 0x20000126, entry_or_default}}},

    {.name = "egressSamePortBridgingTest",
     .handle = 0x1000076,
     .summary = "Drops packets that would leave by the port they came in on, by ingress port type and egress port.",
     .key = {{"ingressPortType", "egrMd_ingressPortType", 2},
             {"egressPort", "eg_intr_md_egress_port", 9, exact, port, 0x7f}},
     .actions = {{"egressSamePortBridgingTestDrop", 0x20000136, entry},
                 {"NoAction", 0x20000137, entry_or_default}}},

    {.name = "egressVlanXlate",
     .handle = 0x1000078,
     .summary = "Sets the egress VLAN by egress port, domain and sub-interface index.",
     .key = {{"egressPort", "eg_intr_md_egress_port", 9, exact, port, 0x7f},
             {"egrL2Domain", "egrMd_egrL2Domain", 12},
             {"egrL2SubIntfIndex", "egrMd_egrL2SubIntfIndex", 6}},
     .actions = {{"setEgrVlan", 0x20000129, entry},
                 {"setEgrVlanSubIntf", 0x2000012a, entry},
                 {"noXlate", 0x2000012b, entry_or_default}}},

    {.name = "globalFields",
     .handle = 0x100007c,
     .summary = "Sets the common values of VXLAN tunnels: router address, destination port, packet length adjustment "
                "and the range mask. The upper 15 bits of egrMd_tunnelInfo are part of the key.",
     .key = {{"dot1qExistsValid", "dot1qExists_valid", 1, ternary},
             {"decapType", "egrMd_decapType", 3, ternary},
             {"encapType", "egrMd_encapType", 3},
             {"ingressTagged", "egrMd_ingressTagged", 1, ternary},
             {"tunnelInfo", "egrMd_tunnelInfo", 32, ternary, untagged, 0xfffe0000}},
     .actions = {{"setGlobalFieldsForVxlanTunnelCommon", 0x20000132, entry},
                 {"setGlobalFieldsForVxlanTunnelIpv4", 0x20000133, entry},
                 {"setGlobalFieldsForVxlanTunnelIpv4UseDipB", 0x20000134, entry},
                 {"NoAction", 0x20000135, entry_or_default}}},

    {.name = "egrStpCheck",
     .handle = 0x100007d,
     .summary = "Egress twin of ingStpCheck, with the register egrStpCheckData. The outcome reaches "
                "egressPortDropCheck as egrVlanStpCheck_stpBlocked.",
     .actions = {{"egrStpAction", 0x20000141, default_only}}},

    {.name = "egrVlanCheck",
     .handle = 0x100007e,
     .summary = "Egress twin of ingVlanCheck, with the register egrVlanCheckData. The outcome reaches "
                "egressPortDropCheck as egrVlanStpCheck_invalidVlan.",
     .actions = {{"egrVlanAction", 0x20000140, default_only}}},

    {.name = "encapDecap",
     .handle = 0x100007f,
     .summary = "Chooses the packet's rewrite by decap type, encap type, routed flag, outer header validity and bit "
                "23 of egrMd_tunnelInfo. The routed and VXLAN actions give router MAC and VXLAN data.",
     .key = {{"decapType", "egrMd_decapType", 3, ternary},
             {"encapType", "egrMd_encapType", 3},
             {"routed", "egrMd_routed", 1},
             {"outerIpv4HdrValid", "outerIpv4Hdr_valid", 1, ternary},
             {"outerIpv6HdrValid", "outerIpv6Hdr_valid", 1, ternary},
             {"tunnelInfo", "egrMd_tunnelInfo", 32, ternary, untagged, 0x800000}},
     .record_order = {"egrMd_decapType", "egrMd_encapType", "egrMd_routed", "egrMd_tunnelInfo", "outerIpv4Hdr_valid",
                      "outerIpv6Hdr_valid"},
     .actions = {{"noDecapNoEncapRouteIpv4", 0x20000138, entry},
                 {"noDecapNoEncapRouteIpv6", 0x20000139, entry},
                 {"noDecapNoEncapBridge", 0x2000013a, entry},
                 {"decapPPIPktFromCpu", 0x2000013b, entry},
                 {"encapVxlanRouteIpv4", 0x2000013c, entry},
                 {"encapVxlanRouteIpv6", 0x2000013d, entry},
                 {"noDecapEncapVxlanL2", 0x2000013e, entry},
                 {"normalizeEthHdr", 0x2000013f, entry_or_default}}},

    {.name = "vlanEncap",
     .handle = 0x1000081,
     .summary = "Decides by VLAN id, egress port and sub-interface flag whether the VLAN tag is added.",
     .key = {{"vlanId", "egrMd_vlanId", 12},
             {"egressPort", "eg_intr_md_egress_port", 9, exact, port, 0x7f},
             {"subIntf", "egrMd_subIntf", 1}},
     .actions = {{"noVlanEncap", 0x20000153, entry},
                 {"needVlanEncap", 0x20000154, entry_or_default}}},

    {.name = "egressPortDropCheck",
     .handle = 0x1000083,
     .summary = "The last egress decision, by egress port, STP, VLAN, WRED, VNI, TTL, validity, routed flag and "
                "pktGen. It owns the direct counter egressPortDropCount.",
     .key = {{"egressPort", "eg_intr_md_egress_port", 9, ternary, port, 0x7f},
             {"stpBlocked", "egrVlanStpCheck_stpBlocked", 1, ternary},
             {"invalidVlan", "egrVlanStpCheck_invalidVlan", 1, ternary},
             {"wredDrop", "qosMd_wredDrop", 1, ternary},
             {"invalidVni", "egrMd_invalidVni", 1, ternary},
             {"ttl", "outerIpv4Hdr_ttl", 8, ternary},
             {"outerIpv4HdrValid", "outerIpv4Hdr_valid", 1, ternary},
             {"routed", "egrMd_routed", 1, ternary},
             {"pktGen", "pktGen", 1}},
     .record_order = {"eg_intr_md_egress_port", "egrMd_invalidVni", "egrMd_routed", "egrVlanStpCheck_invalidVlan",
                      "egrVlanStpCheck_stpBlocked", "outerIpv4Hdr_valid", "outerIpv4Hdr_ttl", "pktGen",
                      "qosMd_wredDrop"},
     .actions = {{"setEgressDropAndMirror", 0x2000014c, entry_or_default},
                 {"setEgressDrop", 0x2000014d, entry_or_default},
                 {"onMiss", 0x2000014e, entry_or_default}}},
};
// clang-format on

} // namespace velmar_switch
