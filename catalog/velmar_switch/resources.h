// Counters, meters, WRED blocks and registers.
//
// A row names the match table whose actions carry the resource in their slot. The table's bindings and the roles of
// their parameters decide which actions attach it, and with which index.
#pragma once

#include "catalog/row_types.h"

namespace velmar_switch {

using namespace catalog;
using enum Addressing;

// clang-format off
inline constexpr Resource counters[] = {
    {"l2DmacClassifyCount",   0x4000001, direct,   "l2DmacClassify"},
    {"ingressPortDropCount",  0x4000002, direct,   "ingressPortDropCheck"},
    {"sfDefaultCount",        0x4000003, direct,   "steerFlowDefaultCounter"},
    {"trapToCpuCount",        0x4000004, direct,   "trapToCpu"},
    {"pdpClassCount",         0x4000005, indirect, "pdpPolicy"},
    {"haloCount",             0x4000006, direct,   "haloCounters"},
    {"finalDropControlCount", 0x4000007, direct,   "finalDropControl"},
    {"egressPortQueueCount",  0x4000008, indirect},
    {"egressPortDropCount",   0x4000009, direct,   "egressPortDropCheck"},
};

inline constexpr Resource meters[] = {
    {"stormControlMeter",     0x5000001, direct,   "l2LookupMiss"},
    {"ingressMirrorMeter",    0x5000002, indirect, "ingressMirrorRate"},
    {"pdpMeter",              0x5000003, indirect, "pdpClassify"},
    {"egressMirrorMeter",     0x5000005, indirect, "egressMirrorRate"},
};

inline constexpr Resource wred_blocks[] = {
    {"wredBlock",             0x5000004, indirect, "wredQueueSelect"},
};

// All registers are addressed by index.
inline constexpr Register registers[] = {
    {"ingStpCheckData",       0x6000001, Cell::flag},
    {"ingVlanCheckData",      0x6000002, Cell::flag},
    {"dropReportFilter",      0x6000007, Cell::flag},
    {"seqNumber",             0x6000008, Cell::word,      "mirrorPacketEncap"},
    {"thresholds",            0x6000009, Cell::word_pair, "queueReport"},
    {"quota",                 0x600000a, Cell::word,      "queueReportQuota"},
    {"flowReportFilter",      0x600000b, Cell::flag},
    {"egrStpCheckData",       0x600000d, Cell::flag},
    {"egrVlanCheckData",      0x600000e, Cell::flag},
};
// clang-format on

} // namespace velmar_switch
