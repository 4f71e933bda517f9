// An agent that makes one mistake, or does the same without it.
//
//   watch_mistakes MISTAKE [right | fork | _exit | quick_exit | abort]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include <unistd.h>
#include <utility>

#include <vl_driver/driver.h>

#include "vl_model/control.h"
#include "vl_pd/velmar_switch.h"
#include "vl_pd/velmar_switch_pipeline.h"

namespace {

struct Switch {
    pd_session session = 0;
    pd_dev_tgt target = {.dev_id = 0, .pipe_id = PD_ALL_PIPES, .reserved = 0};
};

void must(uint32_t status) {
    if (status == 0) return;
    fprintf(stderr, "status %u\n", status);
    exit(1);
}

pd_entry add_host(const Switch& on, uint32_t address) {
    const p4_pd_velmar_switch_ipv4Host_match_spec_t key = {.l3Info_vrfId = 1, .ingIpv4_dip = address};
    const p4_pd_velmar_switch_setNextHop_action_spec_t hop = {.action_nextHop = 1};
    pd_entry entry = 0;
    must(p4_pd_velmar_switch_ipv4Host_table_add_with_setNextHop(on.session, on.target, &key, &hop, &entry));
    return entry;
}

void add_remap(const Switch& on, uint16_t port, uint16_t id) {
    const p4_pd_velmar_switch_l2XRemap_match_spec_t key = {.ig_intr_md_ingress_port = port};
    const p4_pd_velmar_switch_setL2XId_action_spec_t data = {.action_l2XId = id};
    pd_entry entry = 0;
    must(p4_pd_velmar_switch_l2XRemap_table_add_with_setL2XId(on.session, on.target, &key, &data, &entry));
}

pd_status add_prefix(const Switch& on, uint16_t length) {
    const p4_pd_velmar_switch_ipv4ShortMaskLpm_match_spec_t key = {
        .l3Info_vrfId = 1, .ingIpv4_dip = 0x0A000000, .ingIpv4_dip_prefix_length = length};
    pd_entry entry = 0;
    return p4_pd_velmar_switch_ipv4ShortMaskLpm_table_add_with_ipv4ShortMaskLpmMiss(on.session, on.target, &key,
                                                                                    &entry);
}

using Trap = p4_pd_velmar_switch_trapToCpu_match_spec_t;

void add_trap(const Switch& on, const Trap& key, uint32_t priority) {
    const p4_pd_velmar_switch_trapPacket_action_spec_t reason = {.action_cpuReasonCode = 1};
    pd_entry entry = 0;
    must(p4_pd_velmar_switch_trapToCpu_table_add_with_trapPacket(on.session, on.target, &key, priority, &reason,
                                                                 &entry));
}

Trap trap_of(uint8_t protocol, uint8_t mask) {
    Trap key = {};
    key.ingMd_protocol = protocol;
    key.ingMd_protocol_mask = mask;
    return key;
}

pd_member add_member(const Switch& on) {
    const p4_pd_velmar_switch_setEcmpNextHop_action_spec_t hop = {.action_nextHopTable = 0, .action_nextHop = 1};
    pd_member member = 0;
    must(p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_with_setEcmpNextHop(on.session, on.target, &hop,
                                                                                    &member));
    return member;
}

void count_hosts(const Switch& on) {
    uint32_t count = 0;
    p4_pd_velmar_switch_ipv4Host_get_entry_count(on.session, on.target, &count);
}

// Adds an entry by the driver's own function, with an action that the library would not send.
constexpr uint32_t set_next_hop = 0x2000006a; // of ipv4Host, as is the next
constexpr uint32_t on_miss = 0x2000006d;

void add_host_by_driver(const Switch& on, uint32_t action) {
    uint8_t key[5] = {1, 10, 0, 0, 1};
    uint8_t mask[5] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    pipe_match_record match = {};
    match.key_bytes = key;
    match.mask_bytes = mask;
    match.key_bits = 40;
    match.key_len = 5;
    uint8_t data[1] = {};
    pipe_action_record record = {};
    record.kind = PIPE_KIND_ACTION_DATA;
    record.action.data = data;
    pipe_ent_hdl entry = 0;
    pipe_mgr_mat_ent_add(on.session, {0, PIPE_ALL_PIPES, 0}, p4_pd_velmar_switch_table_ipv4Host, &match, action,
                         &record, 0, 0, &entry);
}

// A callback within the call that adds a member: another thread adds one, too, if there is a cookie.
void on_update(pipe_sess_hdl session, pipe_dev_tgt, pipe_tbl_hdl, pipe_mbr_hdl, uint32_t, void* cookie) {
    static thread_local bool is_other = false;
    static bool is_done = false;
    if (cookie == nullptr || is_other || is_done) return;
    is_done = true;
    std::thread([&] {
        is_other = true;
        add_member({.session = session});
    }).join();
}

pipe_status on_digest(pipe_sess_hdl session, pipe_digest_msg* message, void* cookie) {
    return cookie == nullptr ? 0 : p4_pd_velmar_switch_macLearningDigest_notify_ack(session, message);
}

void change_profile(const Switch& on, bool right) {
    int two_threads = 0;
    must(p4_pd_velmar_switch_ecmpMemberActionProfile_register_adt_update_cb(
        on.session, on.target, reinterpret_cast<pd_driver_callback>(on_update), right ? nullptr : &two_threads));
    add_member(on);
}

void learn(const Switch& on, bool right) {
    int acknowledge = 0;
    must(p4_pd_velmar_switch_macLearningDigest_register(on.session, 0, reinterpret_cast<pd_driver_callback>(on_digest),
                                                        right ? &acknowledge : nullptr));
    const uint8_t station[64] = {};
    must(vl_model_digest_raise(0, p4_pd_velmar_switch_digest_macLearningDigest, station, 1));
}

void limit(const Switch& on, bool right) {
    const pd_meter_spec spec = {.committed_rate = 1,
                                .committed_burst = 1,
                                .peak_rate = 1,
                                .peak_burst = 1,
                                .meter_type = PD_METER_TYPE_COLOR_UNAWARE};
    p4_pd_velmar_switch_l2LookupMiss_match_spec_t key = {};
    key.ig_intr_md_ingress_port = 1;
    key.ig_intr_md_ingress_port_mask = 0x7F;
    pd_entry entry = 0;
    must(p4_pd_velmar_switch_l2LookupMiss_table_add_with_NoAction(on.session, on.target, &key, 1,
                                                                  right ? &spec : nullptr, &entry));
}

void set_default(const Switch& on, bool right) {
    uint8_t data[2] = {};
    pipe_action_record record = {};
    record.kind = PIPE_KIND_ACTION_DATA;
    record.action = {.data_bits = 0, .data_len = static_cast<uint16_t>(right ? 0 : 2), .reserved = 0, .data = data};
    pipe_ent_hdl entry = 0;
    pipe_mgr_mat_default_entry_set(on.session, {0, PIPE_ALL_PIPES, 0}, p4_pd_velmar_switch_table_ipv4Host,
                                   right ? on_miss : set_next_hop, &record, 0, &entry);
}

std::pair<pd_entry, pd_member> point_at_member(const Switch& on, uint32_t next_hop) {
    const p4_pd_velmar_switch_ecmpGroup_match_spec_t key = {.l3_nextHop = next_hop};
    const pd_member member = add_member(on);
    pd_entry entry = 0;
    must(p4_pd_velmar_switch_ecmpGroup_add_entry(on.session, on.target, &key, member, &entry));
    return {entry, member};
}

void delete_member(const Switch& on, bool right) {
    const auto [entry, member] = point_at_member(on, 5);
    if (right) must(p4_pd_velmar_switch_ecmpGroup_table_delete(on.session, 0, entry));
    p4_pd_velmar_switch_ecmpMemberActionProfile_del_member(on.session, 0, member);
}

void point_at_group(const Switch& on, bool right) {
    const p4_pd_velmar_switch_ecmpGroup_match_spec_t key = {.l3_nextHop = 5};
    pd_group group = 0;
    must(p4_pd_velmar_switch_ecmpMemberActionProfile_create_group(on.session, on.target, 8, &group));
    const pd_member member = add_member(on);
    must(p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_to_group(on.session, 0, group, member));
    if (!right) must(p4_pd_velmar_switch_ecmpMemberActionProfile_del_member_from_group(on.session, 0, group, member));
    pd_entry entry = 0;
    must(p4_pd_velmar_switch_ecmpGroup_add_entry_with_selector(on.session, on.target, &key, group, &entry));
}

void match_ipv6(const Switch& on, bool right) {
    Trap key = trap_of(6, 0xFF);
    key.ingIpv6_dip_mask[0] = 0xFF;
    if (!right) key.ingIpv6_dip_mask[15] = 0xFF;
    add_trap(on, key, 1);
}

void hide(const Switch& on, bool right) {
    add_trap(on, trap_of(4, 0xFC), right ? 3 : 1);
    add_trap(on, trap_of(6, 0xFF), 2);
}

const std::map<std::string, std::function<void(const Switch&, bool right)>> mistakes = {
    {"wide-value", [](const Switch& on, bool right) { add_remap(on, 1, right ? 511 : 512); }},
    {"wide-key", [](const Switch& on, bool right) { add_remap(on, right ? 511 : 512, 1); }},
    {"unmatched-bits", match_ipv6},
    {"unmatched-prefix", [](const Switch& on, bool right) { add_prefix(on, right ? 12 : 16); }},
    {"unmatched-value", [](const Switch& on, bool right) { point_at_member(on, right ? 5 : 0x405); }},
    {"match-all", [](const Switch& on, bool right) { add_trap(on, trap_of(6, right ? 0xFF : 0), 1); }},
    {"hidden-entry", hide},
    {"long-prefix", [](const Switch& on, bool right) { add_prefix(on, right ? 8 : 33); }},
    {"wrong-action", [](const Switch& on, bool right) { add_host_by_driver(on, right ? on_miss : on_miss + 20); }},
    {"wrong-use", set_default},
    {"unset-meter", limit},
    {"unknown-handle",
     [](const Switch& on, bool right) {
         const pd_entry entry = add_host(on, 1);
         p4_pd_velmar_switch_ipv4Host_table_delete(on.session, 0, right ? entry : entry + 1);
     }},
    {"foreign-handle",
     [](const Switch& on, bool right) {
         const pd_entry entry = add_host(on, 1);
         if (right)
             p4_pd_velmar_switch_ipv4Host_table_delete(on.session, 0, entry);
         else
             p4_pd_velmar_switch_ipv4ShortMaskLpm_table_delete(on.session, 0, entry);
     }},
    {"stale-handle",
     [](const Switch& on, bool right) {
         const pd_entry entry = add_host(on, 1);
         must(p4_pd_velmar_switch_ipv4Host_table_delete(on.session, 0, entry));
         if (right) add_host(on, 2); // the driver gives the handle again
         p4_pd_velmar_switch_ipv4Host_table_delete(on.session, 0, entry);
     }},
    {"in-use", delete_member},
    {"empty-group", point_at_group},
    {"before-init", [](const Switch& on, bool) { count_hosts(on); }},
    {"after-cleanup",
     [](const Switch& on, bool right) {
         if (!right) p4_pd_velmar_switch_cleanup();
         count_hosts(on);
     }},
    {"gone-device",
     [](const Switch& on, bool right) {
         count_hosts(on);
         if (right)
             vl_model_device_state_drop(0);
         else
             vl_model_device_remove(0);
         const p4_pd_velmar_switch_ipv4Host_match_spec_t key = {};
         p4_pd_velmar_switch_ipv4Host_table_delete_by_match_spec(on.session, on.target, &key);
     }},
    {"profile-race", change_profile},
    {"unacknowledged", learn},
    {"leftover",
     [](const Switch& on, bool right) {
         const pd_entry entry = add_host(on, 1);
         if (right) must(p4_pd_velmar_switch_ipv4Host_table_delete(on.session, 0, entry));
     }},
    {"many",
     [](const Switch& on, bool) {
         for (uint32_t i = 0; i < 3000; ++i)
             p4_pd_velmar_switch_ipv4Host_table_delete(on.session, 0, 7);
     }},
};

} // namespace

int main(int count, char** arguments) {
    const auto mistake = mistakes.find(count > 1 ? arguments[1] : "");
    if (mistake == mistakes.end()) return 2;
    const std::string how = count > 2 ? arguments[2] : "";
    const bool right = how == "right";
    if (how == "fork" && fork() != 0) return 0; // the child is a daemon
    if (right || mistake->first != "before-init") p4_pd_velmar_switch_init();
    Switch on;
    must(vl_model_session_open(&on.session));
    must(vl_model_device_add(0, &velmar_switch_pipeline));
    mistake->second(on, right);
    if (how == "_exit") _exit(0);
    if (how == "quick_exit") quick_exit(0);
    if (how == "abort") abort();
    return 0;
}
