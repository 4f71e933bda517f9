// Reads of exact and prefix tables written by hand. A switch over the table's action handles finds the action, and key
// and parameters are decoded field by field.
#include "hand_written_read.h"

#include <bit>

namespace by_hand {

namespace {

inline void decode(const Byte* data, p4_pd_velmar_switch_setEcmp_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_ecmpGroup = get32(data);
}

inline void decode(const Byte* data, p4_pd_velmar_switch_setIpv6PrtIdxEcmp_action_spec_t* spec) {
    std::memset(spec, 0, sizeof *spec);
    spec->action_partitionIndex = get16(data);
    spec->action_ecmpGroup = get32(data + 2);
}

// The many actions that set a next hop, some of them with a partition.
template <class Spec>
inline void decode(const Byte* data, Spec* spec) {
    std::memset(spec, 0, sizeof *spec);
    if constexpr (requires { spec->action_partitionIndex; }) {
        spec->action_partitionIndex = get16(data);
        data += 2;
    }
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
    constexpr const char* function = "p4_pd_velmar_switch_ipv4Host_get_entry";
    Resources resources;
    pd_status status = answer.ask(sess_hdl, dev_id, 0x1000023, entry_hdl, read_from_hw, function, resources);
    if (status != PD_STATUS_OK) return status;

    switch (answer.act_hdl) {
        VL_ACTION_WITH_PARAMETERS(0x20000069, setEcmp);
        VL_ACTION_WITH_PARAMETERS(0x2000006a, setNextHop);
        VL_ACTION_WITH_PARAMETERS(0x2000006b, setNextHop2);
        VL_ACTION_WITH_PARAMETERS(0x2000006c, setNextHop3);
        VL_ACTION(0x2000006d, onMiss);
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
    constexpr const char* function = "p4_pd_velmar_switch_ipv6Partition_get_entry";
    Resources resources;
    pd_status status = answer.ask(sess_hdl, dev_id, 0x1000035, entry_hdl, read_from_hw, function, resources);
    if (status != PD_STATUS_OK) return status;

    switch (answer.act_hdl) {
        VL_ACTION_WITH_PARAMETERS(0x2000008a, setIpv6PrtIdxNextHop);
        VL_ACTION_WITH_PARAMETERS(0x2000008b, setIpv6PrtIdxNextHop2);
        VL_ACTION_WITH_PARAMETERS(0x2000008c, setIpv6PrtIdxNextHop3);
        VL_ACTION_WITH_PARAMETERS(0x2000008d, setIpv6PrtIdxEcmp);
        VL_ACTION(0x2000008e, onMiss);
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
    constexpr const char* function = "p4_pd_velmar_switch_ipv4FinalResolve0_get_entry";
    Resources resources;
    pd_status status = answer.ask(sess_hdl, dev_id, 0x1000033, entry_hdl, read_from_hw, function, resources);
    if (status != PD_STATUS_OK) return status;

    switch (answer.act_hdl) {
        VL_ACTION_WITH_PARAMETERS(0x20000085, setNextHop0First);
        VL_ACTION_WITH_PARAMETERS(0x20000086, setNextHop2First);
        VL_ACTION_WITH_PARAMETERS(0x20000087, setNextHop3First);
        VL_ACTION_WITH_PARAMETERS(0x20000088, setNextHop1First);
        VL_ACTION(0x20000089, setDefaultVrf);
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
    constexpr const char* function = "p4_pd_velmar_switch_mirrorPacketEncap_get_entry";
    Resources resources;
    pd_status status = answer.ask(sess_hdl, dev_id, 0x100006B, entry_hdl, read_from_hw, function, resources);
    if (status != PD_STATUS_OK) return status;

    switch (answer.act_hdl) {
        VL_ACTION(0x20000156, setMirrorPacketEncapNone);
        VL_ACTION_WITH_PARAMETERS(0x20000157, setMirrorPacketEncapCpu);
        VL_ACTION_WITH_PARAMETERS(0x20000158, setMirrorPacketEncapGreIpv4);
        VL_ACTION_WITH_PARAMETERS(0x20000159, setMirrorPacketEncapIntIpv4);
        VL_ACTION(0x2000015a, egressMirrorDrop);
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
