// What the write operations send beside the key: handles, action records, resource slots, flags, and how add, modify
// and modify by match spec differ.
#include "support/library.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "vl_driver/resources.h"

namespace {

using namespace support;
using vl_model::ActionCopy;
using vl_model::Call;

class Entries : public LibraryTest {
protected:
    ActionCopy sent_action() {
        return only_call().action.value_or(ActionCopy{});
    }
};

bool all_zero(const void* memory, size_t size) {
    const auto* const bytes = static_cast<const uint8_t*>(memory);
    return std::all_of(bytes, bytes + size, [](uint8_t byte) { return byte == 0; });
}

TEST_F(Entries, ArgumentsOfEachCall) {
    p4_pd_velmar_switch_ipv4Host_match_spec_t key = {.l3Info_vrfId = 7, .ingIpv4_dip = 0x0A000001};
    p4_pd_velmar_switch_setNextHop_action_spec_t hop = {.action_nextHop = 0x01020304};
    pd_entry entry = 0;
    ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_table_add_with_setNextHop(session, target, &key, &hop, &entry), 0u);
    Call call = only_call();
    EXPECT_EQ(call.function, "pipe_mgr_mat_ent_add");
    ASSERT_EQ(call.args.size(), 9u);
    EXPECT_EQ(call.args[0], session);
    EXPECT_EQ(call.args[1], target_word);
    EXPECT_EQ(call.args[2], 0x1000023u);
    EXPECT_EQ(call.args[4], 0x2000006au);
    EXPECT_EQ(call.args[6], 0u) << "time-to-live";
    EXPECT_EQ(call.args[7], 0u) << "flags";
    EXPECT_EQ(call.args[8], word(&entry));
    EXPECT_EQ(call.action->kind, 1);
    EXPECT_EQ(call.action->data_bits, 32);
    EXPECT_EQ(hex(call.action->data), "01 02 03 04");
    EXPECT_EQ(call.action->resource_count, 0);
    EXPECT_EQ(call.action->member_hdl | call.action->group_hdl, 0u);
    EXPECT_TRUE(all_zero(call.action->slots.data(), sizeof call.action->slots));
    EXPECT_TRUE(all_zero(call.action->reserved.data(), sizeof call.action->reserved));

    p4_pd_velmar_switch_setEcmp_action_spec_t ecmp = {.action_ecmpGroup = 5};
    ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_table_modify_with_setEcmp(session, device, entry, &ecmp), 0u);
    call = only_call();
    EXPECT_EQ(call.function, "pipe_mgr_mat_ent_set_action");
    call.args[5] = 0; // the record's address
    EXPECT_EQ(call.args, (std::vector<uint64_t>{session, device, 0x1000023, entry, 0x20000069, 0, 0}));

    ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_table_modify_with_onMiss_by_match_spec(session, target, &key), 0u);
    call = only_call();
    EXPECT_EQ(call.function, "pipe_mgr_mat_ent_set_action_by_match_spec");
    call.args[3] = call.args[5] = 0;
    EXPECT_EQ(call.args, (std::vector<uint64_t>{session, target_word, 0x1000023, 0, 0x2000006d, 0, 0}));
    EXPECT_EQ(call.action->kind, 1);
    EXPECT_EQ(call.action->data_bits | call.action->data_len, 0);
    EXPECT_FALSE(call.action->data_null) << "actions without parameters send data too, of no length";

    pd_entry found = 0;
    ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_match_spec_to_entry_hdl(session, target, &key, &found), 0u);
    EXPECT_EQ(found, entry);
    call = only_call();
    EXPECT_EQ(call.function, "pipe_mgr_match_spec_to_ent_hdl");
    call.args[3] = 0;
    EXPECT_EQ(call.args, (std::vector<uint64_t>{session, target_word, 0x1000023, 0, word(&found), 0}));

    ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_table_delete(session, device, entry), 0u);
    EXPECT_EQ(only_call().args, (std::vector<uint64_t>{session, device, 0x1000023, entry, 0}));
    EXPECT_EQ(p4_pd_velmar_switch_ipv4Host_table_delete_by_match_spec(session, target, &key), VL_MODEL_NOT_FOUND);
    call = only_call();
    call.args[3] = 0;
    EXPECT_EQ(call.args, (std::vector<uint64_t>{session, target_word, 0x1000023, 0, 0}));
}

