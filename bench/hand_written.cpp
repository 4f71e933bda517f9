// Adds and look-ups written by hand, as straight lines. They load values from constant offsets, mask them in registers
// and store them at constant positions. It would be slower to mask a key in memory, 16 bytes at a time: the load of
// such a block has to wait for the smaller stores before it.
#include "hand_written.h"

#include "codec/bytes.h"
#include "hand_written_bytes.h"
#include "vl_driver/tables.h"

namespace by_hand {

namespace {

// The driver takes the eight bytes as they are.
inline pipe_dev_tgt to_driver(pd_dev_tgt dev_tgt) {
    return {dev_tgt.dev_id, dev_tgt.pipe_id, dev_tgt.reserved};
}

inline void clear(pipe_action_record& action, uint16_t data_bits, uint16_t data_len, Byte* data) {
    vl_pd::bytes::clear(action);
    action.kind = PIPE_KIND_ACTION_DATA;
    action.action.data_bits = data_bits;
    action.action.data_len = data_len;
    action.action.data = data;
}

inline void fill_ipv4Host(const p4_pd_velmar_switch_ipv4Host_match_spec_t& spec, Byte* key, Byte* mask,
                          pipe_match_record& match) {
    key[0] = spec.l3Info_vrfId;
    put32(key + 1, spec.ingIpv4_dip);
    std::memset(mask, 0xFF, 5);
    match = {key, mask, 0, 0, 40, 5, 0};
}

inline void fill_ipv6Partition(const p4_pd_velmar_switch_ipv6Partition_match_spec_t& spec, Byte* key, Byte* mask,
                               pipe_match_record& match) {
    const uint32_t length = spec.ingIpv6_dip_prefix_length;
    key[0] = spec.l3Info_vrfId;
    mask[0] = 0xFF;
    if (length > 128) [[unlikely]] {
        std::memcpy(key + 1, spec.ingIpv6_dip, 16);
        std::memset(mask + 1, 0xFF, 16);
        match = {key, mask, 0, 137, 136, 17, 0};
        return;
    }
    const uint64_t high = length < 64 ? ~(~uint64_t{0} >> length) : ~uint64_t{0};
    const uint64_t low = length > 64 ? ~uint64_t{0} << (128 - length) : 0;
    put64(key + 1, get64(spec.ingIpv6_dip) & high);
    put64(key + 9, get64(spec.ingIpv6_dip + 8) & low);
    put64(mask + 1, high);
    put64(mask + 9, low);
    match = {key, mask, 0, 128 - length, 136, 17, 0};
}

inline void fill_ipv4FinalResolve0(const p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_t& spec, Byte* key,
                                   Byte* mask, pipe_match_record& match) {
    const uint32_t length = spec.ingIpv4_dip_prefix_length;
    put16(key, 0);
    if (length > 32) [[unlikely]] {
        put32(key + 2, spec.ingIpv4_dip);
        std::memset(mask, 0xFF, 6);
        match = {key, mask, spec.fibV4ResultX_partIdx, 49, 48, 6, 0};
        return;
    }
    const uint32_t prefix = static_cast<uint32_t>(~uint64_t{0} << (32 - length));
    put32(key + 2, spec.ingIpv4_dip & prefix);
    put16(mask, 0);
    put32(mask + 2, prefix);
    match = {key, mask, spec.fibV4ResultX_partIdx, 32 - length, 48, 6, 0};
}

inline void fill_trapToCpu(const p4_pd_velmar_switch_trapToCpu_match_spec_t& spec, uint32_t priority, Byte* key,
                           Byte* mask, pipe_match_record& match) {
    put_masked16(key, mask, 0, spec.ingMd_etherType, spec.ingMd_etherType_mask, 0xFFFF);
    put_masked8(key, mask, 2, spec.ingMd_bcast, spec.ingMd_bcast_mask, 1);
    put_masked8(key, mask, 3, spec.ingMd_mcast, spec.ingMd_mcast_mask, 1);
    put_masked8(key, mask, 4, spec.ingMd_l4Attr, spec.ingMd_l4Attr_mask, 7);
    put_masked16(key, mask, 5, spec.ingMd_srcPort, spec.ingMd_srcPort_mask, 0xFFFF);
    put_masked16(key, mask, 7, spec.ingMd_dstPort, spec.ingMd_dstPort_mask, 0xFFFF);
    put_masked16(key, mask, 9, spec.phase0_ingVPort, spec.phase0_ingVPort_mask, 0x3FFF);
    put_masked16(key, mask, 11, spec.ingMd_ingL3Aintf, spec.ingMd_ingL3Aintf_mask, 0xFFF);
    put_masked8(key, mask, 13, spec.l3Info_ingL3DmacValid, spec.l3Info_ingL3DmacValid_mask, 1);
    put_masked8(key, mask, 14, spec.ingMd_ttl, spec.ingMd_ttl_mask, 0xFF);
    put_masked8(key, mask, 15, spec.arpHdr_valid, spec.arpHdr_valid_mask, 1);
    put_masked16(key, mask, 16, spec.arpHdr_opcode, spec.arpHdr_opcode_mask, 0xFFFF);
    put_masked8(key, mask, 18, spec.ingMd_igmpSnoopingEnabled, spec.ingMd_igmpSnoopingEnabled_mask, 1);
    put_masked32(key, mask, 19, spec.ingIpv4_dip, spec.ingIpv4_dip_mask, 0xFFFFFFFF);
    put_masked8(key, mask, 23, spec.ingMd_protocol, spec.ingMd_protocol_mask, 0xFF);
    put_masked8(key, mask, 24, spec.egrMd_vxlanFlood, spec.egrMd_vxlanFlood_mask, 1);
    put_masked8(key, mask, 25, spec.egrMd_decapType, spec.egrMd_decapType_mask, 7);
    put_masked_block(key, mask, 26, spec.ingIpv6_dip, spec.ingIpv6_dip_mask);
    put_masked8(key, mask, 42, spec.ingMd_cpuMemberOfIngressVlan, spec.ingMd_cpuMemberOfIngressVlan_mask, 1);
    put_masked8(key, mask, 43, spec.egrMd_cpuReasonCode, spec.egrMd_cpuReasonCode_mask, 0xFF);

    match = {key, mask, 0, priority, 287, 44, 0};
}

inline void fill_finalDropControl(const p4_pd_velmar_switch_finalDropControl_match_spec_t& spec, uint32_t priority,
                                  Byte* key, Byte* mask, pipe_match_record& match) {
    put_masked16(key, mask, 0, spec.ig_intr_md_ingress_port, spec.ig_intr_md_ingress_port_mask, 0x1FF);
    put_masked32(key, mask, 2, spec.haloResultRow1_bestResult, spec.haloResultRow1_bestResult_mask, 0xFFFFFFFF);
    put_masked8(key, mask, 6, spec.ingMd_drop, spec.ingMd_drop_mask, 1);
    put_masked8(key, mask, 7, spec.ingMd_dropSmac, spec.ingMd_dropSmac_mask, 1);
    put_masked8(key, mask, 8, spec.ingMd_dropDmac, spec.ingMd_dropDmac_mask, 1);
    put_masked8(key, mask, 9, spec.ingMd_invalidEgressPort, spec.ingMd_invalidEgressPort_mask, 1);
    put_masked8(key, mask, 10, spec.ingMd_samePortBridging, spec.ingMd_samePortBridging_mask, 1);
    put_masked8(key, mask, 11, spec.qosMd_pdpDrop, spec.qosMd_pdpDrop_mask, 1);
    put_masked8(key, mask, 12, spec.ingMd_routedMartian, spec.ingMd_routedMartian_mask, 1);
    put_masked8(key, mask, 13, spec.ingMd_mlagPrune, spec.ingMd_mlagPrune_mask, 1);
    put_masked8(key, mask, 14, spec.ingMd_v4V6Valid, spec.ingMd_v4V6Valid_mask, 7);
    put_masked24(key, mask, 15, spec.egrMd_egrL2AintfUnresolved, spec.egrMd_egrL2AintfUnresolved_mask, 0xFFFFF);
    put_masked16(key, mask, 18, spec.ig_intr_md_for_tm_mcast_grp_a, spec.ig_intr_md_for_tm_mcast_grp_a_mask, 0xFFFF);
    put_masked8(key, mask, 20, spec.egrMd_routed, spec.egrMd_routed_mask, 1);
    put_masked8(key, mask, 21, spec.egrMd_trapToCpu, spec.egrMd_trapToCpu_mask, 1);
    put_masked8(key, mask, 22, spec.ingMd_dropVgwpVxlan, spec.ingMd_dropVgwpVxlan_mask, 1);
    put_masked8(key, mask, 23, spec.ingMd_dropDatalink, spec.ingMd_dropDatalink_mask, 1);
    put_masked8(key, mask, 24, spec.ingVlanStpCheck_stpBlocked, spec.ingVlanStpCheck_stpBlocked_mask, 1);
    put_masked8(key, mask, 25, spec.ingVlanStpCheck_invalidVlan, spec.ingVlanStpCheck_invalidVlan_mask, 1);
    put_masked8(key, mask, 26, spec.ingMd_dot1xDrop, spec.ingMd_dot1xDrop_mask, 1);
    put_masked8(key, mask, 27, spec.ig_intr_md_for_tm_copy_to_cpu, spec.ig_intr_md_for_tm_copy_to_cpu_mask, 1);
    put_masked8(key, mask, 28, spec.ingMd_stormControlDrop, spec.ingMd_stormControlDrop_mask, 1);
    put_masked8(key, mask, 29, spec.stflowMd_drop, spec.stflowMd_drop_mask, 1);
    put_masked8(key, mask, 30, spec.ingMd_bcast, spec.ingMd_bcast_mask, 1);
    put_masked8(key, mask, 31, spec.ingMd_mcast, spec.ingMd_mcast_mask, 1);
    match = {key, mask, 0, priority, 100, 32, 0};
}

inline void fill_flowWatchlist(const p4_pd_velmar_switch_flowWatchlist_match_spec_t& spec, uint32_t priority, Byte* key,
                               Byte* mask, pipe_match_record& match) {
    put16(key, spec.ig_intr_md_ingress_port);
    put16(mask, 0x1FF);
    put_masked32(key, mask, 2, spec.ingIpv4_sip, spec.ingIpv4_sip_mask, 0xFFFFFFFF);
    put_masked32(key, mask, 6, spec.ingIpv4_dip, spec.ingIpv4_dip_mask, 0xFFFFFFFF);
    put_masked8(key, mask, 10, spec.ingMd_protocol, spec.ingMd_protocol_mask, 0xFF);
    put_masked_block(key, mask, 11, spec.ingIpv6_sip, spec.ingIpv6_sip_mask);
    put_masked_block(key, mask, 27, spec.ingIpv6_dip, spec.ingIpv6_dip_mask);
    put_masked16(key, mask, 43, spec.ingMd_srcPort, spec.ingMd_srcPort_mask, 0xFFFF);
    put_masked16(key, mask, 45, spec.ingMd_dstPort, spec.ingMd_dstPort_mask, 0xFFFF);
    match = {key, mask, 0, priority, 369, 47, 0};
}

inline void fill_mirrorPacketEncap(const p4_pd_velmar_switch_mirrorPacketEncap_match_spec_t& spec, Byte* key,
                                   Byte* mask, pipe_match_record& match) {
    put16(key, spec.eg_intr_md_egress_rid);
    put16(key + 2, spec.eg_intr_md_egress_port);
    key[4] = spec.intReportFixedHdr_valid;
    std::memset(mask, 0xFF, 5);
    match = {key, mask, 0, 0, 26, 5, 0};
}

} // namespace

pd_status ipv4Host_add(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                       const p4_pd_velmar_switch_ipv4Host_match_spec_t* match_spec,
                       const p4_pd_velmar_switch_setNextHop_action_spec_t* action_spec, pd_entry* entry_hdl) noexcept {
    Byte key[5];
    Byte mask[5];
    pipe_match_record match;
    fill_ipv4Host(*match_spec, key, mask, match);
    Byte data[4];
    alignas(vl_pd::bytes::Vector) pipe_action_record action;
    clear(action, 32, 4, data);
    put32(data, action_spec->action_nextHop);
    return pipe_mgr_mat_ent_add(sess_hdl, to_driver(dev_tgt), 0x1000023, &match, 0x2000006A, &action, 0, 0, entry_hdl);
}

pd_status ipv4Host_find(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                        const p4_pd_velmar_switch_ipv4Host_match_spec_t* match_spec, pd_entry* entry_hdl) noexcept {
    Byte key[5];
    Byte mask[5];
    pipe_match_record match;
    fill_ipv4Host(*match_spec, key, mask, match);
    return pipe_mgr_match_spec_to_ent_hdl(sess_hdl, to_driver(dev_tgt), 0x1000023, &match, entry_hdl, 0);
}

pd_status ipv6Partition_add(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                            const p4_pd_velmar_switch_ipv6Partition_match_spec_t* match_spec,
                            const p4_pd_velmar_switch_setIpv6PrtIdxNextHop_action_spec_t* action_spec,
                            pd_entry* entry_hdl) noexcept {
    Byte key[17];
    Byte mask[17];
    pipe_match_record match;
    fill_ipv6Partition(*match_spec, key, mask, match);
    Byte data[6];
    alignas(vl_pd::bytes::Vector) pipe_action_record action;
    clear(action, 48, 6, data);
    put16(data, action_spec->action_partitionIndex);
    put32(data + 2, action_spec->action_nextHop);
    return pipe_mgr_mat_ent_add(sess_hdl, to_driver(dev_tgt), 0x1000035, &match, 0x2000008A, &action, 0, 0, entry_hdl);
}

pd_status ipv6Partition_find(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                             const p4_pd_velmar_switch_ipv6Partition_match_spec_t* match_spec,
                             pd_entry* entry_hdl) noexcept {
    Byte key[17];
    Byte mask[17];
    pipe_match_record match;
    fill_ipv6Partition(*match_spec, key, mask, match);
    return pipe_mgr_match_spec_to_ent_hdl(sess_hdl, to_driver(dev_tgt), 0x1000035, &match, entry_hdl, 0);
}

pd_status ipv4FinalResolve0_add(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                                const p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_t* match_spec,
                                const p4_pd_velmar_switch_setNextHop0First_action_spec_t* action_spec,
                                pd_entry* entry_hdl) noexcept {
    Byte key[6];
    Byte mask[6];
    pipe_match_record match;
    fill_ipv4FinalResolve0(*match_spec, key, mask, match);
    Byte data[4];
    alignas(vl_pd::bytes::Vector) pipe_action_record action;
    clear(action, 32, 4, data);
    put32(data, action_spec->action_nextHop);
    return pipe_mgr_mat_ent_add(sess_hdl, to_driver(dev_tgt), 0x1000033, &match, 0x20000085, &action, 0, 0, entry_hdl);
}

pd_status ipv4FinalResolve0_find(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                                 const p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_t* match_spec,
                                 pd_entry* entry_hdl) noexcept {
    Byte key[6];
    Byte mask[6];
    pipe_match_record match;
    fill_ipv4FinalResolve0(*match_spec, key, mask, match);
    return pipe_mgr_match_spec_to_ent_hdl(sess_hdl, to_driver(dev_tgt), 0x1000033, &match, entry_hdl, 0);
}

pd_status trapToCpu_add(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                        const p4_pd_velmar_switch_trapToCpu_match_spec_t* match_spec, uint32_t priority,
                        const p4_pd_velmar_switch_copyPacket_action_spec_t* action_spec, pd_entry* entry_hdl) noexcept {
    Byte key[44];
    Byte mask[44];
    pipe_match_record match;
    fill_trapToCpu(*match_spec, priority, key, mask, match);
    Byte data[2];
    alignas(vl_pd::bytes::Vector) pipe_action_record action;
    clear(action, 9, 2, data);
    data[0] = action_spec->action_cpuReasonCode;
    data[1] = action_spec->action_llm;
    action.resource_count = 1;
    action.slots[0].resource_hdl = 0x4000004;
    action.slots[0].tag = PIPE_SLOT_ATTACHED;
    return pipe_mgr_mat_ent_add(sess_hdl, to_driver(dev_tgt), 0x1000040, &match, 0x200000C5, &action, 0, 0, entry_hdl);
}

pd_status trapToCpu_find(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                         const p4_pd_velmar_switch_trapToCpu_match_spec_t* match_spec, uint32_t priority,
                         pd_entry* entry_hdl) noexcept {
    Byte key[44];
    Byte mask[44];
    pipe_match_record match;
    fill_trapToCpu(*match_spec, priority, key, mask, match);
    return pipe_mgr_match_spec_to_ent_hdl(sess_hdl, to_driver(dev_tgt), 0x1000040, &match, entry_hdl, 0);
}

pd_status finalDropControl_add(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                               const p4_pd_velmar_switch_finalDropControl_match_spec_t* match_spec, uint32_t priority,
                               const p4_pd_velmar_switch_dropCountAndMirror_action_spec_t* action_spec,
                               pd_entry* entry_hdl) noexcept {
    Byte key[32];
    Byte mask[32];
    pipe_match_record match;
    fill_finalDropControl(*match_spec, priority, key, mask, match);
    Byte data[3];
    alignas(vl_pd::bytes::Vector) pipe_action_record action;
    clear(action, 18, 3, data);
    data[0] = action_spec->action_dropReason;
    put16(data + 1, action_spec->action_mirrorSession);
    action.resource_count = 1;
    action.slots[0].resource_hdl = 0x4000007;
    action.slots[0].tag = PIPE_SLOT_ATTACHED;
    return pipe_mgr_mat_ent_add(sess_hdl, to_driver(dev_tgt), 0x1000064, &match, 0x20000109, &action, 0, 0, entry_hdl);
}

pd_status finalDropControl_find(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                                const p4_pd_velmar_switch_finalDropControl_match_spec_t* match_spec, uint32_t priority,
                                pd_entry* entry_hdl) noexcept {
    Byte key[32];
    Byte mask[32];
    pipe_match_record match;
    fill_finalDropControl(*match_spec, priority, key, mask, match);
    return pipe_mgr_match_spec_to_ent_hdl(sess_hdl, to_driver(dev_tgt), 0x1000064, &match, entry_hdl, 0);
}

pd_status flowWatchlist_add(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                            const p4_pd_velmar_switch_flowWatchlist_match_spec_t* match_spec, uint32_t priority,
                            pd_entry* entry_hdl) noexcept {
    Byte key[47];
    Byte mask[47];
    pipe_match_record match;
    fill_flowWatchlist(*match_spec, priority, key, mask, match);
    Byte data[1];
    alignas(vl_pd::bytes::Vector) pipe_action_record action;
    clear(action, 0, 0, data);
    return pipe_mgr_mat_ent_add(sess_hdl, to_driver(dev_tgt), 0x100004D, &match, 0x200000F1, &action, 0, 0, entry_hdl);
}

pd_status flowWatchlist_find(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                             const p4_pd_velmar_switch_flowWatchlist_match_spec_t* match_spec, uint32_t priority,
                             pd_entry* entry_hdl) noexcept {
    Byte key[47];
    Byte mask[47];
    pipe_match_record match;
    fill_flowWatchlist(*match_spec, priority, key, mask, match);
    return pipe_mgr_match_spec_to_ent_hdl(sess_hdl, to_driver(dev_tgt), 0x100004D, &match, entry_hdl, 0);
}

pd_status mirrorPacketEncap_add(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                                const p4_pd_velmar_switch_mirrorPacketEncap_match_spec_t* match_spec,
                                const p4_pd_velmar_switch_setMirrorPacketEncapIntIpv4_action_spec_t* action_spec,
                                pd_entry* entry_hdl) noexcept {
    Byte key[5];
    Byte mask[5];
    pipe_match_record match;
    fill_mirrorPacketEncap(*match_spec, key, mask, match);
    Byte data[24];
    alignas(vl_pd::bytes::Vector) pipe_action_record action;
    clear(action, 186, 24, data);
    put32(data, action_spec->action_srcIp);
    put32(data + 4, action_spec->action_dstIp);
    data[8] = action_spec->action_ttl;
    data[9] = action_spec->action_dscp;
    put16(data + 10, action_spec->action_vlanId);
    put24(data + 12, action_spec->action_dmacOui);
    put24(data + 15, action_spec->action_dmacStation);
    put32(data + 18, action_spec->action_switchId);
    put16(data + 22, action_spec->action_dstPort);
    action.resource_count = 1;
    action.slots[0].resource_hdl = 0x6000008;
    action.slots[0].index = 1;
    action.slots[0].tag = PIPE_SLOT_ATTACHED;
    return pipe_mgr_mat_ent_add(sess_hdl, to_driver(dev_tgt), 0x100006B, &match, 0x20000159, &action, 0, 0, entry_hdl);
}

pd_status mirrorPacketEncap_find(pd_session sess_hdl, pd_dev_tgt dev_tgt,
                                 const p4_pd_velmar_switch_mirrorPacketEncap_match_spec_t* match_spec,
                                 pd_entry* entry_hdl) noexcept {
    Byte key[5];
    Byte mask[5];
    pipe_match_record match;
    fill_mirrorPacketEncap(*match_spec, key, mask, match);
    return pipe_mgr_match_spec_to_ent_hdl(sess_hdl, to_driver(dev_tgt), 0x100006B, &match, entry_hdl, 0);
}

} // namespace by_hand
