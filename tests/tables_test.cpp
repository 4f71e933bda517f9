// Failed reads of default entries, the default entries of indirect tables, and the shapes and properties of tables.
// round_trip_test.cpp sets and reads every default entry.
#include "support/library.h"
#include "support/text.h"

#include <cstring>

#include "vl_driver/tables.h"
#include "vl_pd/velmar_switch_pipeline.h"

namespace {

using namespace support;
using vl_model::Call;

using Tables = LibraryTest;

constexpr uint8_t untouched = 0xA5;
constexpr uint32_t untouched_word = 0xA5A5A5A5;

TEST_F(Tables, FailedReadsOfADefaultEntryWriteAndLogNothing) {
    const auto expect_untouched = [&](pd_status expected, size_t allocations) {
        pd_action_record record, fresh;
        std::memset(&fresh, untouched, sizeof fresh);
        record = fresh;
        calls();
        EXPECT_EQ(p4_pd_velmar_switch_trapToCpu_table_get_default_entry(session, target, 0, &record), expected);
        EXPECT_EQ(std::memcmp(&record, &fresh, sizeof record), 0);
        EXPECT_TRUE(log_lines().empty());
        EXPECT_EQ(vl_model::live_allocations(), 0u);
        EXPECT_EQ(vl_model::allocations_made(), allocations);
    };
    vl_model::set_answer_hook([](auto&, pipe_action_record& action, auto&) { action.kind = PIPE_KIND_GROUP; });
    expect_untouched(PD_STATUS_UNEXPECTED, 0);
    vl_model::set_answer_hook([](auto&, pipe_action_record& action, uint32_t& action_hdl) {
        action.resource_count = 1;
        action_hdl = table_named("ipv4Host").actions.begin()->handle;
    });
    expect_untouched(PD_STATUS_UNEXPECTED, 1);
    vl_model::fail_allocation(1);
    expect_untouched(PD_STATUS_NO_MEMORY, 1);
}

TEST_F(Tables, DefaultEntriesOfIndirectTables) {
    const struct {
        uint8_t kind, has_mbr, has_grp;
        uint32_t status, mbr, grp;
    } cases[] = {{PIPE_KIND_MEMBER, 1, 0, 0, 0x55, untouched_word},
                 {PIPE_KIND_GROUP, 0, 1, 0, untouched_word, 0x66},
                 {PIPE_KIND_ACTION_DATA, untouched, untouched, PD_STATUS_UNEXPECTED, untouched_word, untouched_word}};
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
        uint32_t grp = untouched_word, mbr = untouched_word;
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

TEST_F(Tables, HandlesPrioritiesAndWidthsFollowTheRows) {
    for (const catalog::Table* table : all_tables()) {
        SCOPED_TRACE(table->name);
        const std::string base = exported(table->name) + "_";
        uint32_t handle = 0;
        EXPECT_EQ(call(base + "get_mat_table_handle", {word(&handle)}), 0u);
        EXPECT_EQ(handle, table->handle);
        EXPECT_EQ(call(base + "get_mat_table_handle", {0}), 0u);
        EXPECT_EQ(call(base + "supports_entry_priority", {}), catalog::has_priority(*table));
        for (const catalog::KeyField& field : table->key) {
            std::string name = field.pd_name;
            if (name.ends_with("_valid")) name.resize(name.size() - 6);
            EXPECT_EQ(call(base + name + "_width", {}), field.bits) << name;
        }
    }
    EXPECT_TRUE(p4_pd_velmar_switch_trapToCpu_supports_entry_priority());
    EXPECT_FALSE(p4_pd_velmar_switch_ipv4ShortMaskLpm_supports_entry_priority());
    EXPECT_EQ(p4_pd_velmar_switch_ipv6Host_ingIpv6_dip_width(), 128);
    EXPECT_EQ(p4_pd_velmar_switch_tunnelTermination_outerIpv6Hdr_width(), 1);
    EXPECT_EQ(p4_pd_velmar_switch_l2DmacClassify_ig_intr_md_ingress_port_width(), 9) << "the mask has no part in it";
    EXPECT_TRUE(calls().empty()) << "none of these needs the driver";
}

TEST_F(Tables, PropertiesAreReadIntoLocals) {
    ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_set_property(session, device, 2, 30, 4), 0u);
    calls();
    uint32_t value = 1, args = 1;
    EXPECT_EQ(p4_pd_velmar_switch_ipv4Host_get_property(session, device, 2, &value, &args), 0u);
    EXPECT_EQ(value, 30u);
    EXPECT_EQ(args, 4u);
    const Call read = only_call();
    EXPECT_EQ(read.args[3], 2u);
    EXPECT_NE(read.args[4], word(&value));
}

// The masks that the embedded driver matches packets with are those of the schemas. A field's mask there has whole hex
// digits, and fills the field's bytes from the right. A partition isn't matched.
TEST_F(Tables, TheDescriptionHasTheMasksOfTheSchemas) {
    for (uint32_t i = 0; i < velmar_switch_pipeline.table_count; ++i) {
        const vl_model_table& described = velmar_switch_pipeline.tables[i];
        const catalog::Table& table = table_named(described.name);
        const std::string schema = text_of(std::string(described.name) + "_schema", {});
        std::string masks;
        for (const catalog::KeyField& field : table.key) {
            const std::string begin = std::string("'") + field.pd_name + "'," + std::to_string(field.bits) + ",0x";
            const size_t at = schema.find(begin);
            ASSERT_NE(at, schema.npos) << schema;
            const std::string digits =
                schema.substr(at + begin.size(), schema.find(',', at + begin.size()) - at - begin.size());
            const bool is_partition = table.partitioned && masks.empty();
            masks += std::string(2 * catalog::whole_bytes(field.bits) - (is_partition ? 0 : digits.size()), '0');
            if (!is_partition) masks += digits;
        }
        std::string described_masks;
        for (uint32_t byte = 0; byte < described.key_len; ++byte) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", described.key_mask[byte]);
            described_masks += digits;
        }
        EXPECT_EQ(described_masks, masks) << described.name;
    }
}

} // namespace
