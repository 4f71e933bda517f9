// The pipeline velmar_switch: its rows, its prefix, and the seams that group its tables.
#pragma once

#include "catalog/catalog.h"
#include "catalog/velmar_switch/actions.h"
#include "catalog/velmar_switch/counter_words.h"
#include "catalog/velmar_switch/hash_calculations.h"
#include "catalog/velmar_switch/notifications.h"
#include "catalog/velmar_switch/profiles.h"
#include "catalog/velmar_switch/resources.h"
#include "catalog/velmar_switch/snapshot_layouts.h"
#include "catalog/velmar_switch/tables/acl.h"
#include "catalog/velmar_switch/tables/egress_rewrite.h"
#include "catalog/velmar_switch/tables/ingress_classification.h"
#include "catalog/velmar_switch/tables/layer2.h"
#include "catalog/velmar_switch/tables/layer3.h"
#include "catalog/velmar_switch/tables/mirror_cpu.h"
#include "catalog/velmar_switch/tables/qos_telemetry.h"

namespace velmar_switch {

inline constexpr Seam seams[] = {
    {"ingress_classification", "The start of ingress: from the port to layer-2 domain, VRF and tunnel state.",
     ingress_classification},
    {"layer2", "Layer 2: learning, look-up, misses, pruning and remapping.", layer2},
    {"layer3", "Layer 3: routes, next hops, ECMP and LAG selection, IPv4 multicast.", layer3},
    {"acl", "The ACL engine, classification, flow steering and the last ingress decision.", acl},
    {"qos_telemetry", "QoS, WRED, and the flow, queue and drop reports.", qos_telemetry},
    {"egress_rewrite", "Egress: encapsulation, multicast copies, membership and drop checks.", egress_rewrite},
    {"mirror_cpu", "Mirroring, sFlow sampling, and the packet path to and from the CPU.", mirror_cpu},
};

inline constexpr Stage stages[] = {
    {"ingress", "Port and tunnel front", "ingressPortMapping"},
    {"ingress", "Outer Ethernet and membership", "l2DmacClassify"},
    {"ingress", "ACL transforms, first drops, learning", "haloXformIpv4Dip"},
    {"ingress", "Forwarding lookups", "steerFlowDefault"},
    {"ingress", "Second-level routes and hashes", "haloKeyMaskForRow1Stage3"},
    {"ingress", "Traps, decapsulation, next-hop groups", "haloKeyMaskForRow1Stage4"},
    {"ingress", "End of ingress", "haloKeyMaskForRow1Stage6"},
    {"egress", "Egress", "queueCounters"},
};

inline constexpr Catalog program{.name = "velmar_switch",
                                 .prefix = "p4_pd_velmar_switch_",
                                 .actions = actions,
                                 .seams = seams,
                                 .profiles = profiles,
                                 .counters = counters,
                                 .meters = meters,
                                 .wred_blocks = wred_blocks,
                                 .registers = registers,
                                 .digests = digests,
                                 .value_sets = value_sets,
                                 .hash_calculations = hash_calculations,
                                 .counter_words = counter_words,
                                 .snapshot_layouts = snapshot_layouts,
                                 .stages = stages};

} // namespace velmar_switch
