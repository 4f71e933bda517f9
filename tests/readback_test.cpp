// Reading entries: what the driver is asked, refusals, and answers that can't come from this pipeline. Also the decoders
// by themselves.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/library.h"
#include "vl_driver/profiles.h"
#include "vl_driver/tables.h"

namespace {

using namespace support;

constexpr uint8_t untouched = 0xA5;
constexpr uint32_t untouched_word = 0xA5A5A5A5;

// Nothing was written to an output since it was filled.
template <class Output>
bool is_untouched(const Output& output) {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(&output);
    return std::all_of(bytes, bytes + sizeof output, [](uint8_t byte) { return byte == untouched; });
}

class Readback : public LibraryTest {
protected:
    using Key = p4_pd_velmar_switch_trapToCpu_match_spec_t;
    static constexpr uint32_t ttl = 5, priority = 77, reason = 42; // of the entry that the tests read

    const catalog::Table& trap_to_cpu = table_named("trapToCpu");
    const pd_entry entry = add_trap();

    // Outputs of a read of trapToCpu, which has masks.
    struct Outputs {
        struct {
            Key key;
            uint32_t priority;
            uint8_t is_default;
        } match;
        struct {
            char name[61];
            uint8_t spec[16];
            uint32_t number;
        } action;

        Outputs() {
            std::memset(this, untouched, sizeof *this);
        }
    };

    pd_status read(Outputs& out, pd_entry read_entry, uint32_t from_hw = 0) {
        return p4_pd_velmar_switch_trapToCpu_get_entry(session, device, read_entry, from_hw, &out.match.key,
                                                       &out.match.priority, out.action.name, out.action.spec,
                                                       &out.action.number, &out.match.is_default);
    }
    pd_status read(Outputs& out) {
        return read(out, entry);
    }

    pd_entry default_entry(const catalog::Table& table) {
        pd_entry found = 0;
        EXPECT_EQ(pipe_mgr_table_get_default_entry_handle(session, {device, PIPE_ALL_PIPES, 0}, table.handle, &found),
                  0u);
        calls();
        return found;
    }

    // A read whose answer is edited.
    using Edit = void (*)(pipe_match_record&, pipe_action_record&, uint32_t& action_hdl);
    pd_status read_edited(Outputs& out, Edit edit) {
        vl_model::set_answer_hook(edit);
        return read(out);
    }

