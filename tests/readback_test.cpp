// Reading entries when the driver refuses, or answers with what can't come from this pipeline; and the decoders by
// themselves.
#include "support/library.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "vl_driver/profiles.h"
#include "vl_driver/tables.h"

namespace {

using namespace support;

class Readback : public LibraryTest {
protected:
    using Spec = p4_pd_velmar_switch_trapToCpu_match_spec_t;

    static constexpr uint8_t untouched = 0xA5;

    // Outputs of a masked table's read, each recognisable as long as nobody writes to it.
    struct Outputs {
        Spec key;
        uint32_t priority = 0xA5A5A5A5;
        char name[61];
        uint8_t spec[16];
        uint32_t action_id = 0xA5A5A5A5;
        uint8_t is_default = untouched;

        Outputs() {
            std::memset(&key, untouched, sizeof key);
            std::memset(name, untouched, sizeof name);
            std::memset(spec, untouched, sizeof spec);
        }
        bool key_untouched() const {
            const Outputs fresh;
            return std::memcmp(&key, &fresh.key, sizeof key) == 0 && priority == fresh.priority &&
                   is_default == untouched;
        }
        bool action_untouched() const {
            const Outputs fresh;
            return std::memcmp(name, fresh.name, sizeof name) == 0 && std::memcmp(spec, fresh.spec, sizeof spec) == 0 &&
                   action_id == fresh.action_id;
        }
    };

    pd_status read(pd_entry entry, Outputs& out, uint32_t from_hw = 0) {
        return p4_pd_velmar_switch_trapToCpu_get_entry(session, device, entry, from_hw, &out.key, &out.priority,
                                                       out.name, out.spec, &out.action_id, &out.is_default);
    }

    pd_entry add_trap() {
        Spec key = {};
        key.ingMd_ttl = 5;
        key.ingMd_ttl_mask = 0xFF;
        const p4_pd_velmar_switch_trapPacket_action_spec_t action = {.action_cpuReasonCode = 42};
        pd_entry entry = 0;
        EXPECT_EQ(p4_pd_velmar_switch_trapToCpu_table_add_with_trapPacket(session, target, &key, 77, &action, &entry),
                  0u);
        calls();
        return entry;
    }
};

TEST_F(Readback, ArgumentsOfTheRead) {
    const pd_entry entry = add_trap();
    Outputs out;
    ASSERT_EQ(support::call(exported("trapToCpu_get_entry"),
                            {session, device, entry, 0x100, word(&out.key), word(&out.priority), word(out.name),
                             word(out.spec), word(&out.action_id), word(&out.is_default)}),
              0u);
    std::vector<vl_model::Call> reads = calls_of("pipe_mgr_get_entry");
    ASSERT_EQ(reads.size(), 1u);
    const vl_model::Call& call = reads[0];
    EXPECT_EQ(call.args[0], session);
    EXPECT_EQ(call.args[1], 0x1000040u);
    EXPECT_EQ(call.args[2], all_pipes_word);
    EXPECT_EQ(call.args[3], entry);
    EXPECT_EQ(call.args[7], 0u) << "eight bits of read_from_hw count";
    EXPECT_EQ(call.args[8], 1u);
    EXPECT_EQ(call.args[9], 0u);
    EXPECT_EQ(call.match->key, Bytes(44));
    EXPECT_EQ(call.match->mask, Bytes(44));
    EXPECT_EQ(call.match->key_bits, 287);
    EXPECT_EQ(call.match->priority | call.match->partition_index, 0u);
    EXPECT_EQ(call.action->data, Bytes(32)) << "zeroed, with room for 32 bytes whatever the table needs";
    EXPECT_EQ(call.action->data_bits, 0);
    EXPECT_EQ(call.action->kind, 0);

    EXPECT_EQ(out.priority, 77u);
    EXPECT_STREQ(out.name, "p4_pd_velmar_switch_trapPacket");
    EXPECT_EQ(out.spec[0], 42);
    EXPECT_EQ(out.spec[1], untouched);
}

TEST_F(Readback, ADeviceWithItsTopBitSetIsNotSignExtended) {
    uint8_t is_default;
    p4_pd_velmar_switch_ipv4Host_match_spec_t key;
    p4_pd_velmar_switch_ipv4Host_get_entry(session, 0xFFFFFFFF, 1, 0, &key, nullptr, nullptr, nullptr, &is_default);
    EXPECT_EQ(only_call().args[2], 0x0000FFFFFFFFFFFFu);
}

TEST_F(Readback, NameAndNumberMayBeNull) {
    const pd_entry entry = add_trap();
    Outputs out;
    ASSERT_EQ(p4_pd_velmar_switch_trapToCpu_get_entry(session, device, entry, 0, &out.key, &out.priority, nullptr,
                                                      out.spec, nullptr, &out.is_default),
              0u);
    EXPECT_EQ(out.spec[0], 42);
    EXPECT_EQ(out.key.ingMd_ttl, 5);
    EXPECT_EQ(out.key.ingMd_ttl_mask, 0xFF);
}

TEST_F(Readback, HardwareIsReadWhenAskedFor) {
    const pd_entry entry = add_trap();
    ASSERT_EQ(
        vl_model::edit_hardware(device, 0x1000040, entry, [](vl_model::EntryImage& image) { image.data[0] = 43; }), 0u);
    Outputs software, hardware;
    ASSERT_EQ(read(entry, software), 0u);
    ASSERT_EQ(read(entry, hardware, 1), 0u);
    EXPECT_EQ(software.spec[0], 42);
    EXPECT_EQ(hardware.spec[0], 43);
}

TEST_F(Readback, ARefusalWritesNothing) {
    const pd_entry entry = add_trap();
    Outputs out;
    vl_model::fail_call("pipe_mgr_get_entry", 1, 1234);
    EXPECT_EQ(read(entry, out), 1234u);
    EXPECT_TRUE(out.key_untouched() && out.action_untouched());
    EXPECT_EQ(vl_model::allocations_made(), 0u);
}

TEST_F(Readback, AnAnswerWithoutActionDataWritesNothing) {
    const pd_entry entry = add_trap();
    vl_model::set_answer_hook([](auto&, pipe_action_record& action, auto&) { action.kind = PIPE_KIND_MEMBER; });
    Outputs out;
    EXPECT_EQ(read(entry, out), PD_STATUS_UNEXPECTED);
    EXPECT_TRUE(out.key_untouched() && out.action_untouched());
    EXPECT_EQ(vl_model::allocations_made(), 0u);
    const std::vector<vl_model::Call> logged = calls_of("bf_sys_log_and_trace");
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0].args[0], 0u) << "module";
    EXPECT_EQ(logged[0].args[1], 2u) << "level";
    const std::vector<std::string> lines = {logged[0].text};
    EXPECT_TRUE(lines[0].starts_with("ASSERTION FAILED: \"0\" (0) from p4_pd_velmar_switch_trapToCpu_get_entry:"))
        << lines[0];
}