TEST_F(Entries, TimeToLiveTravelsOnlyWithTheLearningTablesAdd) {
    p4_pd_velmar_switch_l2LearningLookup_match_spec_t key = {};
    pd_entry entry;
    ASSERT_EQ(p4_pd_velmar_switch_l2LearningLookup_table_add_with_noOp(session, target, &key, 77, &entry), 0u);
    EXPECT_EQ(only_call().args[6], 77u);
}

TEST_F(Entries, DeletingFromAMaskedTableNeedsThePriorityOfTheAdd) {
    p4_pd_velmar_switch_l2SmacCheck_match_spec_t key = {};
    key.outerEthHdr_smacOui = key.outerEthHdr_smacOui_mask = 0x112233;
    pd_entry entry;
    ASSERT_EQ(p4_pd_velmar_switch_l2SmacCheck_table_add_with_setIllegalSmac(session, target, &key, 5, &entry), 0u);
    EXPECT_EQ(p4_pd_velmar_switch_l2SmacCheck_table_delete_by_match_spec(session, target, &key, 6), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(p4_pd_velmar_switch_l2SmacCheck_table_delete_by_match_spec(session, target, &key, 5), 0u);
}

// The slot that an action sends, for every entry action of the tables that carry a resource. Actions not named here
// send the tag of their table's column.
TEST_F(Entries, ResourceSlots) {
    constexpr uint32_t index = 0x00050028; // its low half is what an add takes
    struct Expected {
        uint32_t handle;
        uint32_t tag;                              // of the actions that aren't named
        std::map<std::string, uint32_t> add_index; // actions that attach an indexed resource, with the add's index
        std::map<std::string, uint32_t> modify_index;
    };
    const std::map<std::string, Expected> tables = {
        {"l2DmacClassify", {0x4000001, PIPE_SLOT_ATTACHED, {}, {}}},
        {"ingressPortDropCheck", {0x4000002, PIPE_SLOT_ATTACHED, {}, {}}},
        {"steerFlowDefaultCounter", {0x4000003, PIPE_SLOT_ATTACHED, {}, {}}},
        {"trapToCpu", {0x4000004, PIPE_SLOT_ATTACHED, {}, {}}},
        {"haloCounters", {0x4000006, PIPE_SLOT_ATTACHED, {}, {}}},
        {"finalDropControl", {0x4000007, PIPE_SLOT_ATTACHED, {}, {}}},
        {"egressPortDropCheck", {0x4000009, PIPE_SLOT_ATTACHED, {}, {}}},
        {"pdpPolicy", {0x4000005, PIPE_SLOT_DETACHED, {{"setPdpClassCount", 0x28}}, {{"setPdpClassCount", index}}}},
        {"l2LookupMiss", {0x5000001, PIPE_SLOT_ATTACHED, {}, {}}},
        {"ingressMirrorRate",
         {0x5000002, PIPE_SLOT_DETACHED, {{"setIngressMirrorColor", 0x28}}, {{"setIngressMirrorColor", index}}}},
        {"pdpClassify", {0x5000003, PIPE_SLOT_DETACHED, {{"meterPdpClass", 0x28}}, {{"meterPdpClass", index}}}},
        {"wredQueueSelect", {0x5000004, PIPE_SLOT_DETACHED, {{"runWred", 0x28}}, {{"runWred", index}}}},
        {"egressMirrorRate",
         {0x5000005, PIPE_SLOT_DETACHED, {{"setEgressMirrorColor", 0x28}}, {{"setEgressMirrorColor", index}}}},
        {"mirrorPacketEncap",
         {0x6000008, PIPE_SLOT_DETACHED, {{"setMirrorPacketEncapIntIpv4", 1}}, {{"setMirrorPacketEncapIntIpv4", 1}}}},
        {"queueReport",
         {0x6000009, PIPE_SLOT_DETACHED, {{"setQueueReportFlagStatus", 1}}, {{"setQueueReportFlagStatus", 1}}}},
        {"queueReportQuota",
         {0x600000a, PIPE_SLOT_DETACHED, {{"setQueueReportFlagFinal", 0x28}}, {{"setQueueReportFlagFinal", index}}}},
    };
    const pd_meter_spec meter = {1, 2, 3, 4, PD_METER_TYPE_COLOR_UNAWARE};
    for (const catalog::Table* table : direct_tables()) {
        const auto expected = tables.find(table->name);
        const bool masked = catalog::has_priority(*table);
        const bool metered = table->name == std::string("l2LookupMiss");
        const Bytes key(catalog::key_layout(*table).record_size);
        for (const catalog::Binding& binding : table->actions) {
            SCOPED_TRACE(std::string(table->name) + " " + binding.action);
            const catalog::Action& action = action_of(binding);
            std::vector<uint8_t> spec(catalog::action_layout(action).record_size + 4);
            std::memcpy(spec.data(), &index, sizeof index); // index parameters come first
            uint32_t entry = 0;

            std::vector<uint64_t> tail;
            if (masked) tail.push_back(9);
            if (action.params.size() != 0) tail.push_back(word(spec.data()));
            if (metered) tail.push_back(word(&meter));
            std::vector<uint64_t> words = {session, target_word, word(key.data())};
            words.insert(words.end(), tail.begin(), tail.end());
            if (table->ttl_on_add) words.push_back(0);
            words.push_back(word(&entry));
            const std::string base = exported(table->name) + "_table_";
            ASSERT_EQ(support::call(base + "add_with_" + binding.action, words), 0u);
            const Call add = only_call();
            words = {session, device, entry};
            words.insert(words.end(), tail.begin() + masked, tail.end());
            ASSERT_EQ(support::call(base + "modify_with_" + binding.action, words), 0u);
            const Call modify = only_call();
            words = {session, target_word, word(key.data())};
            words.insert(words.end(), tail.begin(), tail.end());
            ASSERT_EQ(support::call(base + "modify_with_" + binding.action + "_by_match_spec", words), 0u);
            const Call by_key = only_call();
            ASSERT_EQ(support::call(base + "delete", {session, device, entry}), 0u);
            EXPECT_EQ(only_call().args[2], table->handle);

            for (const Call& call : {add, modify, by_key}) {
                EXPECT_EQ(call.args[2], table->handle);
                EXPECT_EQ(call.args[4], binding.handle);
                const pipe_resource_slot& slot = call.action->slots[0];
                EXPECT_EQ(call.action->resource_count, expected != tables.end());
                EXPECT_EQ(slot.resource_hdl, expected == tables.end() ? 0 : expected->second.handle);
                if (expected == tables.end()) {
                    EXPECT_EQ(slot.tag | slot.index, 0u);
                    continue;
                }
                const auto& indices =
                    call.function == add.function ? expected->second.add_index : expected->second.modify_index;
                const auto found = indices.find(binding.action);
                EXPECT_EQ(slot.tag, found != indices.end() ? uint32_t{PIPE_SLOT_ATTACHED} : expected->second.tag);
                EXPECT_EQ(slot.index, found != indices.end() ? found->second : 0);
                EXPECT_EQ(all_zero(slot.spec, sizeof slot.spec), !metered);
                EXPECT_TRUE(all_zero(&call.action->slots[1], 3 * sizeof slot));
            }
            // But for the index, the three send the same record.
            EXPECT_EQ(hex(add.action->data), hex(modify.action->data));
            EXPECT_EQ(hex(add.action->data), hex(by_key.action->data));
            EXPECT_EQ(hex(add.match->key), hex(by_key.match->key));
        }
    }
}

TEST_F(Entries, IndexParametersLeaveTheirDataZero) {
    p4_pd_velmar_switch_runWred_action_spec_t wred = {.action_index = 0x11223344, .action_ecnEnabled = 1};
    p4_pd_velmar_switch_wredQueueSelect_table_modify_with_runWred(session, device, 1, &wred);
    ActionCopy action = sent_action();
    EXPECT_EQ(hex(action.data), "00 00 00 00 01");
    EXPECT_EQ(action.data_bits, 33);

    p4_pd_velmar_switch_meterPdpClass_action_spec_t pdp = {.action_pdpClassId = 0x00050028};
    p4_pd_velmar_switch_pdpClassify_table_modify_with_meterPdpClass(session, device, 1, &pdp);
    action = sent_action();
    EXPECT_EQ(hex(action.data), "00 05 00 28") << "this index is data as well";
    EXPECT_EQ(action.slots[0].index, 0x00050028u);
}

// Nothing is cut: bits above a parameter's width go to the driver as they are.
TEST_F(Entries, WideActionData) {
    p4_pd_velmar_switch_setMirrorPacketEncapIntIpv4_action_spec_t spec;
    std::memset(&spec, 0xFF, sizeof spec);
    p4_pd_velmar_switch_mirrorPacketEncap_table_modify_with_setMirrorPacketEncapIntIpv4(session, device, 1, &spec);
    const ActionCopy action = sent_action();
    EXPECT_EQ(action.data_bits, 186);
    EXPECT_EQ(action.data, Bytes(24, 0xFF));
}

TEST_F(Entries, MeterSpecOfTheDirectMeter) {
    pd_meter_spec meter = {0x11111111, 0x22222222, 0xF3333333, 0x44444444, PD_METER_TYPE_COLOR_UNAWARE};
    p4_pd_velmar_switch_l2LookupMiss_table_modify_with_NoAction(session, device, 1, &meter);
    pipe_resource_slot slot = sent_action().slots[0];
    pipe_meter_spec sent;
    std::memcpy(&sent, slot.spec, sizeof sent);
    EXPECT_EQ(sent.type, 1u);
    EXPECT_EQ(sent.committed_unit | sent.peak_unit | sent.reserved_4 | sent.reserved_12 | sent.reserved_36, 0u);
    EXPECT_EQ(sent.committed_rate, 0x11111111u);
    EXPECT_EQ(sent.committed_burst, 0x22222222u);
    EXPECT_EQ(sent.peak_rate, 0xF3333333u);
    EXPECT_EQ(sent.peak_burst, 0x44444444u);

    // Without a spec a modify leaves the meter as it is.
    p4_pd_velmar_switch_l2LookupMiss_table_modify_with_NoAction(session, device, 1, nullptr);
    const ActionCopy unchanged = sent_action();
    EXPECT_EQ(unchanged.resource_count, 1);
    EXPECT_EQ(unchanged.slots[0].resource_hdl, 0x5000001u);
    EXPECT_EQ(unchanged.slots[0].tag, static_cast<uint32_t>(PIPE_SLOT_UNCHANGED));
    EXPECT_TRUE(all_zero(unchanged.slots[0].spec, sizeof unchanged.slots[0].spec));

    // A type that is none is logged once, before the driver is called all the same, as for colour aware.
    const p4_pd_velmar_switch_l2LookupMiss_match_spec_t key = {};
    pd_entry entry;
    for (meter.meter_type = 0; meter.meter_type < 3; ++meter.meter_type)
        for (const bool add : {true, false}) {
            SCOPED_TRACE(meter.meter_type);
            if (add)
                p4_pd_velmar_switch_l2LookupMiss_table_add_with_NoAction(session, target, &key, 1, &meter, &entry);
            else
                p4_pd_velmar_switch_l2LookupMiss_table_modify_with_NoAction(session, device, 1, &meter);
            const std::vector<Call> made = calls();
            std::vector<std::string> lines;
            for (const Call& call : made)
                if (call.function == "bf_sys_log_and_trace") lines.push_back(call.text);
            ASSERT_EQ(lines.size(), meter.meter_type == 2 ? 1u : 0u);
            if (!lines.empty()) {
                EXPECT_TRUE(lines[0].starts_with("ASSERTION FAILED: \"0\" (0) from get_bytes_meter_type:")) << lines[0];
            }
            ASSERT_TRUE(!made.empty() && made.back().action);
            EXPECT_EQ(made.back().function, add ? "pipe_mgr_mat_ent_add" : "pipe_mgr_mat_ent_set_action");
            slot = made.back().action->slots[0];
            std::memcpy(&sent, slot.spec, sizeof sent);
            EXPECT_EQ(sent.type, meter.meter_type == 1 ? 1u : 0u);
            EXPECT_EQ(sent.peak_burst, 0x44444444u);
            EXPECT_EQ(slot.tag, 1u);
        }
}

TEST_F(Entries, StatusesComeBackUnchangedAndOutputsStayTheDrivers) {
    p4_pd_velmar_switch_ipv4Host_match_spec_t key = {};
    pd_entry entry = 0x5A5A5A5A;
    vl_model::fail_call("pipe_mgr_mat_ent_add", 1, 0x87654321);
    EXPECT_EQ(p4_pd_velmar_switch_ipv4Host_table_add_with_onMiss(session, target, &key, &entry), 0x87654321u);
    EXPECT_EQ(entry, 0x5A5A5A5Au);
    const std::pair<const char*, uint32_t (*)(pd_session, pd_entry)> operations[] = {
        {"pipe_mgr_mat_ent_set_action",
         [](pd_session s, pd_entry e) { return p4_pd_velmar_switch_ipv4Host_table_modify_with_onMiss(s, device, e); }},
        {"pipe_mgr_mat_ent_del",
         [](pd_session s, pd_entry e) { return p4_pd_velmar_switch_ipv4Host_table_delete(s, device, e); }},
    };
    for (const auto& [function, operation] : operations) {
        vl_model::fail_call(function, 1, 99);
        EXPECT_EQ(operation(session, 1), 99u) << function;
    }
    EXPECT_EQ(vl_model::allocations_made(), 0u) << "nothing on the entry path allocates";
}

} // namespace
