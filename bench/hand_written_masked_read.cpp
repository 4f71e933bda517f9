// Reads of masked tables written by hand, like those of the other tables.
#include "hand_written_read.h"

namespace by_hand {

namespace {

inline void decode(const Byte* data, p4_pd_velmar_switch_copyPacket_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_cpuReasonCode = data[0];
    spec->action_llm = data[1];
}

// The other actions tell the CPU a reason, or mirror what they drop.
template <class Spec>
inline void decode(const Byte* data, Spec* spec) {
    std::memset(spec, 0, sizeof *spec);
    if constexpr (requires { spec->action_cpuReasonCode; }) {
        spec->action_cpuReasonCode = data[0];
    } else {
        spec->action_dropReason = data[0];
        spec->action_mirrorSession = get16(data + 1);
    }
}

} // namespace

pd_status trapToCpu_read(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                         p4_pd_velmar_switch_trapToCpu_match_spec_t* match_spec, uint32_t* priority, char* action_name,
                         void* action_spec, uint32_t* action_id, uint8_t* is_default) noexcept {
    Byte key[44] = {};
    Byte mask[44] = {};
    Answer answer(key, mask, 287, 44);
    constexpr const char* function = "p4_pd_velmar_switch_trapToCpu_get_entry";
    Resources resources;
    pd_status status = answer.ask(sess_hdl, dev_id, 0x1000040, entry_hdl, read_from_hw, function, resources);
    if (status != PD_STATUS_OK) return status;

    switch (answer.act_hdl) {
        VL_ACTION_WITH_PARAMETERS(0x200000c4, trapPacket);
        VL_ACTION_WITH_PARAMETERS(0x200000c5, copyPacket);
        VL_ACTION(0x200000c6, setLlm);
        VL_ACTION(0x200000c7, noOp);
        VL_ACTION(0x200000c8, NoAction);
    default:
        log_unexpected("\"((void *)0)\" (NULL)", function, __LINE__);
        status = PD_STATUS_UNEXPECTED;
    }

    *priority = answer.match.priority;
    std::memset(match_spec, 0, sizeof *match_spec);
    *is_default = !answer.has_key();
    if (*is_default) return status;
    get_masked16(key, mask, 0, match_spec->ingMd_etherType, match_spec->ingMd_etherType_mask);
    get_masked8(key, mask, 2, match_spec->ingMd_bcast, match_spec->ingMd_bcast_mask);
    get_masked8(key, mask, 3, match_spec->ingMd_mcast, match_spec->ingMd_mcast_mask);
    get_masked8(key, mask, 4, match_spec->ingMd_l4Attr, match_spec->ingMd_l4Attr_mask);
    get_masked16(key, mask, 5, match_spec->ingMd_srcPort, match_spec->ingMd_srcPort_mask);
    get_masked16(key, mask, 7, match_spec->ingMd_dstPort, match_spec->ingMd_dstPort_mask);
    get_masked16(key, mask, 9, match_spec->phase0_ingVPort, match_spec->phase0_ingVPort_mask);
    get_masked16(key, mask, 11, match_spec->ingMd_ingL3Aintf, match_spec->ingMd_ingL3Aintf_mask);
    get_masked8(key, mask, 13, match_spec->l3Info_ingL3DmacValid, match_spec->l3Info_ingL3DmacValid_mask);
    get_masked8(key, mask, 14, match_spec->ingMd_ttl, match_spec->ingMd_ttl_mask);
    get_masked8(key, mask, 15, match_spec->arpHdr_valid, match_spec->arpHdr_valid_mask);
    get_masked16(key, mask, 16, match_spec->arpHdr_opcode, match_spec->arpHdr_opcode_mask);
    get_masked8(key, mask, 18, match_spec->ingMd_igmpSnoopingEnabled, match_spec->ingMd_igmpSnoopingEnabled_mask);
    get_masked32(key, mask, 19, match_spec->ingIpv4_dip, match_spec->ingIpv4_dip_mask);
    get_masked8(key, mask, 23, match_spec->ingMd_protocol, match_spec->ingMd_protocol_mask);
    get_masked8(key, mask, 24, match_spec->egrMd_vxlanFlood, match_spec->egrMd_vxlanFlood_mask);
    get_masked8(key, mask, 25, match_spec->egrMd_decapType, match_spec->egrMd_decapType_mask);
    std::memcpy(match_spec->ingIpv6_dip, key + 26, 16);
    std::memcpy(match_spec->ingIpv6_dip_mask, mask + 26, 16);
    get_masked8(key, mask, 42, match_spec->ingMd_cpuMemberOfIngressVlan, match_spec->ingMd_cpuMemberOfIngressVlan_mask);
    get_masked8(key, mask, 43, match_spec->egrMd_cpuReasonCode, match_spec->egrMd_cpuReasonCode_mask);
    return status;
}

pd_status finalDropControl_read(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                                p4_pd_velmar_switch_finalDropControl_match_spec_t* match_spec, uint32_t* priority,
                                char* action_name, void* action_spec, uint32_t* action_id,
                                uint8_t* is_default) noexcept {
    Byte key[32] = {};
    Byte mask[32] = {};
    Answer answer(key, mask, 100, 32);
    constexpr const char* function = "p4_pd_velmar_switch_finalDropControl_get_entry";
    Resources resources;
    pd_status status = answer.ask(sess_hdl, dev_id, 0x1000064, entry_hdl, read_from_hw, function, resources);
    if (status != PD_STATUS_OK) return status;

    switch (answer.act_hdl) {
        VL_ACTION(0x20000104, accept);
        VL_ACTION_WITH_PARAMETERS(0x20000105, acceptLog);
        VL_ACTION(0x20000106, dropCount);
        VL_ACTION_WITH_PARAMETERS(0x20000107, dropCountAndLog);
        VL_ACTION(0x20000108, finalDrop);
        VL_ACTION_WITH_PARAMETERS(0x20000109, dropCountAndMirror);
        VL_ACTION_WITH_PARAMETERS(0x2000010a, dropCountAndLogAndMirror);
        VL_ACTION_WITH_PARAMETERS(0x2000010b, finalDropAndMirror);
    default:
        log_unexpected("\"((void *)0)\" (NULL)", function, __LINE__);
        status = PD_STATUS_UNEXPECTED;
    }

    *priority = answer.match.priority;
    std::memset(match_spec, 0, sizeof *match_spec);
    *is_default = !answer.has_key();
    if (*is_default) return status;
    get_masked16(key, mask, 0, match_spec->ig_intr_md_ingress_port, match_spec->ig_intr_md_ingress_port_mask);
    get_masked32(key, mask, 2, match_spec->haloResultRow1_bestResult, match_spec->haloResultRow1_bestResult_mask);
    get_masked8(key, mask, 6, match_spec->ingMd_drop, match_spec->ingMd_drop_mask);
    get_masked8(key, mask, 7, match_spec->ingMd_dropSmac, match_spec->ingMd_dropSmac_mask);
    get_masked8(key, mask, 8, match_spec->ingMd_dropDmac, match_spec->ingMd_dropDmac_mask);
    get_masked8(key, mask, 9, match_spec->ingMd_invalidEgressPort, match_spec->ingMd_invalidEgressPort_mask);
    get_masked8(key, mask, 10, match_spec->ingMd_samePortBridging, match_spec->ingMd_samePortBridging_mask);
    get_masked8(key, mask, 11, match_spec->qosMd_pdpDrop, match_spec->qosMd_pdpDrop_mask);
    get_masked8(key, mask, 12, match_spec->ingMd_routedMartian, match_spec->ingMd_routedMartian_mask);
    get_masked8(key, mask, 13, match_spec->ingMd_mlagPrune, match_spec->ingMd_mlagPrune_mask);
    get_masked8(key, mask, 14, match_spec->ingMd_v4V6Valid, match_spec->ingMd_v4V6Valid_mask);
    get_masked24(key, mask, 15, match_spec->egrMd_egrL2AintfUnresolved, match_spec->egrMd_egrL2AintfUnresolved_mask);
    get_masked16(key, mask, 18, match_spec->ig_intr_md_for_tm_mcast_grp_a,
                 match_spec->ig_intr_md_for_tm_mcast_grp_a_mask);
    get_masked8(key, mask, 20, match_spec->egrMd_routed, match_spec->egrMd_routed_mask);
    get_masked8(key, mask, 21, match_spec->egrMd_trapToCpu, match_spec->egrMd_trapToCpu_mask);
    get_masked8(key, mask, 22, match_spec->ingMd_dropVgwpVxlan, match_spec->ingMd_dropVgwpVxlan_mask);
    get_masked8(key, mask, 23, match_spec->ingMd_dropDatalink, match_spec->ingMd_dropDatalink_mask);
    get_masked8(key, mask, 24, match_spec->ingVlanStpCheck_stpBlocked, match_spec->ingVlanStpCheck_stpBlocked_mask);
    get_masked8(key, mask, 25, match_spec->ingVlanStpCheck_invalidVlan, match_spec->ingVlanStpCheck_invalidVlan_mask);
    get_masked8(key, mask, 26, match_spec->ingMd_dot1xDrop, match_spec->ingMd_dot1xDrop_mask);
    get_masked8(key, mask, 27, match_spec->ig_intr_md_for_tm_copy_to_cpu,
                match_spec->ig_intr_md_for_tm_copy_to_cpu_mask);
    get_masked8(key, mask, 28, match_spec->ingMd_stormControlDrop, match_spec->ingMd_stormControlDrop_mask);
    get_masked8(key, mask, 29, match_spec->stflowMd_drop, match_spec->stflowMd_drop_mask);
    get_masked8(key, mask, 30, match_spec->ingMd_bcast, match_spec->ingMd_bcast_mask);
    get_masked8(key, mask, 31, match_spec->ingMd_mcast, match_spec->ingMd_mcast_mask);
    return status;
}

pd_status flowWatchlist_read(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                             p4_pd_velmar_switch_flowWatchlist_match_spec_t* match_spec, uint32_t* priority,
                             char* action_name, void*, uint32_t* action_id, uint8_t* is_default) noexcept {
    Byte key[47] = {};
    Byte mask[47] = {};
    Answer answer(key, mask, 369, 47);
    constexpr const char* function = "p4_pd_velmar_switch_flowWatchlist_get_entry";
    Resources resources;
    pd_status status = answer.ask(sess_hdl, dev_id, 0x100004D, entry_hdl, read_from_hw, function, resources);
    if (status != PD_STATUS_OK) return status;

    switch (answer.act_hdl) {
        VL_ACTION(0x200000f1, intPermit);
        VL_ACTION(0x200000f2, intDeny);
    default:
        log_unexpected("\"((void *)0)\" (NULL)", function, __LINE__);
        status = PD_STATUS_UNEXPECTED;
    }

    *priority = answer.match.priority;
    std::memset(match_spec, 0, sizeof *match_spec);
    *is_default = !answer.has_key();
    if (*is_default) return status;
    match_spec->ig_intr_md_ingress_port = get16(key);
    get_masked32(key, mask, 2, match_spec->ingIpv4_sip, match_spec->ingIpv4_sip_mask);
    get_masked32(key, mask, 6, match_spec->ingIpv4_dip, match_spec->ingIpv4_dip_mask);
    get_masked8(key, mask, 10, match_spec->ingMd_protocol, match_spec->ingMd_protocol_mask);
    std::memcpy(match_spec->ingIpv6_sip, key + 11, 16);
    std::memcpy(match_spec->ingIpv6_sip_mask, mask + 11, 16);
    std::memcpy(match_spec->ingIpv6_dip, key + 27, 16);
    std::memcpy(match_spec->ingIpv6_dip_mask, mask + 27, 16);
    get_masked16(key, mask, 43, match_spec->ingMd_srcPort, match_spec->ingMd_srcPort_mask);
    get_masked16(key, mask, 45, match_spec->ingMd_dstPort, match_spec->ingMd_dstPort_mask);
    return status;
}

} // namespace by_hand
