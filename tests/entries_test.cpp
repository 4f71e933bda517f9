// What the write operations send beside the key: arguments, action data, indices and meters. round_trip_test.cpp checks
// that each table sends its own handles and resource slots.
#include "support/profiles.h"

#include <cstring>

#include "vl_driver/resources.h"

namespace {

using namespace support;
using vl_model::ActionCopy;
using vl_model::Call;

class Entries : public ProfileTest {
protected:
    ActionCopy sent_action() {
        return only_call().action.value_or(ActionCopy{});
    }
};

TEST_F(Entries, ArgumentsAndStatusOfEachCall) {
    constexpr pd_entry untouched = 0x5A5A5A5A;
    const struct {
        const char *operation, *arguments, *sent, *data;
    } steps[] = {
        {"table_add_with_setNextHop", "sess tgt key spec out",
         "pipe_mgr_mat_ent_add sess tgt 0x1000023 * 0x2000006a * 0 0 out", "01 02 03 04"},
        {"match_spec_to_entry_hdl", "sess tgt key out", "pipe_mgr_match_spec_to_ent_hdl sess tgt 0x1000023 * out 0",
         ""},
        {"table_modify_with_setEcmp", "sess dev entry spec",
         "pipe_mgr_mat_ent_set_action sess dev 0x1000023 entry 0x20000069 * 0", "01 02 03 04"},
        {"table_modify_with_onMiss_by_match_spec", "sess tgt key",
         "pipe_mgr_mat_ent_set_action_by_match_spec sess tgt 0x1000023 * 0x2000006d * 0", ""},
        {"table_delete", "sess dev entry", "pipe_mgr_mat_ent_del sess dev 0x1000023 entry 0", ""},
        {"table_add_with_onMiss", "sess tgt key out", "pipe_mgr_mat_ent_add sess tgt 0x1000023 * 0x2000006d * 0 0 out",
         ""},
        {"table_delete_by_match_spec", "sess tgt key", "pipe_mgr_mat_ent_del_by_match_spec sess tgt 0x1000023 * 0", ""},
    };
    const p4_pd_velmar_switch_ipv4Host_match_spec_t key = {.l3Info_vrfId = 7, .ingIpv4_dip = 0x0A000001};
    const uint32_t parameter = 0x01020304;
    uint32_t out = untouched;
    names["key"] = word(&key);
    names["spec"] = word(&parameter);
    names["out"] = word(&out);
    for (const auto& [operation, arguments, sent, data] : steps) {
        SCOPED_TRACE(operation);
        const std::string name = std::string("ipv4Host_") + operation;
        ASSERT_EQ(run_export(name, arguments), 0u);
        const Call call = expect_calls({sent})[0];
        names["entry"] = out;
        if (call.match) {
            EXPECT_EQ(hex(call.match->key), "07 0a 00 00 01");
        }
        if (!call.action) continue;
        EXPECT_EQ(call.action->kind, 1);
        EXPECT_EQ(hex(call.action->data), data);
        EXPECT_EQ(call.action->data_bits, 8 * call.action->data.size());
        EXPECT_FALSE(call.action->data_null) << "actions without parameters send data too, of length 0";
        EXPECT_EQ(call.action->member_hdl | call.action->group_hdl, 0u);
        expect_clear_rest(*call.action);
    }
    EXPECT_EQ(vl_model::allocations_made(), 0u) << "nothing on the entry path allocates";
}

TEST_F(Entries, TheLearningTablesAddSendsATimeToLive) {
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

TEST_F(Entries, IndexParameters) {
    p4_pd_velmar_switch_runWred_action_spec_t wred = {.action_index = 0x11223344, .action_ecnEnabled = 1};
    p4_pd_velmar_switch_wredQueueSelect_table_modify_with_runWred(session, device, 1, &wred);
    ActionCopy action = sent_action();
    EXPECT_EQ(hex(action.data), "00 00 00 00 01") << "the index isn't data";
    EXPECT_EQ(action.data_bits, 33);
    EXPECT_EQ(action.slots[0].index, 0x11223344u);

    p4_pd_velmar_switch_meterPdpClass_action_spec_t pdp = {.action_pdpClassId = 0x00050028};
    p4_pd_velmar_switch_pdpClassify_table_modify_with_meterPdpClass(session, device, 1, &pdp);
    action = sent_action();
    EXPECT_EQ(hex(action.data), "00 05 00 28") << "this index is data as well";
    EXPECT_EQ(action.slots[0].index, 0x00050028u);
}

TEST_F(Entries, BitsAboveAParametersWidthAreSent) {
    p4_pd_velmar_switch_setMirrorPacketEncapIntIpv4_action_spec_t spec;
    std::memset(&spec, 0xFF, sizeof spec);
    p4_pd_velmar_switch_mirrorPacketEncap_table_modify_with_setMirrorPacketEncapIntIpv4(session, device, 1, &spec);
    const ActionCopy action = sent_action();
    EXPECT_EQ(action.data_bits, 186);
    EXPECT_EQ(action.data, Bytes(24, 0xFF));
    EXPECT_EQ(action.slots[0].index, 1u) << "the action's own index";
}

TEST_F(Entries, MeterSpecOfTheDirectMeter) {
    const p4_pd_velmar_switch_l2LookupMiss_match_spec_t key = {};
    pd_meter_spec meter = {0x11111111, 0x22222222, 0xF3333333, 0x44444444, 0};
    pd_entry entry;
    // A type that the enumeration lacks is logged once, and the driver gets it as colour aware.
    for (meter.meter_type = 0; meter.meter_type < 3; ++meter.meter_type)
        for (const bool add : {true, false}) {
            SCOPED_TRACE(meter.meter_type);
            if (add)
                p4_pd_velmar_switch_l2LookupMiss_table_add_with_NoAction(session, target, &key, 1, &meter, &entry);
            else
                p4_pd_velmar_switch_l2LookupMiss_table_modify_with_NoAction(session, device, 1, &meter);
            const std::vector<Call> made = calls();
            Lines lines;
            for (const Call& call : made)
                if (call.function == "bf_sys_log_and_trace") lines.push_back(call.text);
            ASSERT_EQ(lines.size(), meter.meter_type == 2 ? 1u : 0u);
            if (!lines.empty()) {
                EXPECT_TRUE(lines[0].starts_with("ASSERTION FAILED: \"0\" (0) from get_bytes_meter_type:")) << lines[0];
            }
            ASSERT_TRUE(!made.empty() && made.back().action);
            EXPECT_EQ(made.back().function, add ? "pipe_mgr_mat_ent_add" : "pipe_mgr_mat_ent_set_action");
            const pipe_resource_slot& slot = made.back().action->slots[0];
            EXPECT_EQ(slot.tag, uint32_t{PIPE_SLOT_ATTACHED});
            pipe_meter_spec sent;
            std::memcpy(&sent, slot.spec, sizeof sent);
            EXPECT_EQ(sent.type, meter.meter_type == 1 ? 1u : 0u);
            EXPECT_EQ(sent.committed_unit | sent.peak_unit | sent.reserved_4 | sent.reserved_12 | sent.reserved_36, 0u);
            EXPECT_EQ(sent.committed_rate, 0x11111111u);
            EXPECT_EQ(sent.committed_burst, 0x22222222u);
            EXPECT_EQ(sent.peak_rate, 0xF3333333u);
            EXPECT_EQ(sent.peak_burst, 0x44444444u);
        }

    // Without a spec, a modify leaves the entry's meter as it is. A default entry is sent without a meter.
    p4_pd_velmar_switch_l2LookupMiss_table_modify_with_NoAction(session, device, 1, nullptr);
    const ActionCopy modified = sent_action();
    ASSERT_EQ(p4_pd_velmar_switch_l2LookupMiss_set_default_action_NoAction(session, target, nullptr, &entry), 0u);
    const ActionCopy set = sent_action();
    EXPECT_EQ(modified.slots[0].tag, uint32_t{PIPE_SLOT_UNCHANGED});
    EXPECT_EQ(set.slots[0].tag, uint32_t{PIPE_SLOT_DETACHED});
    for (const ActionCopy& action : {modified, set}) {
        EXPECT_EQ(action.resource_count, 1);
        EXPECT_EQ(action.slots[0].resource_hdl, 0x5000001u);
        EXPECT_TRUE(is_clear(action.slots[0].spec, sizeof action.slots[0].spec));
    }
}

} // namespace
