// Reads of exact and prefix tables written by hand. An entry's action is found by a switch over the handles that its
// table has, and key and parameters are decoded field by field.
#include "hand_written_read.h"

#include <bit>

namespace by_hand {

namespace {

inline void decode(const Byte* data, p4_pd_velmar_switch_setEcmp_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_ecmpGroup = get32(data);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setNextHop_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_nextHop = get32(data);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setNextHop2_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_nextHop = get32(data);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setNextHop3_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_nextHop = get32(data);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setIpv6PrtIdxNextHop_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_partitionIndex = get16(data);
    spec->action_nextHop = get32(data + 2);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setIpv6PrtIdxNextHop2_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_partitionIndex = get16(data);
    spec->action_nextHop = get32(data + 2);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setIpv6PrtIdxNextHop3_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_partitionIndex = get16(data);
    spec->action_nextHop = get32(data + 2);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setIpv6PrtIdxEcmp_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_partitionIndex = get16(data);
    spec->action_ecmpGroup = get32(data + 2);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setNextHop0First_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_nextHop = get32(data);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setNextHop2First_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_nextHop = get32(data);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setNextHop3First_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_nextHop = get32(data);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setNextHop1First_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_nextHop = get32(data);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setMirrorPacketEncapCpu_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_lynSessionId = data[0];
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setMirrorPacketEncapGreIpv4_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_srcIp = get32(data);
    spec->action_dstIp = get32(data + 4);
    spec->action_ttl = data[8];
    spec->action_dscp = data[9];
    spec->action_greProto = get16(data + 10);
    spec->action_vlanId = get16(data + 12);
    spec->action_dmacOui = get24(data + 14);
    spec->action_dmacStation = get24(data + 17);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setMirrorPacketEncapIntIpv4_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_srcIp = get32(data);
    spec->action_dstIp = get32(data + 4);
    spec->action_ttl = data[8];
    spec->action_dscp = data[9];
    spec->action_vlanId = get16(data + 10);
    spec->action_dmacOui = get24(data + 12);
    spec->action_dmacStation = get24(data + 15);
    spec->action_switchId = get32(data + 18);
    spec->action_dstPort = get16(data + 22);
}

} // namespace

pd_status ipv4Host_read(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                        p4_pd_velmar_switch_ipv4Host_match_spec_t* match_spec, char* action_name, void* action_spec,
                        uint32_t* action_id, uint8_t* is_default) noexcept {
    Byte key[5] = {};
    Byte mask[5] = {};
    Answer answer(key, mask, 40, 5);
    if (const pd_status refused = answer.ask(sess_hdl, dev_id, 0x1000023, entry_hdl, read_from_hw); refused != 0)
        return refused;
    constexpr const char* function = "p4_pd_velmar_switch_ipv4Host_get_entry";
    if (answer.action.kind != PIPE_KIND_ACTION_DATA) {
        log_unexpected("\"0\" (0)", function, __LINE__);
        return PD_STATUS_UNEXPECTED;
    }
    Resources resources;
    if (!resources.list(answer.action)) return PD_STATUS_NO_MEMORY;

    pd_status status = PD_STATUS_OK;
    const Byte* const data = answer.data;
    switch (answer.act_hdl) {
    case 0x20000069:
        tell("p4_pd_velmar_switch_setEcmp", p4_pd_velmar_switch_action_setEcmp, action_name, action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setEcmp_action_spec_t*>(action_spec));
        break;
    case 0x2000006a:
        tell("p4_pd_velmar_switch_setNextHop", p4_pd_velmar_switch_action_setNextHop, action_name, action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setNextHop_action_spec_t*>(action_spec));
        break;
    case 0x2000006b:
        tell("p4_pd_velmar_switch_setNextHop2", p4_pd_velmar_switch_action_setNextHop2, action_name, action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setNextHop2_action_spec_t*>(action_spec));
        break;
    case 0x2000006c:
        tell("p4_pd_velmar_switch_setNextHop3", p4_pd_velmar_switch_action_setNextHop3, action_name, action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setNextHop3_action_spec_t*>(action_spec));
        break;
    case 0x2000006d:
        tell("p4_pd_velmar_switch_onMiss", p4_pd_velmar_switch_action_onMiss, action_name, action_id);
        break;
    default:
        log_unexpected("\"((void *)0)\" (NULL)", function, __LINE__);
        status = PD_STATUS_UNEXPECTED;
    }

    std::memset(match_spec, 0, sizeof *match_spec);
    *is_default = !answer.has_key();
    if (*is_default) return status;
    match_spec->l3Info_vrfId = key[0];
    match_spec->ingIpv4_dip = get32(key + 1);
    return status;
}

pd_status ipv6Partition_read(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                             p4_pd_velmar_switch_ipv6Partition_match_spec_t* match_spec, char* action_name,
                             void* action_spec, uint32_t* action_id, uint8_t* is_default) noexcept {
    Byte key[17] = {};
    Byte mask[17] = {};
    Answer answer(key, mask, 136, 17);
    if (const pd_status refused = answer.ask(sess_hdl, dev_id, 0x1000035, entry_hdl, read_from_hw); refused != 0)
        return refused;
    constexpr const char* function = "p4_pd_velmar_switch_ipv6Partition_get_entry";
    if (answer.action.kind != PIPE_KIND_ACTION_DATA) {
        log_unexpected("\"0\" (0)", function, __LINE__);
        return PD_STATUS_UNEXPECTED;
    }
    Resources resources;
    if (!resources.list(answer.action)) return PD_STATUS_NO_MEMORY;

    pd_status status = PD_STATUS_OK;
    const Byte* const data = answer.data;
    switch (answer.act_hdl) {
    case 0x2000008a:
        tell("p4_pd_velmar_switch_setIpv6PrtIdxNextHop", p4_pd_velmar_switch_action_setIpv6PrtIdxNextHop, action_name,
             action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setIpv6PrtIdxNextHop_action_spec_t*>(action_spec));
        break;
    case 0x2000008b:
        tell("p4_pd_velmar_switch_setIpv6PrtIdxNextHop2", p4_pd_velmar_switch_action_setIpv6PrtIdxNextHop2, action_name,
             action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setIpv6PrtIdxNextHop2_action_spec_t*>(action_spec));
        break;
    case 0x2000008c:
        tell("p4_pd_velmar_switch_setIpv6PrtIdxNextHop3", p4_pd_velmar_switch_action_setIpv6PrtIdxNextHop3, action_name,
             action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setIpv6PrtIdxNextHop3_action_spec_t*>(action_spec));
        break;
    case 0x2000008d:
        tell("p4_pd_velmar_switch_setIpv6PrtIdxEcmp", p4_pd_velmar_switch_action_setIpv6PrtIdxEcmp, action_name,
             action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setIpv6PrtIdxEcmp_action_spec_t*>(action_spec));
        break;
    case 0x2000008e:
        tell("p4_pd_velmar_switch_onMiss", p4_pd_velmar_switch_action_onMiss, action_name, action_id);
        break;
    default:
        log_unexpected("\"((void *)0)\" (NULL)", function, __LINE__);
        status = PD_STATUS_UNEXPECTED;
    }

    std::memset(match_spec, 0, sizeof *match_spec);
    *is_default = !answer.has_key();
    if (*is_default) return status;
    match_spec->l3Info_vrfId = key[0];
    std::memcpy(match_spec->ingIpv6_dip, key + 1, 16);
    const uint64_t low = get64(mask + 9);
    const int open = low != 0 ? std::countr_zero(low) : 64 + std::countr_zero(get64(mask + 1));
    match_spec->ingIpv6_dip_prefix_length = static_cast<uint16_t>(128 - open);
    return status;
}

pd_status ipv4FinalResolve0_read(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                                 p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_t* match_spec, char* action_name,
                                 void* action_spec, uint32_t* action_id, uint8_t* is_default) noexcept {
    Byte key[6] = {};
    Byte mask[6] = {};
    Answer answer(key, mask, 48, 6);
    if (const pd_status refused = answer.ask(sess_hdl, dev_id, 0x1000033, entry_hdl, read_from_hw); refused != 0)
        return refused;
    constexpr const char* function = "p4_pd_velmar_switch_ipv4FinalResolve0_get_entry";
    if (answer.action.kind != PIPE_KIND_ACTION_DATA) {
        log_unexpected("\"0\" (0)", function, __LINE__);
        return PD_STATUS_UNEXPECTED;
    }
    Resources resources;
    if (!resources.list(answer.action)) return PD_STATUS_NO_MEMORY;

    pd_status status = PD_STATUS_OK;
    const Byte* const data = answer.data;
    switch (answer.act_hdl) {
    case 0x20000085:
        tell("p4_pd_velmar_switch_setNextHop0First", p4_pd_velmar_switch_action_setNextHop0First, action_name,
             action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setNextHop0First_action_spec_t*>(action_spec));
        break;
    case 0x20000086:
        tell("p4_pd_velmar_switch_setNextHop2First", p4_pd_velmar_switch_action_setNextHop2First, action_name,
             action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setNextHop2First_action_spec_t*>(action_spec));
        break;
    case 0x20000087:
        tell("p4_pd_velmar_switch_setNextHop3First", p4_pd_velmar_switch_action_setNextHop3First, action_name,
             action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setNextHop3First_action_spec_t*>(action_spec));
        break;
    case 0x20000088:
        tell("p4_pd_velmar_switch_setNextHop1First", p4_pd_velmar_switch_action_setNextHop1First, action_name,
             action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setNextHop1First_action_spec_t*>(action_spec));
        break;
    case 0x20000089:
        tell("p4_pd_velmar_switch_setDefaultVrf", p4_pd_velmar_switch_action_setDefaultVrf, action_name, action_id);
        break;
    default:
        log_unexpected("\"((void *)0)\" (NULL)", function, __LINE__);
        status = PD_STATUS_UNEXPECTED;
    }

    std::memset(match_spec, 0, sizeof *match_spec);
    *is_default = !answer.has_key();
    if (*is_default) return status;
    match_spec->fibV4ResultX_partIdx = static_cast<uint16_t>(answer.match.partition_index);
    match_spec->ingIpv4_dip = get32(key + 2);
    match_spec->ingIpv4_dip_prefix_length = static_cast<uint16_t>(32 - std::countr_zero(get32(mask + 2)));
    return status;
}

pd_status mirrorPacketEncap_read(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                                 p4_pd_velmar_switch_mirrorPacketEncap_match_spec_t* match_spec, char* action_name,
                                 void* action_spec, uint32_t* action_id, uint8_t* is_default) noexcept {
    Byte key[5] = {};
    Byte mask[5] = {};
    Answer answer(key, mask, 26, 5);
    if (const pd_status refused = answer.ask(sess_hdl, dev_id, 0x100006B, entry_hdl, read_from_hw); refused != 0)
        return refused;
    constexpr const char* function = "p4_pd_velmar_switch_mirrorPacketEncap_get_entry";
    if (answer.action.kind != PIPE_KIND_ACTION_DATA) {
        log_unexpected("\"0\" (0)", function, __LINE__);
        return PD_STATUS_UNEXPECTED;
    }
    Resources resources;
    if (!resources.list(answer.action)) return PD_STATUS_NO_MEMORY;

    pd_status status = PD_STATUS_OK;
    const Byte* const data = answer.data;
    switch (answer.act_hdl) {
    case 0x20000156:
        tell("p4_pd_velmar_switch_setMirrorPacketEncapNone", p4_pd_velmar_switch_action_setMirrorPacketEncapNone,
             action_name, action_id);
        break;
    case 0x20000157:
        tell("p4_pd_velmar_switch_setMirrorPacketEncapCpu", p4_pd_velmar_switch_action_setMirrorPacketEncapCpu,
             action_name, action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setMirrorPacketEncapCpu_action_spec_t*>(action_spec));
        break;
    case 0x20000158:
        tell("p4_pd_velmar_switch_setMirrorPacketEncapGreIpv4", p4_pd_velmar_switch_action_setMirrorPacketEncapGreIpv4,
             action_name, action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setMirrorPacketEncapGreIpv4_action_spec_t*>(action_spec));
        break;
    case 0x20000159:
        tell("p4_pd_velmar_switch_setMirrorPacketEncapIntIpv4", p4_pd_velmar_switch_action_setMirrorPacketEncapIntIpv4,
             action_name, action_id);
        decode(data, static_cast<p4_pd_velmar_switch_setMirrorPacketEncapIntIpv4_action_spec_t*>(action_spec));
        break;
    case 0x2000015a:
        tell("p4_pd_velmar_switch_egressMirrorDrop", p4_pd_velmar_switch_action_egressMirrorDrop, action_name,
             action_id);
        break;
    default:
        log_unexpected("\"((void *)0)\" (NULL)", function, __LINE__);
        status = PD_STATUS_UNEXPECTED;
    }

    std::memset(match_spec, 0, sizeof *match_spec);
    *is_default = !answer.has_key();
    if (*is_default) return status;
    match_spec->eg_intr_md_egress_rid = get16(key);
    match_spec->eg_intr_md_egress_port = get16(key + 2);
    match_spec->intReportFixedHdr_valid = key[4];
    return status;
}

} // namespace by_hand
