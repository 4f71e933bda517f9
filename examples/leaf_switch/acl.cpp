// One rule of a port ACL, through all the tables that a rule takes, and the table in which every drop is decided.
#include "leaf_switch/steps.h"
#include "leaf_switch/topology.h"

namespace leaf_switch {
namespace {

constexpr uint8_t ipv4_packet = 1;
constexpr uint8_t tcp = 6;
constexpr uint16_t telnet_port = 23;
constexpr uint16_t telnet = 1;      // what rules call the port: they match 16-bit names, not the field
constexpr uint8_t server_rules = 1; // the rule list that servers' ports are bound to

// A rule's result: the low 15 bits number it for its counter, the three above say what it wants.
constexpr uint32_t wish = 0x38000;
constexpr uint32_t wish_drop = 0x38000;
constexpr uint32_t no_telnet_rule = 1;

void drop(Leaf& leaf, const std::string& why, const p4_pd_velmar_switch_finalDropControl_match_spec_t& marked) {
    const pd_entry entry = make(leaf, "the drop " + why, p4_pd_velmar_switch_finalDropControl_table_add_with_dropCount,
                                p4_pd_velmar_switch_finalDropControl_table_delete, &marked, any_priority);
    leaf.counting.push_back({"dropped " + why, p4_pd_velmar_switch_counter_read_finalDropControlCount,
                             p4_pd_velmar_switch_finalDropControl_get_mat_table_handle, entry});
}

} // namespace

void forbid_telnet(Leaf& leaf) {
    const p4_pd_velmar_switch_haloXformDstPort_match_spec_t port_key = {.ingMd_dstPort = telnet_port,
                                                                        .ingMd_dstPort_mask = 0xFFFF};
    const p4_pd_velmar_switch_setHaloXformDstPort_action_spec_t name = {.action_val = telnet};
    make(leaf, "the name of the telnet port", p4_pd_velmar_switch_haloXformDstPort_table_add_with_setHaloXformDstPort,
         p4_pd_velmar_switch_haloXformDstPort_table_delete, &port_key, any_priority, &name);

    // A list has one mask in each of five stages, and the rules that need this mask stand in that stage. Ours looks at
    // protocol and destination port.
    const p4_pd_velmar_switch_haloKeyMaskForRow1Stage2_match_spec_t list = {.haloKeyOrig_crlId = server_rules};
    p4_pd_velmar_switch_haloKeyMaskedRow1Stage2_action_spec_t mask = {};
    mask.action_dstPort = 0xFFFF;
    mask.action_proto = 0xFF;
    make(leaf, "the mask of the servers' rules",
         p4_pd_velmar_switch_haloKeyMaskForRow1Stage2_table_add_with_haloKeyMaskedRow1Stage2,
         p4_pd_velmar_switch_haloKeyMaskForRow1Stage2_table_delete, &list, &mask);

    // The rule is an exact match on what the mask leaves: what the mask clears has to be 0 here.
    p4_pd_velmar_switch_haloRow1Stage2_match_spec_t rule = {};
    rule.haloKeyOrig_crlId = server_rules;
    rule.haloKeyMaskedRow1_dstPort = telnet;
    rule.haloKeyMaskedRow1_proto = tcp;
    const p4_pd_velmar_switch_haloSetBestResultRow1_action_spec_t result = {.action_res = wish_drop | no_telnet_rule};
    make(leaf, "the rule against telnet", p4_pd_velmar_switch_haloRow1Stage2_table_add_with_haloSetBestResultRow1,
         p4_pd_velmar_switch_haloRow1Stage2_table_delete, &rule, &result);

    // What counts is the entry's own counter; the action has nothing to do.
    const p4_pd_velmar_switch_haloCounters_match_spec_t counted = {.haloResultRow1_bestResult = no_telnet_rule};
    const pd_entry counter = make(leaf, "the rule's counter", p4_pd_velmar_switch_haloCounters_table_add_with_onMiss,
                                  p4_pd_velmar_switch_haloCounters_table_delete, &counted);
    leaf.counting.push_back({"matched by the rule against telnet", p4_pd_velmar_switch_counter_read_haloCount,
                             p4_pd_velmar_switch_haloCounters_get_mat_table_handle, counter});

    // Bound last, so that no port sees a list before it is complete.
    const p4_pd_velmar_switch_setHaloCrlId2_action_spec_t binding = {.action_crlId = server_rules,
                                                                     .action_defaultResult = 0};
    for (const uint16_t port : server_ports) {
        const p4_pd_velmar_switch_haloPaclCrlId_match_spec_t key = {.ingMd_v4V6Valid = ipv4_packet,
                                                                    .ig_intr_md_ingress_port = port};
        make(leaf, "the rules of port " + std::to_string(port),
             p4_pd_velmar_switch_haloPaclCrlId_table_add_with_setHaloCrlId2,
             p4_pd_velmar_switch_haloPaclCrlId_table_delete, &key, &binding);
    }
}

void decide_drops(Leaf& leaf) {
    // Earlier tables mark a packet, and this one decides. What nobody has marked goes its way.
    set_default(leaf, "the last decision", p4_pd_velmar_switch_finalDropControl_set_default_action_accept,
                p4_pd_velmar_switch_finalDropControl_table_reset_default_entry);

    p4_pd_velmar_switch_finalDropControl_match_spec_t by_rule = {};
    by_rule.haloResultRow1_bestResult = wish_drop;
    by_rule.haloResultRow1_bestResult_mask = wish;
    drop(leaf, "by rule", by_rule);

    p4_pd_velmar_switch_finalDropControl_match_spec_t no_way = {};
    no_way.ingMd_invalidEgressPort = 1;
    no_way.ingMd_invalidEgressPort_mask = 1;
    drop(leaf, "for want of a port", no_way);

    p4_pd_velmar_switch_finalDropControl_match_spec_t storm = {};
    storm.ingMd_stormControlDrop = 1;
    storm.ingMd_stormControlDrop_mask = 1;
    drop(leaf, "by storm control", storm);
}

} // namespace leaf_switch