TEST_F(Readback, AForeignActionLetsTheKeyThrough) {
    const pd_entry entry = add_trap();
    vl_model::set_answer_hook([](auto&, auto&, uint32_t& action) { action = 0x200000b4; });
    Outputs out;
    EXPECT_EQ(read(entry, out), PD_STATUS_UNEXPECTED);
    EXPECT_TRUE(out.action_untouched());
    EXPECT_EQ(out.priority, 77u);
    EXPECT_EQ(out.is_default, 0);
    EXPECT_EQ(out.key.ingMd_ttl, 5);
    EXPECT_EQ(vl_model::allocations_made(), 1u) << "the list is made before the action is looked for";
    EXPECT_EQ(vl_model::live_allocations(), 0u);
    const std::vector<std::string> lines = log_lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(
        lines[0].starts_with("ASSERTION FAILED: \"((void *)0)\" (NULL) from p4_pd_velmar_switch_trapToCpu_get_entry:"))
        << lines[0];
}

TEST_F(Readback, NoMemoryForTheResourceListWritesNothing) {
    const pd_entry entry = add_trap();
    vl_model::fail_allocation(1);
    Outputs out;
    EXPECT_EQ(read(entry, out), PD_STATUS_NO_MEMORY);
    EXPECT_TRUE(out.key_untouched() && out.action_untouched());
}

