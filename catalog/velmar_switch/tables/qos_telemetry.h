// Traffic class, CoS and DSCP handling, WRED, and the flow, queue and drop reports.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;
using enum Match;
using enum Tag;
using enum Use;

// clang-format off
inline constexpr Table qos_telemetry[] = {
    {.name = "qosPortProperties",
     .handle = 0x1000028,
     .summary = "Per-port default CoS, default DSCP and trust mode.",
     .key = {{"ingressPort", "ig_intr_md_ingress_port", 9, exact, port}},
     .actions = {{"setQosPortProperties", 0x2000007e, entry_or_default}}},

    {.name = "normalizeCos",
     .handle = 0x100002f,
     .summary = "Derives the internal CoS from the default or from the priority of the VLAN tag, with an action "
                "for inner tags.",
     .key = {{"vlanHdrValid", "ingMd_vlanHdrValid", 1},
             {"defaultCos", "qosMd_defaultCos", 3},
             {"priority", "vlanHdr_0__priority", 3},
             {"vlanHdr1Valid", "vlanHdr_1__valid", 1}},
     .actions = {{"setCosFromDefault", 0x2000009f, entry},
                 {"setCosFromPacket", 0x200000a0, entry},
                 {"setCosFromPacketWithInner", 0x200000a1, entry},
                 {"NoAction", 0x200000a2, entry_or_default}}},

    {.name = "normalizeDscp",
     .handle = 0x1000030,
     .summary = "Derives the internal DSCP by decap type and address-family bits, one action for each packet "
                "kind.",
     .key = {{"decapType", "egrMd_decapType", 3},
             {"v4V6Valid", "ingMd_v4V6Valid", 3}},
     .actions = {{"setDscpForNonIpPkt", 0x200000a3, entry_or_default},
                 {"setDscpForTTNonIpPkt", 0x200000a4, entry_or_default},
                 {"setDscpForIpv4Pkt", 0x200000a5, entry_or_default},
                 {"setDscpForIpv4OptionsPkt", 0x200000a6, entry_or_default},
                 {"setDscpForIpv6Pkt", 0x200000a7, entry_or_default},
                 {"NoAction", 0x200000a8, entry_or_default}}},

    {.name = "ingressTrafficClass",
     .handle = 0x1000042,
     .summary = "Maps trust mode, CoS, DSCP, high-priority flag, decap type and the CPU header's trust and "
                "traffic-class fields to traffic class and egress queue.",
     .key = {{"qosMdTrustMode", "qosMd_trustMode", 2, ternary},
             {"defaultCos", "qosMd_defaultCos", 3, ternary},
             {"cos", "qosMd_cos", 3, ternary},
             {"dscp", "qosMd_dscp", 6, ternary},
             {"highPriority", "qosMd_highPriority", 1, ternary},
             {"decapType", "egrMd_decapType", 3, ternary},
             {"velmarCpuHdrTrustMode", "velmarCpuHdr_trustMode", 2, ternary},
             {"tc", "velmarCpuHdr_tc", 3, ternary}},
     .actions = {{"setTrafficClassAndEgressQid", 0x200000c0, entry_or_default}}},

    {.name = "qosRewriteConfig",
     .handle = 0x100002d,
     .summary = "Its default action holds the global CoS and DSCP rewrite enables.",
     .actions = {{"setQosRewriteConfiguration", 0x200000ec, default_only}}},

    {.name = "qosRewrite",
     .handle = 0x100005c,
     .summary = "Chooses CoS and DSCP rewrite by trust mode, rewrite enables, ingress CoS and decap type.",
     .key = {{"trustMode", "qosMd_trustMode", 2},
             {"cosRewrite", "qosMd_cosRewrite", 1},
             {"dscpRewrite", "qosMd_dscpRewrite", 1},
             {"ingressCos", "ig_intr_md_for_tm_ingress_cos", 3},
             {"decapType", "egrMd_decapType", 3}},
     .actions = {{"copyCosRewriteDscp", 0x200000ed, entry},
                 {"rewriteCosCopyDscp", 0x200000ee, entry},
                 {"rewriteCosRewriteDscp", 0x200000ef, entry},
                 {"NoAction", 0x200000f0, entry_or_default}}},

    {.name = "tcDscpMap",
     .handle = 0x1000072,
     .summary = "Maps the ingress CoS to a DSCP.",
     .key = {{"ingressCos", "ig_intr_md_for_tm_ingress_cos", 3}},
     .actions = {{"setTcDscp", 0x2000011e, entry_or_default},
                 {"NoAction", 0x2000011f, entry_or_default}}},

    {.name = "packetDscpRewrite",
     .handle = 0x1000082,
     .summary = "Writes the DSCP into the right header by encap type, decap type, routed flag and header "
                "validity; one action for each header layout.",
     .key = {{"encapType", "egrMd_encapType", 3, ternary},
             {"decapType", "egrMd_decapType", 3, ternary},
             {"routed", "egrMd_routed", 1, ternary},
             {"outerIpv4HdrValid", "outerIpv4Hdr_valid", 1, ternary},
             {"outerIpv6HdrValid", "outerIpv6Hdr_valid", 1, ternary},
             {"encapIpv4HdrValid", "encapIpv4Hdr_valid", 1, ternary}},
     .record_order = {"egrMd_decapType", "egrMd_encapType", "egrMd_routed", "encapIpv4Hdr_valid", "outerIpv4Hdr_valid",
                      "outerIpv6Hdr_valid"},
     .actions = {{"noTunnelIpv4", 0x20000144, entry},
                 {"noTunnelIpv6", 0x20000145, entry},
                 {"onlyDecapInnerIpv4", 0x20000146, entry},
                 {"onlyDecapInnerIpv6", 0x20000147, entry},
                 {"encapOuterIpv4", 0x20000148, entry},
                 {"encapOuterIpv4InnerIpv4", 0x20000149, entry},
                 {"encapOuterIpv4InnerIpv6", 0x2000014a, entry},
                 {"NoAction", 0x2000014b, entry_or_default}}},

    {.name = "wredQueueSelect",
     .handle = 0x1000068,
     .summary = "Selects the WRED block entry for a port (mask 0x7f) and queue (mask 0x7). runWred addresses "
                "wredBlock with action_index.",
     .key = {{"egressPort", "eg_intr_md_egress_port", 9, exact, port, 0x7f},
             {"egressQid", "eg_intr_md_egress_qid", 5, exact, untagged, 0x7}},
     .actions = {{"runWred", 0x2000012c, entry},
                 {"NoAction", 0x2000012d, entry_or_default}}},

    {.name = "wredAction",
     .handle = 0x1000073,
     .summary = "Acts on the WRED verdict by the mark flag, ECN enable, and the ECN of the headers: drop, or mark "
                "ECN on IPv4 or IPv6.",
     .key = {{"wredMarkForDrop", "qosMd_wredMarkForDrop", 1, ternary},
             {"ecnEnabled", "qosMd_ecnEnabled", 1, ternary},
             {"outerIpv4HdrEcn", "outerIpv4Hdr_ecn", 2, ternary},
             {"outerIpv4HdrValid", "outerIpv4Hdr_valid", 1, ternary},
             {"outerIpv6HdrEcn", "outerIpv6Hdr_ecn", 2, ternary},
             {"outerIpv6HdrValid", "outerIpv6Hdr_valid", 1, ternary},
             {"qosMdEcn", "qosMd_ecn", 2, ternary}},
     .actions = {{"wredDrop", 0x2000012e, entry},
                 {"setEcnIpv4", 0x2000012f, entry},
                 {"setEcnIpv6", 0x20000130, entry},
                 {"NoAction", 0x20000131, entry_or_default}}},

    {.name = "queueCounters",
     .handle = 0x1000067,
     .summary = "Its only action is countEgressQueue. This step uses the counter egressPortQueueCount and the hash "
                "calculation queueCounterHash.",
     .actions = {{"countEgressQueue", 0x20000114, default_only}}},

    {.name = "queueLatency",
     .handle = 0x1000069,
     .summary = "Its only action sets the queue latency value.",
     .actions = {{"setQueueLatency", 0x20000115, default_only}}},

    {.name = "queueReport",
     .handle = 0x100006c,
     .summary = "Sets the queue report flag by port and queue, through the register thresholds at fixed index 1, "
                "with a quantizationMask.",
     .key = {{"egressPort", "eg_intr_md_egress_port", 9, exact, port, 0x7f},
             {"egressQid", "eg_intr_md_egress_qid", 5, exact, untagged, 0x7}},
     .actions = {{"setQueueReportFlagStatus", 0x20000116, entry, 1},
                 {"NoAction", 0x20000117, entry_or_default}}},

    {.name = "queueReportQuota",
     .handle = 0x100006d,
     .summary = "Decides the final flag by port, queue and report flag, through the register quota at action_index.",
     .key = {{"egressPort", "eg_intr_md_egress_port", 9, exact, port, 0x7f},
             {"egressQid", "eg_intr_md_egress_qid", 5, exact, untagged, 0x7},
             {"queueReportFlag", "egrIntMd_queueReportFlag", 1}},
     .actions = {{"setQueueReportFlagFinal", 0x20000118, entry},
                 {"NoAction", 0x20000119, entry_or_default}}},

    {.name = "flowWatchlist",
     .handle = 0x100004d,
     .summary = "Decides whether a flow is watched (intPermit, intDeny) by exact port and ternary IPv4 and IPv6 "
                "addresses, protocol and layer-4 ports.",
     .key = {{"ingressPort", "ig_intr_md_ingress_port", 9, exact, port},
             {"ingIpv4Sip", "ingIpv4_sip", 32, ternary, v4addr},
             {"ingIpv4Dip", "ingIpv4_dip", 32, ternary, v4addr},
             {"protocol", "ingMd_protocol", 8, ternary},
             {"ingIpv6Sip", "ingIpv6_sip", 128, ternary, v6addr},
             {"ingIpv6Dip", "ingIpv6_dip", 128, ternary, v6addr},
             {"srcPort", "ingMd_srcPort", 16, ternary},
             {"dstPort", "ingMd_dstPort", 16, ternary}},
     .actions = {{"intPermit", 0x200000f1, entry_or_default},
                 {"intDeny", 0x200000f2, entry_or_default}}},

    {.name = "flowHash",
     .handle = 0x1000061,
     .summary = "Enables queue and drop reports for the flow (setFlowHashAndIntFlags), by the copy-to-CPU bit and "
                "the multicast group.",
     .key = {{"copyToCpu", "ig_intr_md_for_tm_copy_to_cpu", 1, ternary},
             {"mcastGrpA", "ig_intr_md_for_tm_mcast_grp_a", 16, ternary}},
     .actions = {{"setFlowHashAndIntFlags", 0x200000f3, entry},
                 {"NoAction", 0x200000f4, entry_or_default}}},

    {.name = "flowReport",
     .handle = 0x1000071,
     .summary = "Its only action sets the flow report flag. This step uses the register flowReportFilter and the "
                "hash calculation flowReportQueryHash.",
     .actions = {{"setFlowReportFlagStatus", 0x2000011a, default_only}}},

    {.name = "dropReport",
     .handle = 0x100006a,
     .summary = "Its only action sets the drop report flag. This step uses the register dropReportFilter.",
     .actions = {{"setDropReportFlagStatus", 0x20000155, default_only}}},
};
// clang-format on

} // namespace velmar_switch
