// Ingress and egress mirroring, sFlow sampling, and the packet path to and from the CPU.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;
using enum Match;
using enum Tag;
using enum Use;

// clang-format off
inline constexpr Table mirror_cpu[] = {
    {.name = "ingressMirrorSession",
     .handle = 0x100003e,
     .summary = "Ingress mirror ACL: ternary on port, DSCP, reduced addresses (haloKeyOrig_sipMirror, "
                "haloKeyOrig_dipMirror), protocol, TTL, layer-4 ports, flags and address-family bits. It selects a "
                "session or drops the datalink.",
     .key = {{"ingVPort", "phase0_ingVPort", 14, ternary, vport},
             {"ingressPort", "ig_intr_md_ingress_port", 9, ternary, port},
             {"dscp", "qosMd_dscp", 6, ternary},
             {"sipMirror", "haloKeyOrig_sipMirror", 16, ternary},
             {"dipMirror", "haloKeyOrig_dipMirror", 16, ternary},
             {"protocol", "ingMd_protocol", 8, ternary},
             {"ttl", "ingMd_ttl", 8, ternary},
             {"srcPort", "ingMd_srcPort", 16, ternary},
             {"dstPort", "ingMd_dstPort", 16, ternary},
             {"isFrag", "haloKeyOrig_isFrag", 1, ternary},
             {"flags", "haloKeyOrig_flags", 8, ternary},
             {"v4V6Valid", "ingMd_v4V6Valid", 3, ternary}},
     .record_order = {"haloKeyOrig_dipMirror", "haloKeyOrig_flags", "haloKeyOrig_isFrag", "haloKeyOrig_sipMirror",
                      "ig_intr_md_ingress_port", "ingMd_dstPort", "ingMd_protocol", "ingMd_srcPort", "ingMd_ttl",
                      "ingMd_v4V6Valid", "phase0_ingVPort", "qosMd_dscp"},
     .actions = {{"dropDatalink", 0x200000c1, entry},
                 {"setIngressMirrorSession", 0x200000c2, entry},
                 {"NoAction", 0x200000c3, entry_or_default}}},

    {.name = "ingressMirrorRate",
     .handle = 0x1000050,
     .summary = "Meters a mirror buffer: setIngressMirrorColor addresses ingressMirrorMeter at action_meterIndex; "
                "setIngressMirrorColorRed detaches the meter.",
     .key = {{"mirrorBufId", "ingMirrorMd_mirrorBufId", 10}},
     .actions = {{"setIngressMirrorColor", 0x200000d5, entry},
                 {"setIngressMirrorColorRed", 0x200000d6, entry_or_default}}},

    {.name = "ingressMirrorResult",
     .handle = 0x1000054,
     .summary = "Turns color, session and sFlow flag into the final mirror session. Only bit 0 of the 2-bit color "
                "counts.",
     .key = {{"mirrorColor", "ingMirrorMd_mirrorColor", 2, exact, untagged, 0x1},
             {"mirrorSession", "ingMirrorMd_mirrorSession", 10},
             {"sflowSample", "ingMd_sflowSample", 1}},
     .record_order = {"ingMd_sflowSample", "ingMirrorMd_mirrorColor", "ingMirrorMd_mirrorSession"},
     .actions = {{"ingressMirrorAction", 0x20000102, entry_or_default}}},

    {.name = "ingressMirrorLagGroup",
     .handle = 0x1000045,
     .summary = "Indirect table over mirrorLagPortActionProfile, keyed by the low 7 bits of the mirror session.",
     .key = {{"mirrorSession", "ingMirrorMd_mirrorSession", 10, exact, untagged, 0x7f}}},

    {.name = "ingressSflowSample",
     .handle = 0x1000048,
     .summary = "Samples packets by port (ternary) and the low 24 bits of the random value ingMd_rand (ternary).",
     .key = {{"ingressPort", "ig_intr_md_ingress_port", 9, ternary, port},
             {"rand", "ingMd_rand", 32, ternary, untagged, 0xffffff}},
     .actions = {{"samplePacket", 0x200000cb, entry},
                 {"onMiss", 0x200000cc, entry_or_default}}},

    {.name = "egressMirrorSession",
     .handle = 0x1000077,
     .summary = "Egress mirror session per port and report flags.",
     .key = {{"egressPort", "eg_intr_md_egress_port", 9, exact, port},
             {"flowReportFlag", "egrIntMd_flowReportFlag", 1},
             {"queueReportFlag", "egrIntMd_queueReportFlag", 1}},
     .actions = {{"setEgressMirrorSession", 0x20000122, entry_or_default}}},

    {.name = "egressMirrorRate",
     .handle = 0x1000080,
     .summary = "Meters the egress mirror buffer through egressMirrorMeter, like ingressMirrorRate.",
     .key = {{"mirrorBufId", "egrMirrorMd_mirrorBufId", 10}},
     .actions = {{"setEgressMirrorColor", 0x20000142, entry},
                 {"setEgressMirrorColorRed", 0x20000143, entry_or_default}}},

    {.name = "egressMirrorResult",
     .handle = 0x1000084,
     .summary = "Final egress mirror action by color and report flags: plain, INT flow or INT queue.",
     .key = {{"mirrorColor", "egrMirrorMd_mirrorColor", 1},
             {"flowReportFlag", "egrIntMd_flowReportFlag", 1},
             {"queueReportFlag", "egrIntMd_queueReportFlag", 1}},
     .record_order = {"egrIntMd_flowReportFlag", "egrIntMd_queueReportFlag", "egrMirrorMd_mirrorColor"},
     .actions = {{"egressMirrorAction", 0x2000014f, entry},
                 {"egressMirrorActionIntFlow", 0x20000150, entry},
                 {"egressMirrorActionIntQueue", 0x20000151, entry},
                 {"NoAction", 0x20000152, entry_or_default}}},

    {.name = "egressMirrorLagGroup",
     .handle = 0x100007b,
     .summary = "Indirect table over egrMirrorLagPortActionProfile, keyed by the low 7 bits of the mirror "
                "session.",
     .key = {{"mirrorSession", "egrMirrorMd_mirrorSession", 10, exact, untagged, 0x7f}}},

    {.name = "mirrorPacketEncap",
     .handle = 0x100006b,
     .summary = "Chooses the mirror copy's encapsulation by replication id, port and report header validity: "
                "none, CPU, GRE over IPv4 or INT over IPv4, with the register seqNumber.",
     .key = {{"egressRid", "eg_intr_md_egress_rid", 16},
             {"egressPort", "eg_intr_md_egress_port", 9, exact, port},
             {"intReportFixedHdrValid", "intReportFixedHdr_valid", 1}},
     .record_order = {"eg_intr_md_egress_port", "eg_intr_md_egress_rid", "intReportFixedHdr_valid"},
     .actions = {{"setMirrorPacketEncapNone", 0x20000156, entry},
                 {"setMirrorPacketEncapCpu", 0x20000157, entry},
                 {"setMirrorPacketEncapGreIpv4", 0x20000158, entry},
                 {"setMirrorPacketEncapIntIpv4", 0x20000159, entry, 1},
                 {"egressMirrorDrop", 0x2000015a, entry_or_default}}},

    {.name = "trapToCpu",
     .handle = 0x1000040,
     .summary = "The trap ACL, on 20 ternary fields from EtherType to CPU reason code: trap, copy or setLlm. It owns "
                "the direct counter trapToCpuCount. Only the top 16 bits of the IPv6 destination count.",
     .key = {{"etherType", "ingMd_etherType", 16, ternary},
             {"bcast", "ingMd_bcast", 1, ternary},
             {"mcast", "ingMd_mcast", 1, ternary},
             {"l4Attr", "ingMd_l4Attr", 3, ternary},
             {"srcPort", "ingMd_srcPort", 16, ternary},
             {"dstPort", "ingMd_dstPort", 16, ternary},
             {"ingVPort", "phase0_ingVPort", 14, ternary, vport},
             {"ingL3Aintf", "ingMd_ingL3Aintf", 12, ternary},
             {"ingL3DmacValid", "l3Info_ingL3DmacValid", 1, ternary},
             {"ttl", "ingMd_ttl", 8, ternary},
             {"arpHdrValid", "arpHdr_valid", 1, ternary},
             {"opcode", "arpHdr_opcode", 16, ternary},
             {"igmpSnoopingEnabled", "ingMd_igmpSnoopingEnabled", 1, ternary},
             {"ingIpv4Dip", "ingIpv4_dip", 32, ternary, v4addr},
             {"protocol", "ingMd_protocol", 8, ternary},
             {"vxlanFlood", "egrMd_vxlanFlood", 1, ternary},
             {"decapType", "egrMd_decapType", 3, ternary},
             {"ingIpv6Dip", "ingIpv6_dip", 128, ternary, v6addr, {0xffff000000000000, 0x0}},
             {"cpuMemberOfIngressVlan", "ingMd_cpuMemberOfIngressVlan", 1, ternary},
             {"cpuReasonCode", "egrMd_cpuReasonCode", 8, ternary}},
     .actions = {{"trapPacket", 0x200000c4, entry},
                 {"copyPacket", 0x200000c5, entry},
                 {"setLlm", 0x200000c6, entry},
                 {"noOp", 0x200000c7, entry},
                 {"NoAction", 0x200000c8, entry_or_default}}},

    {.name = "cpuEncap",
     .handle = 0x1000062,
     .summary = "Gives the CPU-bound packet its queue and port by trap bit, VLAN state, switch port, reason code "
                "and sub-interface.",
     .key = {{"trapToCpu", "egrMd_trapToCpu", 1},
             {"vlanHdrValid", "ingMd_vlanHdrValid", 1},
             {"switchPort", "phase0_switchPort", 1, ternary},
             {"cpuReasonCode", "egrMd_cpuReasonCode", 8, ternary},
             {"subIntf", "ingMd_subIntf", 1, ternary},
             {"vlanHdr0Valid", "vlanHdr_0__valid", 1, ternary},
             {"l3RsvdQueueValid", "l3RsvdQueue_valid", 1, ternary}},
     .actions = {{"trapPktToCpuUntagged", 0x200000f6, entry_or_default},
                 {"copyPktToCpuUntagged", 0x200000f7, entry_or_default},
                 {"trapPktToCpuTagged", 0x200000f8, entry_or_default},
                 {"copyPktToCpuTagged", 0x200000f9, entry_or_default},
                 {"trapPktToCpuSubintf", 0x200000fa, entry_or_default},
                 {"copyPktToCpuSubintf", 0x200000fb, entry_or_default}}},

    {.name = "cpuEncapFields",
     .handle = 0x1000079,
     .summary = "Writes the framing of the CPU header by port, tagging and decap type: to the CPU, to DPDK, or the "
                "source MAC.",
     .key = {{"egressPort", "eg_intr_md_egress_port", 9, exact, port},
             {"switchPort", "phase0_switchPort", 1},
             {"ingressTagged", "egrMd_ingressTagged", 1},
             {"decapType", "egrMd_decapType", 3},
             {"encapEthHdrValid", "encapEthHdr_valid", 1}},
     .actions = {{"encapPktToCpu", 0x2000015b, entry},
                 {"encapPktToDpdk", 0x2000015c, entry},
                 {"setEncapSmac", 0x2000015d, entry_or_default},
                 {"NoAction", 0x2000015e, entry_or_default}}},

    {.name = "srcIntfToLynIntf",
     .handle = 0x100007a,
     .summary = "Translates the ingress port into the interface identity that the CPU side knows: slice, port, lane "
                "and LAG id.",
     .key = {{"ingressPort", "egrMd_ingressPort", 9}},
     .actions = {{"setLynIntfDetails", 0x2000015f, entry_or_default},
                 {"NoAction", 0x20000160, entry_or_default}}},

    {.name = "lynIntfToPhysical",
     .handle = 0x1000020,
     .summary = "Translates the CPU header's destination (port, lane, port channel) into an egress interface, for "
                "packets from the CPU.",
     .key = {{"port", "velmarCpuHdr_port", 10},
             {"lane", "velmarCpuHdr_lane", 4},
             {"portChannel", "velmarCpuHdr_portChannel", 12},
             {"decapType", "egrMd_decapType", 3, ternary}},
     .record_order = {"velmarCpuHdr_lane", "velmarCpuHdr_port", "velmarCpuHdr_portChannel", "egrMd_decapType"},
     .actions = {{"setEgressPort", 0x2000005d, entry},
                 {"setDecapTypeVlan", 0x2000005e, entry},
                 {"setInvalidEgressPort", 0x2000005f, entry_or_default},
                 {"removeVelmarHdrs", 0x20000060, entry}}},

    {.name = "bridgeToEA",
     .handle = 0x100005a,
     .summary = "Its only action is add_header_for_EA.",
     .actions = {{"add_header_for_EA", 0x20000113, default_only}}},
};
// clang-format on

} // namespace velmar_switch