TEST_F(Readback, EntriesWithoutAKeyAreTheDefault) {
    const pd_entry entry = add_trap();
    for (const bool null_key : {true, false}) {
        vl_model::set_answer_hook([null_key](pipe_match_record& match, auto&, auto&) {
            if (null_key)
                match.key_bytes = nullptr;
            else
                match.key_len = 0;
        });
        Outputs out;
        ASSERT_EQ(read(entry, out), 0u);
        EXPECT_EQ(out.is_default, 1);
        EXPECT_EQ(out.priority, 77u) << "a masked table's priority is written with or without a key";
        const Spec cleared = {};
        EXPECT_EQ(std::memcmp(&out.key, &cleared, sizeof cleared), 0);
        EXPECT_EQ(out.spec[0], 42);
    }
    // The real default entry, by its handle.
    vl_model::set_answer_hook({});
    pd_entry default_entry = 0;
    ASSERT_EQ(pipe_mgr_table_get_default_entry_handle(session, {device, PIPE_ALL_PIPES, 0}, 0x1000040, &default_entry),
              0u);
    Outputs out;
    ASSERT_EQ(read(default_entry, out), 0u);
    EXPECT_EQ(out.is_default, 1);
}

TEST_F(Readback, KeylessTable) {
    pd_entry entry = 0;
    ASSERT_EQ(pipe_mgr_table_get_default_entry_handle(session, {device, PIPE_ALL_PIPES, 0}, 0x1000066, &entry), 0u);
    calls();
    char name[61];
    uint32_t action_id = 0;
    ASSERT_EQ(p4_pd_velmar_switch_vlanDecap_get_entry(session, device, entry, 0, name, nullptr, &action_id), 0u);
    EXPECT_STREQ(name, "p4_pd_velmar_switch_removeVlanHdr");
    EXPECT_EQ(action_id, 257u);
    const vl_model::Call call = only_call();
    EXPECT_TRUE(call.match->key_null && call.match->mask_null);
    EXPECT_EQ(call.match->key_bits | call.match->key_len, 0);
}

TEST_F(Readback, TheListHasAPairForEachSlot) {
    const pd_entry entry = add_trap();
    vl_model::set_answer_hook([](auto&, pipe_action_record& action, auto&) { action.resource_count = 2; });
    Outputs out;
    ASSERT_EQ(read(entry, out), 0u);
    const std::vector<vl_model::Call> allocations = calls_of("bf_sys_calloc");
    ASSERT_EQ(allocations.size(), 1u);
    EXPECT_EQ(allocations[0].args, (std::vector<uint64_t>{2, 8}));
}

TEST_F(Readback, IndexParametersComeFromTheAttachedSlots) {
    p4_pd_velmar_switch_wredQueueSelect_match_spec_t key = {};
    const p4_pd_velmar_switch_runWred_action_spec_t wred = {.action_index = 7, .action_ecnEnabled = 1};
    pd_entry entry = 0;
    ASSERT_EQ(p4_pd_velmar_switch_wredQueueSelect_table_add_with_runWred(session, target, &key, &wred, &entry), 0u);
    const auto read_index = [&](vl_model::AnswerHook hook) {
        vl_model::set_answer_hook(std::move(hook));
        p4_pd_velmar_switch_runWred_action_spec_t out = {};
        uint8_t is_default;
        EXPECT_EQ(p4_pd_velmar_switch_wredQueueSelect_get_entry(session, device, entry, 0, &key, nullptr, &out, nullptr,
                                                                &is_default),
                  0u);
        EXPECT_EQ(out.action_ecnEnabled, 1);
        return out.action_index;
    };
    EXPECT_EQ(read_index({}), 7u);
    EXPECT_EQ(read_index([](auto&, pipe_action_record& action, auto&) { action.resource_count = 0; }), PD_NO_INDEX);
    EXPECT_EQ(read_index([](auto&, pipe_action_record& action, auto&) { action.slots[0].resource_hdl = 0x5000003; }),
              0u);
    EXPECT_EQ(read_index([](auto&, pipe_action_record& action, auto&) {
                  action.resource_count = 2;
                  action.slots[1] = {.resource_hdl = 0x5000004, .index = 8, .spec = {}, .tag = 1, .reserved = 0};
              }),
              8u)
        << "the last pair of the resource counts";
    for (const uint32_t tag : {0u, 2u, 3u})
        EXPECT_EQ(read_index([tag](auto&, pipe_action_record& action, auto&) {
                      action.resource_count = 2;
                      action.slots[1] = {.resource_hdl = 0x5000004, .index = 8, .spec = {}, .tag = tag, .reserved = 0};
                  }),
                  7u)
            << "only tag 1 is attached";
    EXPECT_EQ(read_index([](auto&, pipe_action_record& action, auto&) { action.slots[0].tag = 2; }), PD_NO_INDEX)
        << "slots of which none is attached are no resource";
}

