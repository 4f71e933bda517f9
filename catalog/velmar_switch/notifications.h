// What the pipeline and the parser exchange with the agent besides tables: learning digests and parser value sets.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;

// clang-format off
inline constexpr Digest digests[] = {
    {.name = "macLearningDigest",
     .handle = 0x9000000,
     .fields = {{"ingMd_smacOui", 4},
                {"ingMd_smacStation", 4},
                {"ingMd_ingL2Domain", 2},
                {"ingMd_ingL2Aintf", 4}}},

    {.name = "vtepLearningDigest",
     .handle = 0x9000001,
     .fields = {{"ingMd_ingL2Domain", 2},
                {"innerEthHdr_smacOui", 4},
                {"innerEthHdr_smacStation", 4},
                {"outerIpv4Hdr_sip", 4},
                {"outerIpv6Hdr_sip", 16},
                {"outerEthHdr_etherType", 2},
                {"ingMd_ingressVniHigh", 2},
                {"ingMd_ingressVniLow", 1},
                {"vxlanHdr_vniReserved", 1}}},

    {.name = "pktTracerDigest",
     .handle = 0x9000002,
     .fields = {{"pktGen_pktId", 2},
                {"pktTracerMd_copy_to_cpu", 1},
                {"egrMd_egrL2Domain", 2},
                {"pktTracerMd_ucast_egress_port", 2},
                {"egrMd_routed", 1},
                {"ig_intr_md_for_dprsr_drop_ctl", 1}}},
};

inline constexpr ValueSet value_sets[] = {
    {"egr_cpu_port",       506},
    {"vxlan_ports",        507},
    {"vxlan_ports_32bVni", 508},
    {"allow_ntags",        509},
    {"allow_vlan0",        510},
    {"fabric_port",        511},
};
// clang-format on

} // namespace velmar_switch
