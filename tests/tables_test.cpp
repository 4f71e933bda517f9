// Default entries, properties and shapes of tables.
#include "support/text.h"

#include <cstring>

#include "vl_driver/tables.h"

namespace {

using namespace support;
using vl_model::Call;

class Defaults : public LibraryTest {
protected:
    static constexpr uint8_t untouched = 0xA5;
};

bool equal(const vl_model::ActionCopy& left, const vl_model::ActionCopy& right) {
    return left.kind == right.kind && left.resource_count == right.resource_count &&
           left.data_bits == right.data_bits && left.data_len == right.data_len && left.data == right.data &&
           left.data_null == right.data_null && left.member_hdl == right.member_hdl &&
           left.group_hdl == right.group_hdl && left.reserved == right.reserved &&
           std::memcmp(left.slots.data(), right.slots.data(), sizeof left.slots) == 0;
}

// Every default action of every table is set, read and reset; where the action is an entry action too, the record that
// is sent is the one that an add sends.
TEST_F(Defaults, EveryTableWithEveryAction) {
    const pd_meter_spec meter = {1, 2, 3, 4, PD_METER_TYPE_COLOR_UNAWARE};
    size_t set = 0, shared = 0;
    for (const catalog::Table* table : all_tables()) {
        const std::string base = exported(table->name) + "_";
        for (const catalog::Binding& binding : table->actions) {
            if (!catalog::for_default(binding)) continue;
            SCOPED_TRACE(base + binding.action);
            const catalog::Action& action = action_of(binding);
            const catalog::ActionLayout layout = catalog::action_layout(action);
            Bytes spec(layout.record_size);
            for (size_t i = 0; i < spec.size(); ++i)
                spec[i] = static_cast<uint8_t>(i + 1);
            uint32_t entry = 0;
            std::vector<uint64_t> tail;
            if (!spec.empty()) tail.push_back(word(spec.data()));
            if (table->name == std::string("l2LookupMiss")) tail.push_back(word(&meter));
            std::vector<uint64_t> words = {dirty(session), target_word};
            words.insert(words.end(), tail.begin(), tail.end());
            words.push_back(word(&entry));
            ASSERT_EQ(call(base + "set_default_action_" + binding.action, words), 0u);
            Call sent = only_call();
            const vl_model::ActionCopy sent_action = *sent.action;
            EXPECT_EQ(sent.function, "pipe_mgr_mat_default_entry_set");
            sent.args[4] = 0; // the record's address
            EXPECT_EQ(sent.args,
                      (std::vector<uint64_t>{session, target_word, table->handle, binding.handle, 0, 0, word(&entry)}));
            ++set;

            if (catalog::for_entries(binding)) {
                const Bytes key(catalog::key_layout(*table).record_size);
                uint32_t added = 0;
                words = {session, target_word, word(key.data())};
                if (catalog::has_priority(*table)) words.push_back(1);
                words.insert(words.end(), tail.begin(), tail.end());
                if (table->ttl_on_add) words.push_back(0);
                words.push_back(word(&added));
                ASSERT_EQ(call(base + "table_add_with_" + binding.action, words), 0u);
                EXPECT_TRUE(equal(sent_action, *only_call().action));
                ASSERT_EQ(call(base + "table_delete", {session, device, added}), 0u);
                ++shared;
            }

            Bytes record(4 + spec.size() + 4, untouched);
            ASSERT_EQ(call(base + "table_get_default_entry", {session, target_word, dirty(0), word(record.data())}),
                      0u);
            const Call read = calls_of("pipe_mgr_table_get_default_entry").front();
            EXPECT_EQ(read.args[1], target_word);
            EXPECT_EQ(read.args[2], table->handle);
            EXPECT_EQ(read.args[5], 0u);
            EXPECT_EQ(read.args[6], 1u);
            EXPECT_EQ(read.args[7], 0u);
            EXPECT_EQ(read.action->data, Bytes(32));
            uint32_t number = 0;
            std::memcpy(&number, record.data(), sizeof number);
            EXPECT_EQ(number, catalog::number_of(catalog::program.actions, binding.action));
            EXPECT_EQ(Bytes(record.end() - 4, record.end()), Bytes(4, untouched)) << "nothing behind the record";
            for (size_t i = 0; i < layout.param_count; ++i) {
                const catalog::ParamLayout& param = layout.params[i];
                uint32_t meant = 0, got = 0;
                std::memcpy(&meant, spec.data() + param.record_offset, param.record_bytes);
                std::memcpy(&got, record.data() + 4 + param.record_offset, param.record_bytes);
                if (param.data_bytes == 3) meant &= 0xFFFFFF;
                if (param.role == catalog::Role::slot_index) meant &= 0xFFFF;
                EXPECT_EQ(got, meant) << action.params.begin()[i].name;
            }

            words.clear();
            if (!spec.empty()) words.push_back(word(record.data() + 4));
            EXPECT_EQ(value_of_entry(*table, session, entry),
                      "((()," + text_of(binding.action + std::string("_value"), words) + "),(0,True))");

            uint32_t handle = 0;
            EXPECT_EQ(call(base + "table_get_default_entry_handle", {session, target_word, word(&handle)}), 0u);
            EXPECT_EQ(handle, entry);
            EXPECT_EQ(call(base + "table_reset_default_entry", {session, target_word}), 0u);
            const Call reset = calls_of("pipe_mgr_mat_tbl_default_entry_reset").front();
            EXPECT_EQ(reset.args, (std::vector<uint64_t>{session, target_word, table->handle, 0}));
        }
    }
    EXPECT_EQ(set, 158u);
    EXPECT_EQ(shared, 139u);
}

TEST_F(Defaults, AMissingMeterIsDetached) {
    pd_entry entry;
    ASSERT_EQ(p4_pd_velmar_switch_l2LookupMiss_set_default_action_NoAction(session, target, nullptr, &entry), 0u);
    const vl_model::ActionCopy action = *only_call().action;
    EXPECT_EQ(action.resource_count, 1);
    EXPECT_EQ(action.slots[0].resource_hdl, 0x5000001u);
    EXPECT_EQ(action.slots[0].tag, uint32_t{PIPE_SLOT_DETACHED});
    for (const uint8_t byte : action.slots[0].spec)
        EXPECT_EQ(byte, 0);
}

TEST_F(Defaults, FailedReadsWriteAndLogNothing) {
    pd_action_record record;
    pd_action_record fresh;
    std::memset(&fresh, untouched, sizeof fresh);
    const auto expect_untouched = [&](pd_status expected) {
        record = fresh;
        calls();
        EXPECT_EQ(p4_pd_velmar_switch_trapToCpu_table_get_default_entry(session, target, 0, &record), expected);
        EXPECT_EQ(std::memcmp(&record, &fresh, sizeof record), 0);
        EXPECT_TRUE(log_lines().empty());
        EXPECT_EQ(vl_model::live_allocations(), 0u);
    };
    vl_model::fail_call("pipe_mgr_table_get_default_entry", 1, 77);
    expect_untouched(77);
    vl_model::set_answer_hook([](auto&, pipe_action_record& action, auto&) { action.kind = PIPE_KIND_GROUP; });
    expect_untouched(PD_STATUS_UNEXPECTED);
    EXPECT_EQ(vl_model::allocations_made(), 0u);
    vl_model::set_answer_hook([](auto&, pipe_action_record& action, uint32_t& action_hdl) {
        action.resource_count = 1;
        action_hdl = 0x2000006a; // another table's
    });
    expect_untouched(PD_STATUS_UNEXPECTED);
    EXPECT_EQ(vl_model::allocations_made(), 1u);
    vl_model::fail_allocation(1);
    expect_untouched(PD_STATUS_NO_MEMORY);
}

TEST_F(Defaults, OfIndirectTables) {
    const struct {
        uint8_t kind, has_mbr, has_grp;
        uint32_t status, mbr, grp;
    } cases[] = {{PIPE_KIND_MEMBER, 1, 0, 0, 0x55, 0xA5A5A5A5},
                 {PIPE_KIND_GROUP, 0, 1, 0, 0xA5A5A5A5, 0x66},
                 {PIPE_KIND_ACTION_DATA, untouched, untouched, PD_STATUS_UNEXPECTED, 0xA5A5A5A5, 0xA5A5A5A5}};
    p4_pd_velmar_switch_setEcmpNextHop_action_spec_t hop = {};
    pd_member member = 0;
    ASSERT_EQ(
        p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_with_setEcmpNextHop(session, target, &hop, &member), 0u);
    pd_entry entry;
    ASSERT_EQ(p4_pd_velmar_switch_ecmpGroup_set_default_entry(session, target, member, &entry), 0u);
    for (const auto& expected : cases) {
        vl_model::set_answer_hook([&](auto&, pipe_action_record& action, uint32_t& action_hdl) {
            action.kind = expected.kind;
            action.member_hdl = 0x55;
            action.group_hdl = 0x66;
            action_hdl = 0;
        });
        calls();
        uint8_t has_mbr = untouched, has_grp = untouched;
        uint32_t grp = 0xA5A5A5A5, mbr = 0xA5A5A5A5;
        EXPECT_EQ(
            p4_pd_velmar_switch_ecmpGroup_table_get_default_entry(session, target, 1, &has_mbr, &has_grp, &grp, &mbr),
            expected.status);
        EXPECT_EQ(has_mbr, expected.has_mbr);
        EXPECT_EQ(has_grp, expected.has_grp);
        EXPECT_EQ(mbr, expected.mbr);
        EXPECT_EQ(grp, expected.grp);
        const Call read = calls().front();
        EXPECT_EQ(read.args[5], 1u) << "from hardware";
        EXPECT_TRUE(read.action->data_null);
    }
}

using Tables = LibraryTest;

TEST_F(Tables, HandlesPrioritiesAndWidthsFollowTheRows) {
    size_t widths = 0, prioritised = 0;
    for (const catalog::Table* table : all_tables()) {
        SCOPED_TRACE(table->name);
        const std::string base = exported(table->name) + "_";
        uint32_t handle = 0;
        EXPECT_EQ(call(base + "get_mat_table_handle", {word(&handle)}), 0u);
        EXPECT_EQ(handle, table->handle);
        EXPECT_EQ(call(base + "get_mat_table_handle", {0}), 0u);
        const uint32_t priority = call(base + "supports_entry_priority", {});
        EXPECT_EQ(priority, catalog::has_priority(*table));
        prioritised += priority;
        for (const catalog::KeyField& field : table->key) {
            std::string name = field.pd_name;
            if (name.ends_with("_valid")) name.resize(name.size() - 6);
            EXPECT_EQ(call(base + name + "_width", {}), field.bits) << name;
            ++widths;
        }
    }
    EXPECT_EQ(widths, 405u);
    EXPECT_EQ(prioritised, 36u);
    EXPECT_EQ(p4_pd_velmar_switch_ipv6Host_ingIpv6_dip_width(), 128);
    EXPECT_EQ(p4_pd_velmar_switch_tunnelTermination_outerIpv6Hdr_width(), 1);
    EXPECT_EQ(p4_pd_velmar_switch_l2DmacClassify_ig_intr_md_ingress_port_width(), 9) << "whatever its field mask says";
    EXPECT_TRUE(calls().empty()) << "none of these needs the driver";
}

TEST_F(Tables, Properties) {
    EXPECT_EQ(call(exported("ipv4Host_set_property"), {session, dirty(device), dirty(2), dirty(30), dirty(4)}), 0u);
    EXPECT_EQ(only_call().args, (std::vector<uint64_t>{session, device, 0x1000023, 2, 30, 4}));
    uint32_t value = 1, args = 1;
    EXPECT_EQ(p4_pd_velmar_switch_ipv4Host_get_property(session, device, 2, &value, &args), 0u);
    EXPECT_EQ(value, 30u);
    EXPECT_EQ(args, 4u);
    calls();
    vl_model::fail_call("pipe_mgr_tbl_get_property", 1, 55);
    EXPECT_EQ(p4_pd_velmar_switch_ipv4Host_get_property(session, device, 2, &value, &args), 55u);
    EXPECT_EQ(value, 0xFFFFFFFFu);
    EXPECT_EQ(args, 0xFFFFFFFFu);
    const Call read = only_call();
    EXPECT_EQ(read.args[3], 2u);
    EXPECT_NE(read.args[4], word(&value)) << "the driver writes locals";
}

TEST_F(Tables, UpdateCallbacksGoToTheDriverAsTheyAre) {
    static uint32_t updates;
    updates = 0;
    const pipe_mat_update_cb on_update = [](pipe_sess_hdl, pipe_dev_tgt, pipe_tbl_hdl, pipe_ent_hdl, uint32_t,
                                            void* cookie) { *static_cast<uint32_t*>(cookie) += 1; };
    ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_register_mat_update_cb(
                  session, device, reinterpret_cast<pd_driver_callback>(on_update), &updates),
              0u);
    EXPECT_EQ(only_call().args, (std::vector<uint64_t>{session, device, 0x1000023,
                                                       reinterpret_cast<uintptr_t>(on_update), word(&updates)}));
    p4_pd_velmar_switch_ipv4Host_match_spec_t key = {};
    pd_entry entry;
    ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_table_add_with_onMiss(session, target, &key, &entry), 0u);
    EXPECT_EQ(updates, 1u);
}

} // namespace