// Entries of indirect tables are made with the driver's own call here.
class IndirectReadback : public Readback {
protected:
    static constexpr uint32_t lag_group = 0x1000063;

    struct LagOutputs {
        p4_pd_velmar_switch_lagGroup_match_spec_t key = {.egrMd_egrL2AintfUnresolved = 0xA5A5A5A5,
                                                         .egrMd_egrL2AintfUnresolved_mask = 0xA5A5A5A5};
        uint32_t priority = 0xA5A5A5A5, grp = 0xA5A5A5A5, mbr = 0xA5A5A5A5;
        uint8_t has_mbr = untouched, has_grp = untouched, is_default = untouched;
    };

    pd_entry add_pointer() {
        uint8_t key[] = {0x01, 0x20, 0x34}, mask[] = {0x0F, 0xF0, 0xFF};
        const pipe_match_record match = {key, mask, 0, 9, 20, 3, 0};
        pipe_action_record action{};
        action.kind = PIPE_KIND_GROUP;
        constexpr uint32_t lag_selector = 0x3000004;
        EXPECT_EQ(pipe_mgr_sel_grp_add(session, {device, PIPE_ALL_PIPES, 0}, lag_selector, 0, 0, PIPE_SEL_GRP_MARK,
                                       &action.group_hdl, 0),
                  0u);
        pd_entry entry = 0;
        EXPECT_EQ(pipe_mgr_mat_ent_add(session, {device, PIPE_ALL_PIPES, 0}, lag_group, &match, 0x200000fc, &action, 0,
                                       0, &entry),
                  0u);
        calls();
        return entry;
    }

    pd_status read_lag(pd_entry entry, LagOutputs& out, uint32_t from_hw = 0) {
        return p4_pd_velmar_switch_lagGroup_get_entry(session, device, entry, from_hw, &out.key, &out.priority,
                                                      &out.has_mbr, &out.has_grp, &out.grp, &out.mbr, &out.is_default);
    }
};

TEST_F(IndirectReadback, KeyPriorityAndCall) {
    const pd_entry entry = add_pointer();
    LagOutputs out;
    ASSERT_EQ(read_lag(entry, out, 1), 0u);
    EXPECT_EQ(out.key.egrMd_egrL2AintfUnresolved, 0x12034u);
    EXPECT_EQ(out.key.egrMd_egrL2AintfUnresolved_mask, 0xFF0FFu);
    EXPECT_EQ(out.priority, 9u);
    EXPECT_EQ(out.is_default, 0);
    const vl_model::Call call = only_call();
    EXPECT_EQ(call.args[1], lag_group);
    EXPECT_EQ(call.args[2], all_pipes_word);
    EXPECT_EQ(call.args[7], 1u);
    EXPECT_EQ(call.args[8], 1u);
    EXPECT_EQ(call.args[9], 0u);
    EXPECT_EQ(call.match->key, Bytes(3));
    EXPECT_EQ(call.match->key_bits, 20);
    EXPECT_TRUE(call.action->data_null);
    EXPECT_EQ(call.action->data_len, 0);
}

