// The ACL engine, the pdp classification, flow steering, and the last ingress decision, which combines their results.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;
using enum Match;
using enum Tag;
using enum Use;

// The exact key of the rules of one stage: crlId, then the search key under the stage's key mask.
inline constexpr List<KeyField> halo_row1_key = {
    {"crlId", "haloKeyOrig_crlId", 8},
    {"sip", "haloKeyMaskedRow1_sip", 16},
    {"dip", "haloKeyMaskedRow1_dip", 16},
    {"srcPort", "haloKeyMaskedRow1_srcPort", 16},
    {"dstPort", "haloKeyMaskedRow1_dstPort", 16},
    {"proto", "haloKeyMaskedRow1_proto", 8},
    {"dscp", "haloKeyMaskedRow1_dscp", 6},
    {"ttl", "haloKeyMaskedRow1_ttl", 8},
    {"flags", "haloKeyMaskedRow1_flags", 8},
    {"isFrag", "haloKeyMaskedRow1_isFrag", 1},
};

// clang-format off
inline constexpr Table acl[] = {
    {.name = "haloKeyMaskForRow1Stage2",
     .handle = 0x1000029,
     .summary = "Key mask of stage 2 of the ACL engine: one mask per crlId, with a value for each field of the "
                "search key.",
     .key = {{"crlId", "haloKeyOrig_crlId", 8}},
     .actions = {{"haloKeyMaskedRow1Stage2", 0x20000044, entry_or_default}}},

    {.name = "haloRow1Stage2",
     .handle = 0x1000031,
     .summary = "Rules of stage 2 of the ACL engine: an exact match on crlId and the masked search key.",
     .key = halo_row1_key,
     .actions = {{"haloSetBestResultRow1", 0x20000045, entry},
                 {"nop", 0x20000046, entry_or_default}}},

    {.name = "haloKeyMaskForRow1Stage3",
     .handle = 0x1000032,
     .summary = "Key mask of stage 3 of the ACL engine: one mask per crlId, with a value for each field of the "
                "search key.",
     .key = {{"crlId", "haloKeyOrig_crlId", 8}},
     .actions = {{"haloKeyMaskedRow1Stage3", 0x20000047, entry_or_default}}},

    {.name = "haloRow1Stage3",
     .handle = 0x100003c,
     .summary = "Rules of stage 3 of the ACL engine: an exact match on crlId and the masked search key.",
     .key = halo_row1_key,
     .actions = {{"haloSetBestResultRow1", 0x20000048, entry},
                 {"nop", 0x20000049, entry_or_default}}},

    {.name = "haloKeyMaskForRow1Stage4",
     .handle = 0x100003d,
     .summary = "Key mask of stage 4 of the ACL engine: one mask per crlId, with a value for each field of the "
                "search key.",
     .key = {{"crlId", "haloKeyOrig_crlId", 8}},
     .actions = {{"haloKeyMaskedRow1Stage4", 0x2000004a, entry_or_default}}},

    {.name = "haloRow1Stage4",
     .handle = 0x1000043,
     .summary = "Rules of stage 4 of the ACL engine: an exact match on crlId and the masked search key.",
     .key = halo_row1_key,
     .actions = {{"haloSetBestResultRow1", 0x2000004b, entry},
                 {"nop", 0x2000004c, entry_or_default}}},

    {.name = "haloKeyMaskForRow1Stage5",
     .handle = 0x1000044,
     .summary = "Key mask of stage 5 of the ACL engine: one mask per crlId, with a value for each field of the "
                "search key.",
     .key = {{"crlId", "haloKeyOrig_crlId", 8}},
     .actions = {{"haloKeyMaskedRow1Stage5", 0x2000004d, entry_or_default}}},

    {.name = "haloRow1Stage5",
     .handle = 0x100004e,
     .summary = "Rules of stage 5 of the ACL engine: an exact match on crlId and the masked search key.",
     .key = halo_row1_key,
     .actions = {{"haloSetBestResultRow1", 0x2000004e, entry},
                 {"nop", 0x2000004f, entry_or_default}}},

    {.name = "haloKeyMaskForRow1Stage6",
     .handle = 0x100004f,
     .summary = "Key mask of stage 6 of the ACL engine: one mask per crlId, with a value for each field of the "
                "search key.",
     .key = {{"crlId", "haloKeyOrig_crlId", 8}},
     .actions = {{"haloKeyMaskedRow1Stage6", 0x20000050, entry_or_default}}},

    {.name = "haloRow1Stage6",
     .handle = 0x1000056,
     .summary = "Rules of stage 6 of the ACL engine: an exact match on crlId and the masked search key.",
     .key = halo_row1_key,
     .actions = {{"haloSetBestResultRow1", 0x20000052, entry},
                 {"nop", 0x20000053, entry_or_default}}},

    {.name = "haloXformIpv4Sip",
     .handle = 0x1000012,
     .summary = "Reduces the IPv4 source address to a 16-bit value val and its mirror-side twin valMirror.",
     .key = {{"sip", "ingIpv4_sip", 32, ternary, v4addr}},
     .actions = {{"setHaloXformIpv4Sip", 0x20000024, entry},
                 {"setHaloInvalidSip", 0x20000025, entry},
                 {"setHaloIpv4Common", 0x20000026, entry_or_default}}},

    {.name = "haloXformIpv4Dip",
     .handle = 0x100000f,
     .summary = "Reduces the IPv4 destination address to val and valMirror.",
     .key = {{"dip", "ingIpv4_dip", 32, ternary, v4addr}},
     .actions = {{"setHaloXformDip", 0x20000027, entry},
                 {"setHaloInvalidDip", 0x20000028, entry},
                 {"NoAction", 0x20000029, entry_or_default}}},

    {.name = "haloXformIpv6Sip",
     .handle = 0x1000011,
     .summary = "Reduces the IPv6 source address to val and valMirror.",
     .key = {{"sip", "ingIpv6_sip", 128, ternary, v6addr}},
     .actions = {{"setHaloXformIpv6Sip", 0x2000002a, entry},
                 {"setHaloInvalidSip", 0x2000002b, entry},
                 {"setHaloIpv6Common", 0x2000002c, entry_or_default}}},

    {.name = "haloXformIpv6Dip",
     .handle = 0x1000010,
     .summary = "Reduces the IPv6 destination address to val and valMirror.",
     .key = {{"dip", "ingIpv6_dip", 128, ternary, v6addr}},
     .actions = {{"setHaloXformDip", 0x2000002d, entry},
                 {"setHaloInvalidDip", 0x2000002e, entry},
                 {"NoAction", 0x2000002f, entry_or_default}}},

    {.name = "haloXformSrcPort",
     .handle = 0x100001b,
     .summary = "Reduces the layer-4 source port to a 16-bit val.",
     .key = {{"srcPort", "ingMd_srcPort", 16, ternary}},
     .actions = {{"setHaloXformSrcPort", 0x20000030, entry},
                 {"NoAction", 0x20000031, entry_or_default}}},

    {.name = "haloXformDstPort",
     .handle = 0x100001a,
     .summary = "Reduces the layer-4 destination port to a 16-bit val.",
     .key = {{"dstPort", "ingMd_dstPort", 16, ternary}},
     .actions = {{"setHaloXformDstPort", 0x20000032, entry},
                 {"NoAction", 0x20000033, entry_or_default}}},

    {.name = "haloPaclCrlId",
     .handle = 0x1000018,
     .summary = "Port ACL binding: address-family bits (mask 0x3) and ingress port (mask 0x7f) give the crlId and "
                "the default result.",
     .key = {{"v4V6Valid", "ingMd_v4V6Valid", 3, exact, untagged, 0x3},
             {"ingressPort", "ig_intr_md_ingress_port", 9, exact, port, 0x7f}},
     .actions = {{"setHaloCrlId2", 0x20000034, entry},
                 {"onMiss", 0x20000035, entry_or_default}}},

    {.name = "haloRaclCrlId",
     .handle = 0x1000019,
     .summary = "Router ACL binding: address-family bits (mask 0x3) and layer-3 interface give the crlId and the "
                "default result.",
     .key = {{"v4V6Valid", "ingMd_v4V6Valid", 3, exact, untagged, 0x3},
             {"ingL3Aintf", "ingMd_ingL3Aintf", 12}},
     .actions = {{"setHaloCrlId", 0x20000036, entry},
                 {"NoAction", 0x20000037, entry_or_default}}},

    {.name = "haloBypass",
     .handle = 0x1000055,
     .summary = "discardHaloResult throws the ACL result away.",
     .actions = {{"discardHaloResult", 0x20000051, default_only}}},

    {.name = "haloCounters",
     .handle = 0x1000060,
     .summary = "Counts per rule. The key is the low 15 bits of haloResultRow1_bestResult. The table owns the direct "
                "counter haloCount.",
     .key = {{"bestResult", "haloResultRow1_bestResult", 32, exact, untagged, 0x7fff}},
     .actions = {{"onMiss", 0x20000103, entry_or_default}}},

    {.name = "pdpClassify",
     .handle = 0x1000053,
     .summary = "Sorts packets into a pdpClassId by ARP validity, CPU header validity, CPU reason code, trap flag, "
                "broadcast, protocol and layer-4 ports. setPdpClass gives a class directly, meterPdpClass through "
                "the meter pdpMeter.",
     .key = {{"arpHdrValid", "arpHdr_valid", 1, ternary},
             {"velmarCpuHdrValid", "velmarCpuHdr_valid", 1, ternary},
             {"cpuReasonCode", "egrMd_cpuReasonCode", 8, ternary},
             {"trapToCpu", "egrMd_trapToCpu", 1, ternary},
             {"bcast", "ingMd_bcast", 1, ternary},
             {"protocol", "ingMd_protocol", 8, ternary},
             {"srcPort", "ingMd_srcPort", 16, ternary},
             {"dstPort", "ingMd_dstPort", 16, ternary}},
     .record_order = {"velmarCpuHdr_valid", "arpHdr_valid", "egrMd_cpuReasonCode", "egrMd_trapToCpu", "ingMd_bcast",
                      "ingMd_dstPort", "ingMd_protocol", "ingMd_srcPort"},
     .actions = {{"setPdpClass", 0x200000e2, entry_or_default},
                 {"meterPdpClass", 0x200000e3, entry}}},

    {.name = "pdpPolicy",
     .handle = 0x100005f,
     .summary = "Counts by drop flag and class id in the counter pdpClassCount.",
     .key = {{"pdpDrop", "qosMd_pdpDrop", 1},
             {"pdpClassId", "qosMd_pdpClassId", 5}},
     .actions = {{"setPdpClassCount", 0x20000111, entry},
                 {"NoAction", 0x20000112, entry_or_default}}},

    {.name = "steerFlowDefault",
     .handle = 0x100001f,
     .summary = "The flow-programming table: a wide ternary match over port, domain and headers, with one action per "
                "outcome. Each action carries a 9-bit index.",
     .key = {{"velmarCpuHdrValid", "velmarCpuHdr_valid", 1},
             {"ingVPort", "phase0_ingVPort", 14, ternary, vport},
             {"ingL2Domain", "ingMd_ingL2Domain", 12, ternary},
             {"outerEthHdrEtherType", "outerEthHdr_etherType", 16, ternary},
             {"smacOui", "ingMd_smacOui", 24, ternary, mac},
             {"smacStation", "ingMd_smacStation", 24, ternary, mac},
             {"dmacOui", "ingMd_dmacOui", 24, ternary, mac},
             {"dmacStation", "ingMd_dmacStation", 24, ternary, mac},
             {"srcPort", "ingMd_srcPort", 16, ternary},
             {"dstPort", "ingMd_dstPort", 16, ternary},
             {"protocol", "ingMd_protocol", 8, ternary},
             {"sip", "ingIpv4_sip", 32, ternary, v4addr},
             {"dip", "ingIpv4_dip", 32, ternary, v4addr},
             {"l2Control", "ingMd_l2Control", 1, ternary}},
     .actions = {{"steerFlowSetDrop", 0x20000057, entry_or_default},
                 {"steerFlowDontFlow", 0x20000058, entry_or_default},
                 {"steerFlowSetEgrL2Aintf", 0x20000059, entry_or_default},
                 {"steerFlowSetEgrL2AintfAndL2Domain", 0x2000005a, entry_or_default},
                 {"steerFlowSetEgrL2AintfAndDmac", 0x2000005b, entry_or_default},
                 {"steerFlowSetDmac", 0x2000005c, entry_or_default}}},

    {.name = "steerFlowDefaultCounter",
     .handle = 0x100002e,
     .summary = "Counts by the index from steerFlowDefault, in the direct counter sfDefaultCount.",
     .key = {{"counterIndex", "stflowMd_counterIndex", 9}},
     .actions = {{"onMiss", 0x20000079, entry_or_default}}},

    {.name = "finalDropControl",
     .handle = 0x1000064,
     .summary = "The last ingress decision, on 25 ternary fields. It combines every drop flag of the pipeline with "
                "the 3 bits of the ACL result at mask 0x38000, and chooses accept, log, drop, mirror or a "
                "combination of them. It owns the direct counter finalDropControlCount.",
     .key = {{"ingressPort", "ig_intr_md_ingress_port", 9, ternary, port, 0x7f},
             {"bestResult", "haloResultRow1_bestResult", 32, ternary, untagged, 0x38000},
             {"ingMdDrop", "ingMd_drop", 1, ternary},
             {"dropSmac", "ingMd_dropSmac", 1, ternary},
             {"dropDmac", "ingMd_dropDmac", 1, ternary},
             {"invalidEgressPort", "ingMd_invalidEgressPort", 1, ternary},
             {"samePortBridging", "ingMd_samePortBridging", 1, ternary},
             {"pdpDrop", "qosMd_pdpDrop", 1, ternary},
             {"routedMartian", "ingMd_routedMartian", 1, ternary},
             {"mlagPrune", "ingMd_mlagPrune", 1, ternary},
             {"v4V6Valid", "ingMd_v4V6Valid", 3, ternary},
             {"egrL2AintfUnresolved", "egrMd_egrL2AintfUnresolved", 20, ternary},
             {"mcastGrpA", "ig_intr_md_for_tm_mcast_grp_a", 16, ternary},
             {"routed", "egrMd_routed", 1, ternary},
             {"trapToCpu", "egrMd_trapToCpu", 1, ternary},
             {"dropVgwpVxlan", "ingMd_dropVgwpVxlan", 1, ternary},
             {"dropDatalink", "ingMd_dropDatalink", 1, ternary},
             {"stpBlocked", "ingVlanStpCheck_stpBlocked", 1, ternary},
             {"invalidVlan", "ingVlanStpCheck_invalidVlan", 1, ternary},
             {"dot1xDrop", "ingMd_dot1xDrop", 1, ternary},
             {"copyToCpu", "ig_intr_md_for_tm_copy_to_cpu", 1, ternary},
             {"stormControlDrop", "ingMd_stormControlDrop", 1, ternary},
             {"stflowMdDrop", "stflowMd_drop", 1, ternary},
             {"bcast", "ingMd_bcast", 1, ternary},
             {"mcast", "ingMd_mcast", 1, ternary}},
     .record_order = {"stflowMd_drop", "egrMd_egrL2AintfUnresolved", "egrMd_routed", "egrMd_trapToCpu",
                      "haloResultRow1_bestResult", "ig_intr_md_for_tm_copy_to_cpu", "ig_intr_md_for_tm_mcast_grp_a",
                      "ig_intr_md_ingress_port", "ingMd_bcast", "ingMd_dot1xDrop", "ingMd_drop", "ingMd_dropDatalink",
                      "ingMd_dropDmac", "ingMd_dropSmac", "ingMd_dropVgwpVxlan", "ingMd_invalidEgressPort",
                      "ingMd_mcast", "ingMd_mlagPrune", "ingMd_routedMartian", "ingMd_samePortBridging",
                      "ingMd_stormControlDrop", "ingMd_v4V6Valid", "ingVlanStpCheck_invalidVlan",
                      "ingVlanStpCheck_stpBlocked", "qosMd_pdpDrop"},
     .actions = {{"accept", 0x20000104, entry_or_default},
                 {"acceptLog", 0x20000105, entry_or_default},
                 {"dropCount", 0x20000106, entry_or_default},
                 {"dropCountAndLog", 0x20000107, entry_or_default},
                 {"finalDrop", 0x20000108, entry_or_default},
                 {"dropCountAndMirror", 0x20000109, entry_or_default},
                 {"dropCountAndLogAndMirror", 0x2000010a, entry_or_default},
                 {"finalDropAndMirror", 0x2000010b, entry_or_default}}},
};
// clang-format on

} // namespace velmar_switch
