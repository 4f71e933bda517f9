// Reading entries of all tables: what the driver is asked, refusals, and answers that can't come from this pipeline.
// Also the decoders alone.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/views.h"

namespace {

using namespace support;

class Readback : public LibraryTest {
protected:
    std::mt19937 random{20240714};

    Readback() {
        answer_with_views();
    }

    // Runs `body` for each table, with an entry of the table as the driver's answer.
    template <class Body>
    void for_tables(Body body) {
        for (const catalog::Table* table : all_tables()) {
            SCOPED_TRACE(table->name);
            hardware = random_view(random, table, is_indirect(*table) ? nullptr : table->actions.begin());
            calls();
            body(*table);
        }
    }

    // What a read leaves that writes nothing.
    static Outputs unread(const catalog::Table& table) {
        Outputs out;
        if (is_keyless(table)) out.is_default = 1;
        return out;
    }

    void expect_assertion(const std::string& condition, const catalog::Table& table) {
        const std::vector<vl_model::Call> logged = calls_of("bf_sys_log_and_trace");
        ASSERT_EQ(logged.size(), 1u);
        EXPECT_EQ(logged[0].args[0], 0u) << "module";
        EXPECT_EQ(logged[0].args[1], 2u) << "level";
        EXPECT_TRUE(logged[0].text.starts_with("ASSERTION FAILED: " + condition + " from " + exported(table.name) +
                                               "_get_entry:"))
            << logged[0].text;
    }
};

TEST_F(Readback, ArgumentsOfTheRead) {
    for_tables([&](const catalog::Table& table) {
        for (const uint32_t from_hw : {0x100u, 1u}) { // of which 8 bits count
            Outputs out;
            EXPECT_EQ(read(table, out, {.from_hw = from_hw}), 0u);
            const std::vector<vl_model::Call> reads = calls_of("pipe_mgr_get_entry");
            ASSERT_EQ(reads.size(), 1u);
            const auto& [args, match, action] = std::tie(reads[0].args, *reads[0].match, *reads[0].action);
            EXPECT_EQ(std::vector(args.begin(), args.begin() + 4),
                      (std::vector<uint64_t>{1, table.handle, all_pipes_word, 9}));
            EXPECT_EQ(std::vector(args.begin() + 7, args.end()), (std::vector<uint64_t>{from_hw & 0xFF, 1, 0}));
            const catalog::KeyLayout layout = catalog::key_layout(table);
            EXPECT_EQ(match.key_null, is_keyless(table));
            EXPECT_EQ(match.mask_null, is_keyless(table));
            EXPECT_EQ(match.key, Bytes(layout.bytes));
            EXPECT_EQ(match.mask, Bytes(layout.bytes));
            EXPECT_EQ(match.key_bits, layout.bits);
            EXPECT_EQ(match.priority | match.partition_index, 0u);
            EXPECT_EQ(action.data_null, is_indirect(table));
            EXPECT_EQ(action.data, Bytes(is_indirect(table) ? 0 : 32)) << "room for 32 zeroed bytes in any table";
            EXPECT_EQ(action.data_bits | action.kind, 0);
        }
    });
}

TEST_F(Readback, ADeviceWithItsTopBitSetIsNotSignExtended) {
    uint8_t is_default;
    p4_pd_velmar_switch_ipv4Host_match_spec_t key;
    p4_pd_velmar_switch_ipv4Host_get_entry(session, 0xFFFFFFFF, 1, 0, &key, nullptr, nullptr, nullptr, &is_default);
    EXPECT_EQ(only_call().args[2], 0x0000FFFFFFFFFFFFu);
}

TEST_F(Readback, NameAndNumberMayBeNull) {
    for_tables([&](const catalog::Table& table) {
        for (const catalog::Binding& binding : table.actions) {
            hardware = random_view(random, &table, &binding);
            Outputs number_only, name_only;
            char name[61];
            EXPECT_EQ(read(table, number_only), 0u);
            EXPECT_EQ(number_only.number(), catalog::number_of(catalog::program.actions, binding.action));
            EXPECT_EQ(read(table, name_only, {.name = name, .number = false}), 0u);
            EXPECT_EQ(name, exported(binding.action));
            EXPECT_EQ(name_only.number(), Outputs{}.number());
            EXPECT_EQ(name_only.spec(), number_only.spec());
        }
    });
}

TEST_F(Readback, FailedReadsWriteNothing) {
    const size_t before = vl_model::allocations_made();
    for_tables([&](const catalog::Table& table) {
        const auto expect_nothing = [&](pd_status status) {
            Outputs out;
            EXPECT_EQ(read(table, out), status);
            EXPECT_TRUE(out == unread(table));
            EXPECT_EQ(vl_model::allocations_made(), before);
        };
        vl_model::fail_call("pipe_mgr_get_entry", 1, 1234);
        expect_nothing(1234);
        if (is_indirect(table)) return;
        vl_model::fail_allocation(1); // of the list of resources
        expect_nothing(PD_STATUS_NO_MEMORY);
        hardware.action.kind = PIPE_KIND_MEMBER;
        expect_nothing(PD_STATUS_UNEXPECTED);
        expect_assertion("\"0\" (0)", table);
    });
}

TEST_F(Readback, TheKeyOfAForeignActionIsRead) {
    for_tables([&](const catalog::Table& table) {
        if (is_indirect(table)) return;
        Outputs expected, out;
        EXPECT_EQ(read(table, expected), 0u);
        expected.action = unread(table).action;
        hardware.action_hdl ^= 0x1000;
        const size_t before = vl_model::allocations_made();
        EXPECT_EQ(read(table, out), PD_STATUS_UNEXPECTED);
        EXPECT_TRUE(out == expected);
        EXPECT_EQ(vl_model::allocations_made() - before, 1u) << "the list is made before the action is looked up";
        EXPECT_EQ(vl_model::live_allocations(), 0u);
        expect_assertion("\"((void *)0)\" (NULL)", table);
    });
}

TEST_F(Readback, EntriesWithoutAKeyAreTheDefault) {
    for_tables([&](const catalog::Table& table) {
        if (is_keyless(table)) return;
        Outputs expected;
        EXPECT_EQ(read(table, expected), 0u);
        EXPECT_EQ(expected.is_default, 0);
        if (catalog::has_priority(table)) {
            EXPECT_EQ(expected.priority, hardware.match.priority);
        }
        expected.is_default = 1; // the priority stays
        std::fill_n(expected.key.begin(), catalog::key_layout(table).record_size, uint8_t{0});
        for (const bool null : {true, false}) {
            hardware.key_null = null;
            if (!null) hardware.match.key_len = 0;
            Outputs out;
            EXPECT_EQ(read(table, out), 0u);
            EXPECT_TRUE(out == expected);
        }
    });
}

TEST_F(Readback, MemberGroupOrNeither) {
    for (const catalog::Profile& profile : catalog::program.profiles) {
        const catalog::Table& table = table_named(profile.table);
        hardware = random_view(random, &table, nullptr);
        hardware.action.resource_count = 1; // but no list is made
        hardware.action_hdl = 0;            // ignored
        for (const unsigned kind : {PIPE_KIND_MEMBER + 0u, PIPE_KIND_GROUP + 0u, PIPE_KIND_ACTION_DATA + 0u, 0u}) {
            hardware.set_target(kind, 0x55);
            Outputs out;
            EXPECT_EQ(read(table, out), 0u);
            EXPECT_EQ(out.has_mbr, kind == PIPE_KIND_MEMBER);
            EXPECT_EQ(out.has_grp, kind == PIPE_KIND_GROUP);
            EXPECT_EQ(out.mbr, kind == PIPE_KIND_MEMBER ? 0x55 : unread(table).mbr);
            EXPECT_EQ(out.grp, kind == PIPE_KIND_GROUP ? 0x55 : unread(table).grp);
        }
    }
    EXPECT_EQ(vl_model::allocations_made(), 0u);
    EXPECT_TRUE(log_lines().empty());
}

TEST_F(Readback, TheListHasAPairForEachSlot) {
    for_tables([&](const catalog::Table& table) {
        if (is_indirect(table)) return;
        hardware.action.resource_count = 2;
        Outputs out;
        EXPECT_EQ(read(table, out), 0u);
        const std::vector<vl_model::Call> allocations = calls_of("bf_sys_calloc");
        ASSERT_EQ(allocations.size(), 1u);
        EXPECT_EQ(allocations[0].args, (std::vector<uint64_t>{2, 8}));
    });
}

TEST_F(Readback, IndexParametersComeFromTheAttachedSlots) {
    const catalog::Table& table = table_named("wredQueueSelect");
    const uint32_t wred_block = catalog::resource_of(catalog::program, table).handle;
    hardware = random_view(random, &table, catalog::find_binding(table.actions, "runWred"));
    const struct {
        std::vector<pipe_resource_slot> slots;
        uint32_t index;
        const char* rule;
    } cases[] = {
        {{{wred_block, 7, {}, 1, 0}}, 7, "an attached slot"},
        {{}, PD_NO_INDEX, "no slots"},
        {{{wred_block - 1, 7, {}, 1, 0}}, 0, "another resource"},
        {{{wred_block, 7, {}, 1, 0}, {wred_block, 8, {}, 1, 0}}, 8, "the last slot of the resource counts"},
        {{{wred_block, 7, {}, 1, 0}, {wred_block, 8, {}, 0, 0}}, 7, "only tag 1 is attached"},
        {{{wred_block, 7, {}, 1, 0}, {wred_block, 8, {}, 2, 0}}, 7, "only tag 1 is attached"},
        {{{wred_block, 7, {}, 1, 0}, {wred_block, 8, {}, 3, 0}}, 7, "only tag 1 is attached"},
        {{{wred_block, 7, {}, 2, 0}}, PD_NO_INDEX, "no slot is attached"},
    };
    for (const auto& [slots, index, rule] : cases) {
        hardware.action.resource_count = static_cast<uint8_t>(slots.size());
        std::copy(slots.begin(), slots.end(), hardware.action.slots);
        Outputs out;
        EXPECT_EQ(read(table, out), 0u);
        p4_pd_velmar_switch_runWred_action_spec_t spec;
        std::memcpy(&spec, out.spec().data(), sizeof spec);
        EXPECT_EQ(spec.action_index, index) << rule;
    }
}

using ReadbackDeathTest = Readback;

// The log gets the frames only, one line each, without the line that it gets outside of debug mode.
TEST_F(ReadbackDeathTest, DebugModeLogsTheFramesAndStops) {
    const auto count_lines = [](int, int level, const char* line, void*) {
        static int frames = 0;
        if (level != 2 || std::strstr(line, "ASSERTION") != nullptr) std::_Exit(1);
        if (++frames == 2) std::fputs("two frames or more\n", stderr);
    };
    const catalog::Table& table = table_named("trapToCpu");
    hardware = random_view(random, &table, nullptr); // without action data
    EXPECT_EXIT(
        {
            vl_model_debug_mode_set(1);
            vl_model_log_sink_set(count_lines, nullptr);
            Outputs out;
            read(table, out);
        },
        testing::KilledBySignal(SIGABRT), "two frames or more");
}

TEST(Decoders, PrefixLengthIsGivenByTrailingZeros) {
    uint8_t key[17] = {1}, mask[17] = {0xFF, 0xFF, 0xF0};
    pipe_match_record match = {key, mask, 0, 0, 40, 5, 0};
    p4_pd_velmar_switch_ipv4ShortMaskLpm_match_spec_t v4 = {};
    unbuild_mask_ipv4ShortMaskLpm(&match, &v4);
    EXPECT_EQ(v4.ingIpv4_dip_prefix_length, 12);
    mask[4] = 1; // only the end of the mask counts, not a hole
    unbuild_mask_ipv4ShortMaskLpm(&match, &v4);
    EXPECT_EQ(v4.ingIpv4_dip_prefix_length, 32);

    p4_pd_velmar_switch_ipv6Partition_match_spec_t v6 = {};
    for (unsigned length = 0; length <= 128; ++length) {
        std::memset(mask, 0, sizeof mask);
        for (unsigned bit = 0; bit < length; ++bit)
            mask[1 + bit / 8] |= static_cast<uint8_t>(0x80 >> bit % 8);
        unbuild_mask_ipv6Partition(&match, &v6);
        EXPECT_EQ(v6.ingIpv6_dip_prefix_length, length) << "the VRF's mask bytes don't count";
    }
}

TEST(Decoders, KeysClearTheWholeRecordAndTrimNothing) {
    uint8_t key[] = {0, 0, 1, 2, 3, 4}, mask[6] = {};
    const pipe_match_record match = {key, mask, 0xBEEF, 0, 48, 6, 0};
    p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_t v4, expected;
    std::memset(&v4, 0xFF, sizeof v4);
    unbuild_key_ipv4FinalResolve0(&match, &v4);
    std::memset(&expected, 0, sizeof expected);
    expected.fibV4ResultX_partIdx = 0xBEEF; // the partition comes from the record, not from the key
    expected.ingIpv4_dip = 0x01020304;
    EXPECT_EQ(std::memcmp(&v4, &expected, sizeof v4), 0);

    uint8_t narrow[] = {0xFF, 0xFF};
    const pipe_match_record port = {narrow, mask, 0, 0, 9, 2, 0};
    p4_pd_velmar_switch_qosPortProperties_match_spec_t wide = {};
    unbuild_key_qosPortProperties(&port, &wide);
    EXPECT_EQ(wide.ig_intr_md_ingress_port, 0xFFFF);
}

TEST(Decoders, ActionSpecsAndTheirResources) {
    uint8_t data[] = {0, 5, 0, 0x28};
    const pipe_action_data action = {.data_bits = 32, .data_len = 4, .reserved = 0, .data = data};
    const uint32_t counter = catalog::resource_of(catalog::program, table_named("pdpPolicy")).handle;
    const pd_resource_index pairs[] = {{counter, 9}, {counter ^ 0x1000, 10}};
    p4_pd_velmar_switch_meterPdpClass_action_spec_t meter = {};
    unbuild_action_spec_meterPdpClass(&action, pairs, 2, &meter);
    EXPECT_EQ(meter.action_pdpClassId, 0x50028u) << "this index comes from the data";
    p4_pd_velmar_switch_setPdpClassCount_action_spec_t count = {};
    unbuild_action_spec_setPdpClassCount(&action, nullptr, 0, &count);
    EXPECT_EQ(count.action_counterIndex, PD_NO_INDEX);
    unbuild_action_spec_setPdpClassCount(&action, pairs + 1, 1, &count);
    EXPECT_EQ(count.action_counterIndex, 0u);
    unbuild_action_spec_setPdpClassCount(&action, pairs, 2, &count);
    EXPECT_EQ(count.action_counterIndex, 9u);
}

} // namespace