TEST_F(IndirectReadback, MemberGroupOrNeither) {
    const pd_entry entry = add_pointer();
    const struct {
        uint8_t kind, has_mbr, has_grp;
        uint32_t mbr, grp;
    } cases[] = {{PIPE_KIND_MEMBER, 1, 0, 0x55, 0xA5A5A5A5},
                 {PIPE_KIND_GROUP, 0, 1, 0xA5A5A5A5, 0x77},
                 {PIPE_KIND_ACTION_DATA, 0, 0, 0xA5A5A5A5, 0xA5A5A5A5},
                 {0, 0, 0, 0xA5A5A5A5, 0xA5A5A5A5}};
    for (const auto& expected : cases) {
        vl_model::set_answer_hook([&](auto&, pipe_action_record& answer, uint32_t& action_hdl) {
            answer.kind = expected.kind;
            answer.member_hdl = 0x55;
            answer.group_hdl = 0x77;
            answer.resource_count = 1; // no list is made in indirect tables
            action_hdl = 0;            // nor is the action looked at
        });
        LagOutputs out;
        ASSERT_EQ(read_lag(entry, out), 0u);
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
    const pd_entry entry = add_pointer();
    LagOutputs out;
    const LagOutputs fresh;
    vl_model::fail_call("pipe_mgr_get_entry", 1, 55);
    EXPECT_EQ(read_lag(entry, out), 55u);
    EXPECT_EQ(std::memcmp(&out, &fresh, sizeof out), 0);

    vl_model::set_answer_hook([](pipe_match_record& match, auto&, auto&) { match.key_len = 0; });
    ASSERT_EQ(read_lag(entry, out), 0u);
    EXPECT_EQ(out.is_default, 1);
    EXPECT_EQ(out.priority, 9u);
    EXPECT_EQ(out.key.egrMd_egrL2AintfUnresolved | out.key.egrMd_egrL2AintfUnresolved_mask, 0u);
    EXPECT_EQ(out.has_grp, 1);
}

using ReadbackDeathTest = Readback;

// The frames alone go to the log, one line each: what a production run would log isn't among them.
TEST_F(ReadbackDeathTest, DebugModeLogsTheFramesAndStops) {
    const pd_entry entry = add_trap();
    const auto count_lines = [](int, int level, const char* line, void*) {
        static int frames = 0;
        if (level != 2 || std::strstr(line, "ASSERTION") != nullptr) std::_Exit(1);
        if (++frames == 2) std::fputs("two frames or more\n", stderr);
    };
    EXPECT_EXIT(
        {
            vl_model_debug_mode_set(1);
            vl_model_log_sink_set(count_lines, nullptr);
            vl_model::set_answer_hook([](auto&, pipe_action_record& action, auto&) { action.kind = 0; });
            Outputs out;
            read(entry, out);
        },
        testing::KilledBySignal(SIGABRT), "two frames or more");
}

TEST(Decoders, PrefixLengthIsToldByTrailingZeros) {
    uint8_t key[17] = {1}, mask[17] = {0xFF, 0xFF, 0xF0};
    pipe_match_record match = {key, mask, 0, 0, 40, 5, 0};
    p4_pd_velmar_switch_ipv4ShortMaskLpm_match_spec_t v4 = {};
    unbuild_mask_ipv4ShortMaskLpm(&match, &v4);
    EXPECT_EQ(v4.ingIpv4_dip_prefix_length, 12);
    mask[4] = 1; // a hole in the mask: only its end counts
    unbuild_mask_ipv4ShortMaskLpm(&match, &v4);
    EXPECT_EQ(v4.ingIpv4_dip_prefix_length, 32);

    p4_pd_velmar_switch_ipv6Partition_match_spec_t v6 = {};
    for (unsigned length = 0; length <= 128; ++length) {
        std::memset(mask, 0, sizeof mask);
        for (unsigned bit = 0; bit < length; ++bit)
            mask[1 + bit / 8] |= static_cast<uint8_t>(0x80 >> bit % 8);
        unbuild_mask_ipv6Partition(&match, &v6);
        EXPECT_EQ(v6.ingIpv6_dip_prefix_length, length) << "whatever the VRF's mask bytes hold";
    }
}

TEST(Decoders, KeysClearTheWholeRecordAndTrimNothing) {
    uint8_t key[] = {0, 0, 1, 2, 3, 4}, mask[6] = {};
    const pipe_match_record match = {key, mask, 0xBEEF, 0, 48, 6, 0};
    p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_t v4;
    std::memset(&v4, 0xFF, sizeof v4);
    unbuild_key_ipv4FinalResolve0(&match, &v4);
    p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_t expected;
    std::memset(&expected, 0, sizeof expected);
    expected.fibV4ResultX_partIdx = 0xBEEF; // the partition comes from beside the key
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
    p4_pd_velmar_switch_meterPdpClass_action_spec_t meter = {};
    const pd_resource_index pairs[] = {{0x4000005, 9}, {0x5000003, 10}};
    unbuild_action_spec_meterPdpClass(&action, pairs, 2, &meter);
    EXPECT_EQ(meter.action_pdpClassId, 0x50028u) << "this index is read from the data";
    p4_pd_velmar_switch_setPdpClassCount_action_spec_t count = {};
    unbuild_action_spec_setPdpClassCount(&action, nullptr, 0, &count);
    EXPECT_EQ(count.action_counterIndex, PD_NO_INDEX);
    unbuild_action_spec_setPdpClassCount(&action, pairs + 1, 1, &count);
    EXPECT_EQ(count.action_counterIndex, 0u);
    unbuild_action_spec_setPdpClassCount(&action, pairs, 2, &count);
    EXPECT_EQ(count.action_counterIndex, 9u);
}

} // namespace
