// The words in which operators read the keys of counted tables: one piece of a description for each key field, in key
// order. Nothing else in the catalog gives these words.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;

// Each piece ends with a blank. If its label already ends with one, the text has two.
// clang-format off
inline constexpr CounterWords counter_words[] = {
    {.table = "l2DmacClassify",
     .pieces = {
        {"ig_intr_md_ingress_port", Form::exact, "Ingress Port", 0x7f},
        {"outerEthHdr_dmacOui", Form::mac, "dmac"}}},

    {.table = "ingressPortDropCheck",
     .pieces = {
        {"ig_intr_md_ingress_port", Form::exact, "Ingress Port", 0x7f},
        {"ingMd_invalidTunnel", Form::flag, "invalidTunnel"},
        {"ingMd_illegalSmac", Form::flag, "illegalSmac"},
        {"ingMd_illegalDmac", Form::flag, "illegalDmac"},
        {"parserMd_outerHdrFlags", Form::number, "outerHdrFlags", 0xf},
        {"parserMd_checksumErr", Form::flag, "checksumErr"}}},

    {.table = "steerFlowDefaultCounter",
     .pieces = {
        {"stflowMd_counterIndex", Form::exact, "counterIndex", 0x1ff}}},

    {.table = "trapToCpu",
     .pieces = {
        {"ingMd_etherType", Form::mapped, "etherType", 0xffff, {{0x800, "IPv4 "}, {0x86dd, "IPv6 "}}},
        {"ingMd_bcast", Form::flag, "bcast"},
        {"ingMd_mcast", Form::flag, "mcast"},
        {"ingMd_l4Attr", Form::number, "l4Attr", 0x7},
        {"ingMd_srcPort", Form::number, "srcPort", 0xffff},
        {"ingMd_dstPort", Form::number, "dstPort", 0xffff},
        {"phase0_ingVPort", Form::number, "ingVPort", 0x3fff},
        {"ingMd_ingL3Aintf", Form::number, "ingL3Aintf", 0xfff},
        {"l3Info_ingL3DmacValid", Form::flag, "L3DmacValid"},
        {"ingMd_ttl", Form::number, "Ttl", 0xff},
        {"arpHdr_valid", Form::silent},
        {"arpHdr_opcode", Form::number, "ARP opcode", 0xffff},
        {"ingMd_igmpSnoopingEnabled", Form::flag, "IGMP snoop"},
        {"ingIpv4_dip", Form::v4addr, "dip"},
        {"ingMd_protocol", Form::mapped, "protocol", 0xff,
         {{2, "IGMP "}, {6, "TCP "}, {17, "UDP "}, {58, "ICMPv6 "}, {89, "OSPF "}, {103, "PIM "}, {112, "VRRP "}}},
        {"egrMd_vxlanFlood", Form::flag, "VXLAN flood"},
        {"egrMd_decapType", Form::mapped, "decapType", 0x7,
         {{0, "NoDecap "}, {1, "VxLanDecap "}, {2, "CPU-to-Port "}, {3, "CPU-to-VLAN "}}},
        {"ingIpv6_dip", Form::v6addr, "dip"},
        {"ingMd_cpuMemberOfIngressVlan", Form::flag, "CPUinVLan"},
        {"egrMd_cpuReasonCode", Form::mapped, "cpuReasonCode", 0xff, {{16, "VxLan Arp "}, {18, "ISIS "}}}}},

    {.table = "haloCounters",
     .pieces = {
        {"haloResultRow1_bestResult", Form::exact, "bestResult", 0x7fff}}},

    {.table = "finalDropControl",
     .pieces = {
        {"ig_intr_md_ingress_port", Form::number, "Ingress Port", 0x7f},
        {"haloResultRow1_bestResult", Form::acl_result, "bestResult", 0x38000},
        {"ingMd_drop", Form::flag, "Ingress Port Drop - See ingressPortDropCount "},
        {"ingMd_dropSmac", Form::flag, "dropSmac"},
        {"ingMd_dropDmac", Form::flag, "dropDmac"},
        {"ingMd_invalidEgressPort", Form::flag, "invalidEgressPort"},
        {"ingMd_samePortBridging", Form::flag, "samePortBridging"},
        {"qosMd_pdpDrop", Form::flag, "pdpDrop"},
        {"ingMd_routedMartian", Form::flag, "routedMartian"},
        {"ingMd_mlagPrune", Form::flag, "mlagPrune"},
        {"ingMd_v4V6Valid", Form::number, "Invalid IP Version", 0x7},
        {"egrMd_egrL2AintfUnresolved", Form::egress_interface, "egrL2AintfUnresolved", 0xfffff},
        {"ig_intr_md_for_tm_mcast_grp_a", Form::multicast_group, "mcast_grp_a", 0xffff},
        {"egrMd_routed", Form::flag, "Routed Drop "},
        {"egrMd_trapToCpu", Form::flag, "trapToCpu"},
        {"ingMd_dropVgwpVxlan", Form::flag, "dropVgwpVxlan"},
        {"ingMd_dropDatalink", Form::flag, "Datalink"},
        {"ingVlanStpCheck_stpBlocked", Form::flag, "stpBlocked"},
        {"ingVlanStpCheck_invalidVlan", Form::flag, "invalidVlan"},
        {"ingMd_dot1xDrop", Form::flag, "dot1xDrop"},
        {"ig_intr_md_for_tm_copy_to_cpu", Form::flag, "copy_to_cpu"},
        {"ingMd_stormControlDrop", Form::flag, "stormControlDrop"},
        {"stflowMd_drop", Form::flag, "Ingress Port Drop - See ingressPortDropCount "},
        {"ingMd_bcast", Form::flag, "bcast"},
        {"ingMd_mcast", Form::flag, "mcast"}}},

    {.table = "egressPortDropCheck",
     .pieces = {
        {"eg_intr_md_egress_port", Form::number, "Egress Port", 0x7f},
        {"egrVlanStpCheck_stpBlocked", Form::flag, "stpBlocked"},
        {"egrVlanStpCheck_invalidVlan", Form::flag, "invalidVlan"},
        {"qosMd_wredDrop", Form::flag, "wredDrop"},
        {"egrMd_invalidVni", Form::flag, "invalidVni"},
        {"outerIpv4Hdr_ttl", Form::number, "ttl", 0xff},
        {"outerIpv4Hdr_valid", Form::silent},
        {"egrMd_routed", Form::flag, "routed"},
        {"pktGen", Form::exact, "pktGen", 0x1}}},
};
// clang-format on

} // namespace velmar_switch
