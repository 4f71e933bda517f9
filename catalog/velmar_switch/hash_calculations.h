// The dynamic hash calculations. Each has one input and one algorithm.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;

// clang-format off
inline constexpr HashCalculation hash_calculations[] = {
    {"egrVlanStpHash",               0x8000000, 0x21000000, 0x23000000},
    {"egressL2AintfUnresolvedFlood", 0x8000001, 0x21000001, 0x23000000},
    {"flowHashWithVrf",              0x8000002, 0x21000002, 0x23000001},
    {"flowReportQueryHash",          0x8000003, 0x21000003, 0x23000001},
    {"hashInnerEthHdr",              0x8000004, 0x21000004, 0x23000002},
    {"hashInnerIpAndL4Hdr",          0x8000005, 0x21000005, 0x23000002},
    {"hashInnerIpv4Hdr",             0x8000006, 0x21000006, 0x23000002},
    {"hashInnerIpv6Hdr",             0x8000007, 0x21000007, 0x23000002},
    {"hashOuterEthHdr",              0x8000008, 0x21000008, 0x23000002},
    {"hashOuterIpAndL4Hdr",          0x8000009, 0x21000009, 0x23000002},
    {"hashOuterIpv4Hdr",             0x800000a, 0x2100000a, 0x23000002},
    {"hashOuterIpv6Hdr",             0x800000b, 0x2100000b, 0x23000002},
    {"ingVlanStpHash",               0x800000c, 0x2100000c, 0x23000000},
    {"queueCounterHash",             0x800000d, 0x2100000d, 0x23000000},
};
// clang-format on

} // namespace velmar_switch
