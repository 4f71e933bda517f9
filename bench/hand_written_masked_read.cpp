// Reads of masked tables written by hand, as those of the other tables.
#include "hand_written_read.h"

namespace by_hand {

namespace {

inline void decode(const Byte* data, p4_pd_velmar_switch_trapPacket_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_cpuReasonCode = data[0];
}

inline void decode(const Byte* data, p4_pd_velmar_switch_copyPacket_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_cpuReasonCode = data[0];
    spec->action_llm = data[1];
}

inline void decode(const Byte* data, p4_pd_velmar_switch_acceptLog_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_cpuReasonCode = data[0];
}

inline void decode(const Byte* data, p4_pd_velmar_switch_dropCountAndLog_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_cpuReasonCode = data[0];
}

inline void decode(const Byte* data, p4_pd_velmar_switch_dropCountAndMirror_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_dropReason = data[0];
    spec->action_mirrorSession = get16(data + 1);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_dropCountAndLogAndMirror_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_dropReason = data[0];
    spec->action_mirrorSession = get16(data + 1);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_finalDropAndMirror_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_dropReason = data[0];
    spec->action_mirrorSession = get16(data + 1);
}

} // namespace

pd_status trapToCpu_read(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                         p4_pd_velmar_switch_trapToCpu_match_spec_t* match_spec, uint32_t* priority, char* action_name,
                         void* action_spec, uint32_t* action_id, uint8_t* is_default) noexcept {
    Byte key[44] = {};
    Byte mask[44] = {};
    Answer answer(key, mask, 287, 44);
    if (const pd_status refused = answer.ask(sess_hdl, dev_id, 0x1000040, entry_hdl, read_from_hw); refused != 0)
        return refused;
    constexpr const char* function = "p4_pd_velmar_switch_trapToCpu_get_entry";
    if (answer.action.kind != PIPE_KIND_ACTION_DATA) {
        log_unexpected("\"0\" (0)", function, __LINE__);
        return PD_STATUS_UNEXPECTED;
    }
    Resources resources;
    if (!resources.list(answer.action)) return PD_STATUS_NO_MEMORY;

    pd_status status = PD_STATUS_OK;
    const Byte* const data = answer.data;
    switch (answer.act_hdl) {
    case 0x200000c4:
        tell("p4_pd_velmar_switch_trapPacket", p4_pd_velmar_switch_action_trapPacket, action_name, action_id);
        decode(data, static_cast<p4_pd_velmar_switch_trapPacket_action_spec_t*>(action_spec));
        break;
    case 0x200000c5:
        tell("p4_pd_velmar_switch_copyPacket", p4_pd_velmar_switch_action_copyPacket, action_name, action_id);
        decode(data, static_cast<p4_pd_velmar_switch_copyPacket_action_spec_t*>(action_spec));
        break;
    case 0x200000c6:
        tell("p4_pd_velmar_switch_setLlm", p4_pd_velmar_switch_action_setLlm, action_name, action_id);
        break;
    case 0x200000c7:
        tell("p4_pd_velmar_switch_noOp", p4_pd_velmar_switch_action_noOp, action_name, action_id);
        break;
    case 0x200000c8:
        tell("p4_pd_velmar_switch_NoAction", p4_pd_velmar_switch_action_NoAction, action_name, action_id);
        break;
    default:
        log_unexpected("\"((void *)0)\" (NULL)", function, __LINE__);
        status = PD_STATUS_UNEXPECTED;
    }

    *priority = answer.match.priority;
    std::memset(match_spec, 0, sizeof *match_spec);
    *is_default = !answer.has_key();
    if (*is_default) return status;
    match_spec->ingMd_etherType = get16(key);
    match_spec->ingMd_etherType_mask = get16(mask);
    match_spec->ingMd_bcast = key[2];
    match_spec->ingMd_bcast_mask = mask[2];
    match_spec->ingMd_mcast = key[3];
    match_spec->ingMd_mcast_mask = mask[3];
    match_spec->ingMd_l4Attr = key[4];
    match_spec->ingMd_l4Attr_mask = mask[4];
    match_spec->ingMd_srcPort = get16(key + 5);
    match_spec->ingMd_srcPort_mask = get16(mask + 5);
    match_spec->ingMd_dstPort = get16(key + 7);
    match_spec->ingMd_dstPort_mask = get16(mask + 7);
    match_spec->phase0_ingVPort = get16(key + 9);
    match_spec->phase0_ingVPort_mask = get16(mask + 9);
    match_spec->ingMd_ingL3Aintf = get16(key + 11);
    match_spec->ingMd_ingL3Aintf_mask = get16(mask + 11);
    match_spec->l3Info_ingL3DmacValid = key[13];
    match_spec->l3Info_ingL3DmacValid_mask = mask[13];
    match_spec->ingMd_ttl = key[14];
    match_spec->ingMd_ttl_mask = mask[14];
    match_spec->arpHdr_valid = key[15];
    match_spec->arpHdr_valid_mask = mask[15];
    match_spec->arpHdr_opcode = get16(key + 16);
    match_spec->arpHdr_opcode_mask = get16(mask + 16);
    match_spec->ingMd_igmpSnoopingEnabled = key[18];
    match_spec->ingMd_igmpSnoopingEnabled_mask = mask[18];
    match_spec->ingIpv4_dip = get32(key + 19);
    match_spec->ingIpv4_dip_mask = get32(mask + 19);
    match_spec->ingMd_protocol = key[23];
    match_spec->ingMd_protocol_mask = mask[23];
    match_spec->egrMd_vxlanFlood = key[24];
    match_spec->egrMd_vxlanFlood_mask = mask[24];
    match_spec->egrMd_decapType = key[25];
    match_spec->egrMd_decapType_mask = mask[25];
    std::memcpy(match_spec->ingIpv6_dip, key + 26, 16);
    std::memcpy(match_spec->ingIpv6_dip_mask, mask + 26, 16);
    match_spec->ingMd_cpuMemberOfIngressVlan = key[42];
    match_spec->ingMd_cpuMemberOfIngressVlan_mask = mask[42];
    match_spec->egrMd_cpuReasonCode = key[43];
    match_spec->egrMd_cpuReasonCode_mask = mask[43];
    return status;
}

pd_status finalDropControl_read(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                                p4_pd_velmar_switch_finalDropControl_match_spec_t* match_spec, uint32_t* priority,
                                char* action_name, void* action_spec, uint32_t* action_id,
                                uint8_t* is_default) noexcept {
    Byte key[32] = {};
    Byte mask[32] = {};
    Answer answer(key, mask, 100, 32);
    if (const pd_status refused = answer.ask(sess_hdl, dev_id, 0x1000064, entry_hdl, read_from_hw); refused != 0)
        return refused;
    constexpr const char* function = "p4_pd_velmar_switch_finalDropControl_get_entry";
    if (answer.action.kind != PIPE_KIND_ACTION_DATA) {
        log_unexpected("\"0\" (0)", function, __LINE__);
        return PD_STATUS_UNEXPECTED;
    }
    Resources resources;
    if (!resources.list(answer.action)) return PD_STATUS_NO_MEMORY;

    pd_status status = PD_STATUS_OK;
    const Byte* const data = answer.data;
    switch (answer.act_hdl) {
    case 0x20000104:
        tell("p4_pd_velmar_switch_accept", p4_pd_velmar_switch_action_accept, action_name, action_id);
        break;
    case 0x20000105:
        tell("p4_pd_velmar_switch_acceptLog", p4_pd_velmar_switch_action_acceptLog, action_name, action_id);
        decode(data, static_cast<p4_pd_velmar_switch_acceptLog_action_spec_t*>(action_spec));
        break;
    case 0x20000106:
        tell("p4_pd_velmar_switch_dropCount", p4_pd_velmar_switch_action_dropCount, action_name, action_id);
        break;
    case 0x20000107:
        tell("p4_pd_velmar_switch_dropCountAndLog", p4_pd_velmar_switch_action_dropCountAndLog, action_name, action_id);
        decode(data, static_cast<p4_pd_velmar_switch_dropCountAndLog_action_spec_t*>(action_spec));
        break;
    case 0x20000108:
        tell("p4_pd_velmar_switch_finalDrop", p4_pd_velmar_switch_action_finalDrop, action_name, action_id);
        break;
    case 0x20000109:
        tell("p4_pd_velmar_switch_dropCountAndMirror", p4_pd_velmar_switch_action_dropCountAndMirror, action_name,
             action_id);
        decode(data, static_cast<p4_pd_velmar_switch_dropCountAndMirror_action_spec_t*>(action_spec));
        break;
    case 0x2000010a:
        tell("p4_pd_velmar_switch_dropCountAndLogAndMirror", p4_pd_velmar_switch_action_dropCountAndLogAndMirror,
             action_name, action_id);
        decode(data, static_cast<p4_pd_velmar_switch_dropCountAndLogAndMirror_action_spec_t*>(action_spec));
        break;
    case 0x2000010b:
        tell("p4_pd_velmar_switch_finalDropAndMirror", p4_pd_velmar_switch_action_finalDropAndMirror, action_name,
             action_id);
        decode(data, static_cast<p4_pd_velmar_switch_finalDropAndMirror_action_spec_t*>(action_spec));
        break;
    default:
        log_unexpected("\"((void *)0)\" (NULL)", function, __LINE__);
        status = PD_STATUS_UNEXPECTED;
    }

    *priority = answer.match.priority;
    std::memset(match_spec, 0, sizeof *match_spec);
    *is_default = !answer.has_key();
    if (*is_default) return status;
    match_spec->ig_intr_md_ingress_port = get16(key);
    match_spec->ig_intr_md_ingress_port_mask = get16(mask);
    match_spec->haloResultRow1_bestResult = get32(key + 2);
    match_spec->haloResultRow1_bestResult_mask = get32(mask + 2);
    match_spec->ingMd_drop = key[6];
    match_spec->ingMd_drop_mask = mask[6];
    match_spec->ingMd_dropSmac = key[7];
    match_spec->ingMd_dropSmac_mask = mask[7];
    match_spec->ingMd_dropDmac = key[8];
    match_spec->ingMd_dropDmac_mask = mask[8];
    match_spec->ingMd_invalidEgressPort = key[9];
    match_spec->ingMd_invalidEgressPort_mask = mask[9];
    match_spec->ingMd_samePortBridging = key[10];
    match_spec->ingMd_samePortBridging_mask = mask[10];
    match_spec->qosMd_pdpDrop = key[11];
    match_spec->qosMd_pdpDrop_mask = mask[11];
    match_spec->ingMd_routedMartian = key[12];
    match_spec->ingMd_routedMartian_mask = mask[12];
    match_spec->ingMd_mlagPrune = key[13];
    match_spec->ingMd_mlagPrune_mask = mask[13];
    match_spec->ingMd_v4V6Valid = key[14];
    match_spec->ingMd_v4V6Valid_mask = mask[14];
    match_spec->egrMd_egrL2AintfUnresolved = get24(key + 15);
    match_spec->egrMd_egrL2AintfUnresolved_mask = get24(mask + 15);
    match_spec->ig_intr_md_for_tm_mcast_grp_a = get16(key + 18);
    match_spec->ig_intr_md_for_tm_mcast_grp_a_mask = get16(mask + 18);
    match_spec->egrMd_routed = key[20];
    match_spec->egrMd_routed_mask = mask[20];
    match_spec->egrMd_trapToCpu = key[21];
    match_spec->egrMd_trapToCpu_mask = mask[21];
    match_spec->ingMd_dropVgwpVxlan = key[22];
    match_spec->ingMd_dropVgwpVxlan_mask = mask[22];
    match_spec->ingMd_dropDatalink = key[23];
    match_spec->ingMd_dropDatalink_mask = mask[23];
    match_spec->ingVlanStpCheck_stpBlocked = key[24];
    match_spec->ingVlanStpCheck_stpBlocked_mask = mask[24];
    match_spec->ingVlanStpCheck_invalidVlan = key[25];
    match_spec->ingVlanStpCheck_invalidVlan_mask = mask[25];
    match_spec->ingMd_dot1xDrop = key[26];
    match_spec->ingMd_dot1xDrop_mask = mask[26];
    match_spec->ig_intr_md_for_tm_copy_to_cpu = key[27];
    match_spec->ig_intr_md_for_tm_copy_to_cpu_mask = mask[27];
    match_spec->ingMd_stormControlDrop = key[28];
    match_spec->ingMd_stormControlDrop_mask = mask[28];
    match_spec->stflowMd_drop = key[29];
    match_spec->stflowMd_drop_mask = mask[29];
    match_spec->ingMd_bcast = key[30];
    match_spec->ingMd_bcast_mask = mask[30];
    match_spec->ingMd_mcast = key[31];
    match_spec->ingMd_mcast_mask = mask[31];
    return status;
}

pd_status flowWatchlist_read(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                             p4_pd_velmar_switch_flowWatchlist_match_spec_t* match_spec, uint32_t* priority,
                             char* action_name, void*, uint32_t* action_id, uint8_t* is_default) noexcept {
    Byte key[47] = {};
    Byte mask[47] = {};
    Answer answer(key, mask, 369, 47);
    if (const pd_status refused = answer.ask(sess_hdl, dev_id, 0x100004D, entry_hdl, read_from_hw); refused != 0)
        return refused;
    constexpr const char* function = "p4_pd_velmar_switch_flowWatchlist_get_entry";
    if (answer.action.kind != PIPE_KIND_ACTION_DATA) {
        log_unexpected("\"0\" (0)", function, __LINE__);
        return PD_STATUS_UNEXPECTED;
    }
    Resources resources;
    if (!resources.list(answer.action)) return PD_STATUS_NO_MEMORY;

    pd_status status = PD_STATUS_OK;
    [[maybe_unused]] const Byte* const data = answer.data;
    switch (answer.act_hdl) {
    case 0x200000f1:
        tell("p4_pd_velmar_switch_intPermit", p4_pd_velmar_switch_action_intPermit, action_name, action_id);
        break;
    case 0x200000f2:
        tell("p4_pd_velmar_switch_intDeny", p4_pd_velmar_switch_action_intDeny, action_name, action_id);
        break;
    default:
        log_unexpected("\"((void *)0)\" (NULL)", function, __LINE__);
        status = PD_STATUS_UNEXPECTED;
    }

    *priority = answer.match.priority;
    std::memset(match_spec, 0, sizeof *match_spec);
    *is_default = !answer.has_key();
    if (*is_default) return status;
    match_spec->ig_intr_md_ingress_port = get16(key);
    match_spec->ingIpv4_sip = get32(key + 2);
    match_spec->ingIpv4_sip_mask = get32(mask + 2);
    match_spec->ingIpv4_dip = get32(key + 6);
    match_spec->ingIpv4_dip_mask = get32(mask + 6);
    match_spec->ingMd_protocol = key[10];
    match_spec->ingMd_protocol_mask = mask[10];
    std::memcpy(match_spec->ingIpv6_sip, key + 11, 16);
    std::memcpy(match_spec->ingIpv6_sip_mask, mask + 11, 16);
    std::memcpy(match_spec->ingIpv6_dip, key + 27, 16);
    std::memcpy(match_spec->ingIpv6_dip_mask, mask + 27, 16);
    match_spec->ingMd_srcPort = get16(key + 43);
    match_spec->ingMd_srcPort_mask = get16(mask + 43);
    match_spec->ingMd_dstPort = get16(key + 45);
    match_spec->ingMd_dstPort_mask = get16(mask + 45);
    return status;
}

} // namespace by_hand