    void expect_assertion(const std::string& condition) {
        const std::vector<vl_model::Call> logged = calls_of("bf_sys_log_and_trace");
        ASSERT_EQ(logged.size(), 1u);
        EXPECT_EQ(logged[0].args[0], 0u) << "module";
        EXPECT_EQ(logged[0].args[1], 2u) << "level";
        EXPECT_TRUE(logged[0].text.starts_with("ASSERTION FAILED: " + condition +
                                               " from p4_pd_velmar_switch_trapToCpu_get_entry:"))
            << logged[0].text;
    }

private:
    pd_entry add_trap() {
        Key key = {};
        key.ingMd_ttl = ttl;
        key.ingMd_ttl_mask = 0xFF;
        const p4_pd_velmar_switch_trapPacket_action_spec_t action = {.action_cpuReasonCode = reason};
        pd_entry added = 0;
        EXPECT_EQ(
            p4_pd_velmar_switch_trapToCpu_table_add_with_trapPacket(session, target, &key, priority, &action, &added),
            0u);
        calls();
        return added;
    }
};

TEST_F(Readback, ArgumentsOfTheRead) {
    Outputs out;
    ASSERT_EQ(read(out, entry, 0x100), 0u);
    std::vector<vl_model::Call> reads = calls_of("pipe_mgr_get_entry");
    ASSERT_EQ(reads.size(), 1u);
    const vl_model::Call& call = reads[0];
    EXPECT_EQ(std::vector(call.args.begin(), call.args.begin() + 4),
              (std::vector<uint64_t>{session, trap_to_cpu.handle, all_pipes_word, entry}));
    EXPECT_EQ(std::vector(call.args.begin() + 7, call.args.end()), (std::vector<uint64_t>{0, 1, 0}))
        << "eight bits of read_from_hw count";
    const catalog::KeyLayout layout = catalog::key_layout(trap_to_cpu);
    EXPECT_EQ(call.match->key, Bytes(layout.bytes));
    EXPECT_EQ(call.match->mask, Bytes(layout.bytes));
    EXPECT_EQ(call.match->key_bits, layout.bits);
    EXPECT_EQ(call.match->priority | call.match->partition_index, 0u);
    EXPECT_EQ(call.action->data, Bytes(32)) << "room for 32 zeroed bytes, also where the table needs fewer";
    EXPECT_EQ(call.action->data_bits, 0);
    EXPECT_EQ(call.action->kind, 0);

    EXPECT_EQ(out.match.priority, priority);
    EXPECT_STREQ(out.action.name, "p4_pd_velmar_switch_trapPacket");
    EXPECT_EQ(out.action.spec[0], reason);
    EXPECT_EQ(out.action.spec[1], untouched);
}

TEST_F(Readback, ADeviceWithItsTopBitSetIsNotSignExtended) {
    uint8_t is_default;
    p4_pd_velmar_switch_ipv4Host_match_spec_t key;
    p4_pd_velmar_switch_ipv4Host_get_entry(session, 0xFFFFFFFF, 1, 0, &key, nullptr, nullptr, nullptr, &is_default);
    EXPECT_EQ(only_call().args[2], 0x0000FFFFFFFFFFFFu);
}

TEST_F(Readback, NameAndNumberMayBeNull) {
    Outputs out;
    ASSERT_EQ(p4_pd_velmar_switch_trapToCpu_get_entry(session, device, entry, 0, &out.match.key, &out.match.priority,
                                                      nullptr, out.action.spec, nullptr, &out.match.is_default),
              0u);
    EXPECT_EQ(out.action.spec[0], reason);
    EXPECT_EQ(out.match.key.ingMd_ttl, ttl);
    EXPECT_EQ(out.match.key.ingMd_ttl_mask, 0xFF);
}

TEST_F(Readback, HardwareIsReadOnRequest) {
    ASSERT_EQ(vl_model::edit_hardware(device, trap_to_cpu.handle, entry,
                                      [](vl_model::EntryImage& image) { image.data[0] = reason + 1; }),
              0u);
    for (const uint32_t from_hw : {0u, 1u}) {
        Outputs out;
        ASSERT_EQ(read(out, entry, from_hw), 0u);
        EXPECT_EQ(out.action.spec[0], reason + from_hw);
    }
}

TEST_F(Readback, FailedReadsWriteNothing) {
    const auto expect_nothing = [&](pd_status status, size_t allocations, Edit edit = nullptr) {
        Outputs out;
        EXPECT_EQ(edit ? read_edited(out, edit) : read(out), status);
        EXPECT_TRUE(is_untouched(out));
        EXPECT_EQ(vl_model::allocations_made(), allocations);
    };
    vl_model::fail_call("pipe_mgr_get_entry", 1, 1234);
    expect_nothing(1234, 0);
    vl_model::fail_allocation(1); // of the list of resources
    expect_nothing(PD_STATUS_NO_MEMORY, 0);
    expect_nothing(PD_STATUS_UNEXPECTED, 0,
                   [](auto&, pipe_action_record& action, auto&) { action.kind = PIPE_KIND_MEMBER; });
    expect_assertion("\"0\" (0)");
}

TEST_F(Readback, OfAForeignActionTheKeyIsRead) {
    Outputs out;
    EXPECT_EQ(read_edited(out, [](auto&, auto&, uint32_t& action) { action ^= 0x1000; }), PD_STATUS_UNEXPECTED);
    EXPECT_TRUE(is_untouched(out.action));
    EXPECT_EQ(out.match.priority, priority);
    EXPECT_EQ(out.match.is_default, 0);
    EXPECT_EQ(out.match.key.ingMd_ttl, ttl);
    EXPECT_EQ(vl_model::allocations_made(), 1u) << "the list is made before the action is looked up";
    EXPECT_EQ(vl_model::live_allocations(), 0u);
    expect_assertion("\"((void *)0)\" (NULL)");
}

TEST_F(Readback, EntriesWithoutAKeyAreTheDefault) {
    for (const Edit edit : {Edit([](pipe_match_record&match, auto&, auto&) { match.key_bytes = nullptr; }),
                            Edit([](pipe_match_record&match, auto&, auto&) { match.key_len = 0; })}) {
        Outputs out;
        ASSERT_EQ(read_edited(out, edit), 0u);
        EXPECT_EQ(out.match.is_default, 1);
        EXPECT_EQ(out.match.priority, priority) << "written with or without a key";
        const Key cleared = {};
        EXPECT_EQ(std::memcmp(&out.match.key, &cleared, sizeof cleared), 0);
        EXPECT_EQ(out.action.spec[0], reason);
    }
    vl_model::set_answer_hook({});
    Outputs out;
    ASSERT_EQ(read(out, default_entry(trap_to_cpu)), 0u);
    EXPECT_EQ(out.match.is_default, 1);
}

TEST_F(Readback, KeylessTable) {
    const pd_entry keyless = default_entry(table_named("vlanDecap"));
    char name[61];
    uint32_t number = 0;
    ASSERT_EQ(p4_pd_velmar_switch_vlanDecap_get_entry(session, device, keyless, 0, name, nullptr, &number), 0u);
    EXPECT_STREQ(name, "p4_pd_velmar_switch_removeVlanHdr");
    EXPECT_EQ(number, catalog::number_of(catalog::program.actions, "removeVlanHdr"));
    const vl_model::Call call = only_call();
    EXPECT_TRUE(call.match->key_null && call.match->mask_null);
    EXPECT_EQ(call.match->key_bits | call.match->key_len, 0);
}

TEST_F(Readback, TheListHasAPairForEachSlot) {
    Outputs out;
    ASSERT_EQ(read_edited(out, [](auto&, pipe_action_record& action, auto&) { action.resource_count = 2; }), 0u);
    const std::vector<vl_model::Call> allocations = calls_of("bf_sys_calloc");
    ASSERT_EQ(allocations.size(), 1u);
    EXPECT_EQ(allocations[0].args, (std::vector<uint64_t>{2, 8}));
}

TEST_F(Readback, IndexParametersComeFromTheAttachedSlots) {
    const uint32_t wred_block = catalog::resource_of(catalog::program, table_named("wredQueueSelect")).handle;
    p4_pd_velmar_switch_wredQueueSelect_match_spec_t key = {};
    const p4_pd_velmar_switch_runWred_action_spec_t wred = {.action_index = 7, .action_ecnEnabled = 1};
    pd_entry added = 0;
    ASSERT_EQ(p4_pd_velmar_switch_wredQueueSelect_table_add_with_runWred(session, target, &key, &wred, &added), 0u);
    struct Slot {
        uint32_t resource, index, tag;
    };
    const struct {
        std::vector<Slot> slots;
        uint32_t index;
        const char* rule;
    } cases[] = {
        {{{wred_block, 7, 1}}, 7, "what was added"},
        {{}, PD_NO_INDEX, "no slots"},
        {{{wred_block - 1, 7, 1}}, 0, "another resource"},
        {{{wred_block, 7, 1}, {wred_block, 8, 1}}, 8, "the last slot of the resource counts"},
        {{{wred_block, 7, 1}, {wred_block, 8, 0}}, 7, "only tag 1 is attached"},
        {{{wred_block, 7, 1}, {wred_block, 8, 2}}, 7, "only tag 1 is attached"},
        {{{wred_block, 7, 1}, {wred_block, 8, 3}}, 7, "only tag 1 is attached"},
        {{{wred_block, 7, 2}}, PD_NO_INDEX, "no slot is attached"},
    };
    for (const auto& [slots, index, rule] : cases) {
        vl_model::set_answer_hook([&slots = slots](auto&, pipe_action_record& action, auto&) {
            action.resource_count = static_cast<uint8_t>(slots.size());
            for (size_t i = 0; i < slots.size(); ++i)
                action.slots[i] = {slots[i].resource, slots[i].index, {}, slots[i].tag, 0};
        });
        p4_pd_velmar_switch_runWred_action_spec_t out = {};
        uint8_t is_default;
        EXPECT_EQ(p4_pd_velmar_switch_wredQueueSelect_get_entry(session, device, added, 0, &key, nullptr, &out, nullptr,
                                                                &is_default),
                  0u);
        EXPECT_EQ(out.action_ecnEnabled, 1);
        EXPECT_EQ(out.action_index, index) << rule;
    }
}

// An entry that points at a group. The driver's own call makes it.
class IndirectReadback : public LibraryTest {
protected:
    struct Outputs {
        p4_pd_velmar_switch_lagGroup_match_spec_t key;
        uint32_t priority, grp, mbr;
        uint8_t has_mbr, has_grp, is_default;

        Outputs() {
            std::memset(this, untouched, sizeof *this);
        }
    };

    const catalog::Table& lag_group = table_named("lagGroup");
    const pd_entry entry = add_pointer();

    pd_entry add_pointer() {
        const catalog::Profile& profile = catalog::program.profiles[catalog::profile_of(catalog::program, lag_group)];
        constexpr pipe_dev_tgt all = {device, PIPE_ALL_PIPES, 0};
        uint8_t key[] = {0x01, 0x20, 0x34}, mask[] = {0x0F, 0xF0, 0xFF};
        const pipe_match_record match = {key, mask, 0, 9, 20, 3, 0};
        pipe_action_record action{};
        action.kind = PIPE_KIND_GROUP;
        EXPECT_EQ(pipe_mgr_sel_grp_add(session, all, profile.selector, 0, 0, PIPE_SEL_GRP_MARK, &action.group_hdl, 0),
                  0u);
        pd_entry added = 0;
        EXPECT_EQ(pipe_mgr_mat_ent_add(session, all, lag_group.handle, &match, profile.actions.begin()->handle, &action,
                                       0, 0, &added),
                  0u);
        calls();
        return added;
    }

    pd_status read(Outputs& out, uint32_t from_hw = 0) {
        return p4_pd_velmar_switch_lagGroup_get_entry(session, device, entry, from_hw, &out.key, &out.priority,
                                                      &out.has_mbr, &out.has_grp, &out.grp, &out.mbr, &out.is_default);
    }
};

TEST_F(IndirectReadback, KeyPriorityAndCall) {
    Outputs out;
    ASSERT_EQ(read(out, 1), 0u);
    EXPECT_EQ(out.key.egrMd_egrL2AintfUnresolved, 0x12034u);
    EXPECT_EQ(out.key.egrMd_egrL2AintfUnresolved_mask, 0xFF0FFu);
    EXPECT_EQ(out.priority, 9u);
    EXPECT_EQ(out.is_default, 0);
    const vl_model::Call call = only_call();
    EXPECT_EQ(std::vector(call.args.begin(), call.args.begin() + 4),
              (std::vector<uint64_t>{session, lag_group.handle, all_pipes_word, entry}));
    EXPECT_EQ(std::vector(call.args.begin() + 7, call.args.end()), (std::vector<uint64_t>{1, 1, 0}));
    EXPECT_EQ(call.match->key, Bytes(3));
    EXPECT_EQ(call.match->key_bits, 20);
    EXPECT_TRUE(call.action->data_null);
    EXPECT_EQ(call.action->data_len, 0);
}

TEST_F(IndirectReadback, MemberGroupOrNeither) {
    const struct {
        uint8_t kind, has_mbr, has_grp;
        uint32_t mbr, grp;
    } cases[] = {{PIPE_KIND_MEMBER, 1, 0, 0x55, untouched_word},
                 {PIPE_KIND_GROUP, 0, 1, untouched_word, 0x77},
                 {PIPE_KIND_ACTION_DATA, 0, 0, untouched_word, untouched_word},
                 {0, 0, 0, untouched_word, untouched_word}};
    for (const auto& expected : cases) {
        vl_model::set_answer_hook([&](auto&, pipe_action_record& answer, uint32_t& action_hdl) {
            answer.kind = expected.kind;
            answer.member_hdl = 0x55;
            answer.group_hdl = 0x77;
            answer.resource_count = 1; // but no list is made
            action_hdl = 0;            // ignored
        });
        Outputs out;
        ASSERT_EQ(read(out), 0u);
        EXPECT_EQ(out.has_mbr, expected.has_mbr);
        EXPECT_EQ(out.has_grp, expected.has_grp);
        EXPECT_EQ(out.mbr, expected.mbr);
        EXPECT_EQ(out.grp, expected.grp);
        EXPECT_EQ(out.key.egrMd_egrL2AintfUnresolved, 0x12034u);
    }
    EXPECT_EQ(vl_model::allocations_made(), 0u);
    EXPECT_TRUE(log_lines().empty());
}

TEST_F(IndirectReadback, RefusalsAndEntriesWithoutAKey) {
    Outputs out;
    vl_model::fail_call("pipe_mgr_get_entry", 1, 55);
    EXPECT_EQ(read(out), 55u);
    EXPECT_TRUE(is_untouched(out));

    vl_model::set_answer_hook([](pipe_match_record& match, auto&, auto&) { match.key_len = 0; });
    ASSERT_EQ(read(out), 0u);
    EXPECT_EQ(out.is_default, 1);
    EXPECT_EQ(out.priority, 9u);
    EXPECT_EQ(out.key.egrMd_egrL2AintfUnresolved | out.key.egrMd_egrL2AintfUnresolved_mask, 0u);
    EXPECT_EQ(out.has_grp, 1);
}

using ReadbackDeathTest = Readback;

// The log gets the frames only, one line each, without the line that it gets outside of debug mode.
TEST_F(ReadbackDeathTest, DebugModeLogsTheFramesAndStops) {
    const auto count_lines = [](int, int level, const char* line, void*) {
        static int frames = 0;
        if (level != 2 || std::strstr(line, "ASSERTION") != nullptr) std::_Exit(1);
        if (++frames == 2) std::fputs("two frames or more\n", stderr);
    };
    EXPECT_EXIT(
        {
            vl_model_debug_mode_set(1);
            vl_model_log_sink_set(count_lines, nullptr);
            Outputs out;
            read_edited(out, [](auto&, pipe_action_record& action, auto&) { action.kind = 0; });
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
