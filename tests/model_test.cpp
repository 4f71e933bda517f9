// Match tables in the embedded driver: entry identity, refusals, walks, default entries and hardware that differs from
// software. Also faults, records and answers of calls. Uses a made-up pipeline of four tables.
#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "support/model.h"

namespace {

using namespace support;

constexpr uint32_t hosts = 0x1000001;   // exact, direct, with a counter
constexpr uint32_t routes = 0x1000002;  // prefix, direct
constexpr uint32_t groups = 0x1000003;  // ternary, indirect
constexpr uint32_t keyless = 0x1000004; // has no initial default entry
constexpr uint32_t counter = 0x4000001;

constexpr uint32_t forward = 0x20000001; // 9 bits of data
constexpr uint32_t drop = 0x20000002;    // no data, the hosts' initial default
constexpr uint32_t miss = 0x20000003;    // default only

constexpr vl_model_action host_actions[] = {
    {.handle = forward, .data_bits = 9, .data_len = 2, .for_entries = 1, .for_default = 1},
    {.handle = drop, .data_bits = 0, .data_len = 0, .for_entries = 1, .for_default = 1},
    {.handle = miss, .data_bits = 8, .data_len = 1, .for_entries = 0, .for_default = 1},
};

// A match record that owns its bytes.
struct Key {
    Bytes key, mask;
    pipe_match_record record{};

    Key(Bytes key_bytes, Bytes mask_bytes, uint16_t bits, uint32_t priority = 0, uint32_t partition = 0)
        : key(std::move(key_bytes)),
          mask(std::move(mask_bytes)),
          record{key.data(), mask.data(), partition, priority, bits, static_cast<uint16_t>(key.size()), 0} {}
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
};

Key host(uint32_t address) {
    Bytes key(5, 0x07);
    std::memcpy(&key[1], &address, sizeof(address));
    return Key(key, Bytes(5, 0xFF), 40);
}

struct Action {
    Bytes data;
    pipe_action_record record{};

    explicit Action(Bytes bytes = {}, uint16_t bits = 0) : data(std::move(bytes)) {
        data.reserve(1);
        record.kind = PIPE_KIND_ACTION_DATA;
        record.action = {bits, static_cast<uint16_t>(data.size()), 0, data.data()};
    }
    Action(const Action&) = delete;
    Action& operator=(const Action&) = delete;

    Action& slot(size_t i, uint32_t resource, uint32_t tag, uint8_t value) {
        record.slots[i].resource_hdl = resource;
        record.slots[i].tag = tag;
        record.slots[i].spec[0] = value;
        record.resource_count = static_cast<uint8_t>(std::max<size_t>(record.resource_count, i + 1));
        return *this;
    }
};

class ModelTest : public DeviceTest {
protected:
    void SetUp() override {
        vl_model_table tables[] = {model_table(hosts, VL_MODEL_EXACT, 40, host_actions),
                                   model_table(routes, VL_MODEL_PREFIX, 40, host_actions),
                                   model_table(groups, VL_MODEL_TERNARY, 20, host_actions),
                                   model_table(keyless, VL_MODEL_KEYLESS, 0, host_actions)};
        tables[0].initial_default = drop;
        tables[0].resource_hdl = counter;
        tables[2].data_table = 0x2000001;
        tables[2].selector = 0x3000001;
        start({.name = "p", .tables = tables, .table_count = 4});
    }

    pipe_status add(uint32_t tbl, const Key& key, uint32_t act, const Action& action, uint32_t* handle) const {
        return pipe_mgr_mat_ent_add(session, device, tbl, &key.record, act, &action.record, 0, 0, handle);
    }

    uint32_t add_host(uint32_t address, uint32_t act = drop, const Action& action = Action()) const {
        uint32_t handle = 0;
        EXPECT_EQ(add(hosts, host(address), act, action, &handle), VL_MODEL_OK);
        return handle;
    }

    pipe_status remove(uint32_t entry) const {
        return pipe_mgr_mat_ent_del(session, 3, hosts, entry, 0);
    }
    pipe_status set_action(uint32_t entry, uint32_t act, const Action& action) const {
        return pipe_mgr_mat_ent_set_action(session, 3, hosts, entry, act, &action.record, 0);
    }
    pipe_status set_default(uint32_t tbl, uint32_t act, const Action& action, uint32_t* handle) const {
        return pipe_mgr_mat_default_entry_set(session, device, tbl, act, &action.record, 0, handle);
    }
    uint32_t find(uint32_t tbl, const Key& key) const {
        uint32_t found = 0;
        EXPECT_EQ(pipe_mgr_match_spec_to_ent_hdl(session, device, tbl, &key.record, &found, 0), VL_MODEL_OK);
        return found;
    }
};

TEST_F(ModelTest, EntryComesBackAsSent) {
    const Key key({1, 2, 3, 4, 0}, {0xFF, 0xFF, 0xFF, 0xF0, 0}, 40, 12, 0x1234);
    uint32_t handle = 0;
    ASSERT_EQ(add(routes, key, forward, Action({1, 0xFF}, 9), &handle), VL_MODEL_OK);
    Reading expected{.key = {1, 2, 3, 4},
                     .mask = {0xFF, 0xFF, 0xFF, 0xF0},
                     .data = {1, 0xFF},
                     .match = {nullptr, nullptr, 0x1234, 12, 40, 5, 0},
                     .action = {PIPE_KIND_ACTION_DATA, 0, {}, {9, 2, 0, nullptr}, 0, 0, {}},
                     .action_hdl = forward,
                     .status = VL_MODEL_OK};
    EXPECT_EQ(read(routes, handle), expected);

    // A read writes no more than there is room for.
    expected.action.action.data_len = 1;
    expected.data[1] = 0;
    EXPECT_EQ(read(routes, handle, false, 1), expected);
}

TEST_F(ModelTest, IdentityIsPartitionKeyMaskAndPriority) {
    const Bytes bytes{1, 2, 3, 4, 5};
    const Bytes ones(5, 0xFF);
    const Key variants[] = {{bytes, ones, 40, 0, 0},
                            {bytes, ones, 40, 1, 0},
                            {bytes, ones, 40, 0, 1},
                            {{1, 2, 3, 4, 6}, ones, 40, 0, 0},
                            {bytes, {0xFF, 0xFF, 0xFF, 0xFF, 0}, 40, 0, 0}};
    Handles handles;
    for (const Key& key : variants) {
        uint32_t handle = 0;
        ASSERT_EQ(add(routes, key, drop, Action(), &handle), VL_MODEL_OK);
        handles.push_back(handle);
        EXPECT_EQ(add(routes, key, drop, Action(), &handle), VL_MODEL_EXISTS);
    }
    for (size_t i = 0; i < handles.size(); ++i) {
        EXPECT_EQ(find(routes, variants[i]), handles[i]);
    }
}

TEST_F(ModelTest, RefusesWhatDoesNotFitTheTable) {
    uint32_t handle = 77;
    const Key good = host(1), absent = host(2), group(Bytes(3), Bytes(3), 20);
    EXPECT_EQ(add(hosts, Key({1, 2, 3, 4}, Bytes(4), 40), drop, Action(), &handle), VL_MODEL_BAD_KEY);
    EXPECT_EQ(add(hosts, Key(Bytes(5), Bytes(5), 39), drop, Action(), &handle), VL_MODEL_BAD_KEY);
    EXPECT_EQ(add(routes, Key(Bytes(5), Bytes(5), 40, 41), drop, Action(), &handle), VL_MODEL_BAD_KEY);
    EXPECT_EQ(add(keyless, Key({}, {}, 0), drop, Action(), &handle), VL_MODEL_NOT_SUPPORTED);
    EXPECT_EQ(add(hosts, good, 0x20000099, Action(), &handle), VL_MODEL_FOREIGN_ACTION);
    EXPECT_EQ(add(hosts, good, miss, Action({1}, 8), &handle), VL_MODEL_FOREIGN_ACTION);
    EXPECT_EQ(add(hosts, good, forward, Action({1}, 9), &handle), VL_MODEL_BAD_DATA);
    EXPECT_EQ(add(hosts, good, forward, Action({1, 2}, 16), &handle), VL_MODEL_BAD_DATA);
    EXPECT_EQ(add(groups, group, drop, Action(), &handle), VL_MODEL_BAD_DATA);

    Action member;
    member.record.kind = PIPE_KIND_MEMBER;
    EXPECT_EQ(add(groups, group, forward, member, &handle), VL_MODEL_BAD_DATA);
    member.record.member_hdl = 5;
    EXPECT_EQ(add(hosts, good, drop, member, &handle), VL_MODEL_BAD_DATA);
    EXPECT_EQ(handle, 77U);
    EXPECT_EQ(add(groups, group, forward, member, &handle), VL_MODEL_NOT_FOUND);

    const uint32_t entry = add_host(1);
    EXPECT_EQ(pipe_mgr_mat_ent_del(session + 1, 3, hosts, entry, 0), VL_MODEL_UNKNOWN_SESSION);
    EXPECT_EQ(pipe_mgr_mat_ent_del(session, 4, hosts, entry, 0), VL_MODEL_UNKNOWN_DEVICE);
    EXPECT_EQ(pipe_mgr_mat_ent_del(session, 3, 0x1000009, entry, 0), VL_MODEL_UNKNOWN_TABLE);
    EXPECT_EQ(remove(entry + 1), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(set_action(entry + 1, drop, Action()), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(pipe_mgr_mat_ent_del_by_match_spec(session, device, hosts, &absent.record, 0), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(walk(hosts), std::vector{entry});
}

TEST_F(ModelTest, CapacityIsOfLiveEntries) {
    ASSERT_EQ(vl_model_table_set_capacity(3, hosts, 2), VL_MODEL_OK);
    const uint32_t first = add_host(1);
    add_host(2);
    uint32_t handle = 0;
    EXPECT_EQ(add(hosts, host(3), drop, Action(), &handle), VL_MODEL_TABLE_FULL);
    EXPECT_EQ(remove(first), VL_MODEL_OK);
    EXPECT_EQ(add(hosts, host(3), drop, Action(), &handle), VL_MODEL_OK);
}

TEST_F(ModelTest, ModifyKeepsUnchangedSlotsOnly) {
    Action sent({0, 1}, 9);
    sent.slot(0, counter, PIPE_SLOT_ATTACHED, 0xAA).slot(3, counter + 1, PIPE_SLOT_DETACHED, 0xBB);
    const uint32_t handle = add_host(1, forward, sent);
    const Reading added = read(hosts, handle);
    EXPECT_EQ(std::memcmp(added.action.slots, sent.record.slots, sizeof(sent.record.slots)), 0);
    EXPECT_EQ(added.action.resource_count, 4);

    Action unchanged;
    unchanged.slot(0, counter, PIPE_SLOT_UNCHANGED, 0);
    ASSERT_EQ(set_action(handle, drop, unchanged), VL_MODEL_OK);
    const Reading modified = read(hosts, handle);
    EXPECT_EQ(modified.action_hdl, drop);
    EXPECT_EQ(modified.action.action.data_len, 0);
    EXPECT_EQ(modified.action.slots[0].spec[0], 0xAA);
    EXPECT_EQ(modified.action.slots[0].tag, uint32_t{PIPE_SLOT_ATTACHED});
    EXPECT_EQ(modified.action.slots[3].resource_hdl, 0U);

    Action detached;
    detached.slot(0, counter, PIPE_SLOT_DETACHED, 0);
    const Key key = host(1);
    ASSERT_EQ(pipe_mgr_mat_ent_set_action_by_match_spec(session, device, hosts, &key.record, drop, &detached.record, 0),
              VL_MODEL_OK);
    EXPECT_EQ(read(hosts, handle).action.slots[0].spec[0], 0);
}

TEST_F(ModelTest, WalkGoesOnFromDeletedEntries) {
    uint32_t handle = 0;
    EXPECT_EQ(pipe_mgr_get_first_entry_handle(session, hosts, device, &handle), VL_MODEL_NOT_FOUND);
    for (uint32_t i = 0; i < 5000; ++i)
        add_host(i);
    const Handles all = walk(hosts);
    ASSERT_EQ(all.size(), 5000U);
    for (size_t i = 1; i + 1 < all.size(); ++i)
        ASSERT_EQ(remove(all[i]), VL_MODEL_OK);
    EXPECT_EQ(walk(hosts), (Handles{all.front(), all.back()}));
    std::array<uint32_t, 2> next{};
    EXPECT_EQ(pipe_mgr_get_next_entry_handles(session, hosts, device, all[2000], 2, next.data()), 0U);
    EXPECT_EQ(next[0], all.back());
    EXPECT_EQ(next[1], PIPE_HDL_END);
    EXPECT_EQ(pipe_mgr_get_next_entry_handles(session, hosts, device, 5001, 1, next.data()), VL_MODEL_NOT_FOUND);
}

// The index closes its gaps on deletion. A fault there loses entries in some orders of calls only.
TEST_F(ModelTest, AgreesWithAMapInRandomOrder) {
    std::mt19937 random(1);
    std::map<uint32_t, uint32_t> expected;
    for (int step = 0; step < 60000; ++step) {
        const uint32_t address = static_cast<uint32_t>(random() % 3000);
        const Key key = host(address);
        const auto known = expected.find(address);
        if (random() % 2 == 0) {
            uint32_t handle = 0;
            const pipe_status status = add(hosts, key, drop, Action(), &handle);
            ASSERT_EQ(status, known == expected.end() ? VL_MODEL_OK : VL_MODEL_EXISTS);
            if (status == VL_MODEL_OK) expected[address] = handle;
        } else {
            const pipe_status status = pipe_mgr_mat_ent_del_by_match_spec(session, device, hosts, &key.record, 0);
            ASSERT_EQ(status, known == expected.end() ? VL_MODEL_NOT_FOUND : VL_MODEL_OK);
            if (status == VL_MODEL_OK) expected.erase(known);
        }
    }
    Handles handles;
    for (const auto& [address, handle] : expected) {
        handles.push_back(handle);
        ASSERT_EQ(find(hosts, host(address)), handle);
        ASSERT_EQ(std::memcmp(read(hosts, handle).key, host(address).key.data(), 5), 0);
    }
    std::sort(handles.begin(), handles.end());
    EXPECT_EQ(walk(hosts), handles); // so no two entries share a handle
    EXPECT_EQ(rows_of(hosts), handles.size());
}

TEST_F(ModelTest, DefaultEntry) {
    const auto read_action = [&](uint32_t tbl) {
        pipe_action_record record{};
        uint32_t action = 0;
        const pipe_status status = pipe_mgr_table_get_default_entry(session, device, tbl, &record, &action, 0, 1, 0);
        return status == VL_MODEL_OK ? action : 0;
    };
    uint32_t handle = 0;
    EXPECT_EQ(read_action(hosts), drop);
    EXPECT_EQ(read_action(keyless), 0U);
    EXPECT_EQ(pipe_mgr_table_get_default_entry_handle(session, device, keyless, &handle), VL_MODEL_NOT_FOUND);

    ASSERT_EQ(set_default(hosts, miss, Action({9}, 8), &handle), VL_MODEL_OK);
    EXPECT_EQ(read_action(hosts), miss);
    EXPECT_NE(handle, PIPE_HDL_END);
    const Reading r = read(hosts, handle);
    EXPECT_EQ(r.match.key_len, 0);
    EXPECT_EQ(r.data[0], 9);
    EXPECT_EQ(rows_of(hosts), 0U);
    EXPECT_TRUE(walk(hosts).empty());

    ASSERT_EQ(pipe_mgr_mat_tbl_default_entry_reset(session, device, hosts, 0), VL_MODEL_OK);
    EXPECT_EQ(read_action(hosts), drop);
    ASSERT_EQ(set_default(keyless, drop, Action(), &handle), VL_MODEL_OK);
    ASSERT_EQ(pipe_mgr_mat_tbl_default_entry_reset(session, device, keyless, 0), VL_MODEL_OK);
    EXPECT_EQ(read_action(keyless), 0U);
}

TEST_F(ModelTest, HardwareDiffersUntilTheNextWrite) {
    const uint32_t handle = add_host(1, forward, Action({0, 1}, 9));
    Reading expected = read(hosts, handle);
    ASSERT_EQ(vl_model::edit_hardware(3, hosts, handle, [](auto& image) { image.data[1] = 0x55; }), VL_MODEL_OK);
    EXPECT_EQ(read(hosts, handle), expected);
    expected.data[1] = 0x55;
    EXPECT_EQ(read(hosts, handle, true), expected);

    ASSERT_EQ(set_action(handle, forward, Action({0, 2}, 9)), VL_MODEL_OK);
    EXPECT_EQ(read(hosts, handle, true).data[1], 2);

    ASSERT_EQ(vl_model::drop_hardware(3, hosts, handle), VL_MODEL_OK);
    EXPECT_EQ(read(hosts, handle, true).status, VL_MODEL_NOT_FOUND);
    EXPECT_EQ(read(hosts, handle, false).status, VL_MODEL_OK);

    // A reused handle doesn't inherit the hardware of its last entry.
    ASSERT_EQ(remove(handle), VL_MODEL_OK);
    ASSERT_EQ(add_host(2), handle);
    EXPECT_EQ(read(hosts, handle, true).status, VL_MODEL_OK);

    const uint32_t fallback = default_entry(hosts);
    ASSERT_EQ(vl_model::edit_hardware(3, hosts, fallback, [](auto& image) { image.action_hdl = miss; }), VL_MODEL_OK);
    EXPECT_EQ(read(hosts, fallback, true).action_hdl, miss);
    EXPECT_EQ(read(hosts, fallback, false).action_hdl, drop);
}

TEST_F(ModelTest, FaultsRefuseTheirCallAndNoOther) {
    vl_model::fail_call("pipe_mgr_mat_ent_add", 2, 99);
    vl_model::fail_call("p4_pd_ms_init_state", 1, 98);
    uint32_t handle = 0;
    add_host(1);
    EXPECT_EQ(add(hosts, host(2), drop, Action(), &handle), 99U);
    EXPECT_EQ(handle, 0U);
    add_host(2);
    EXPECT_EQ(p4_pd_ms_init_state(), nullptr);
    EXPECT_NE(p4_pd_ms_init_state(), nullptr);

    vl_model::fail_call("pipe_mgr_mat_ent_add", 1, 99);
    vl_model::clear_faults();
    add_host(3);

    const size_t live = vl_model::live_allocations();
    vl_model::fail_allocation(2);
    void* first = bf_sys_calloc(0, 8);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(bf_sys_calloc(1, 8), nullptr);
    EXPECT_EQ(vl_model::live_allocations(), live + 1);
    EXPECT_EQ(vl_model::allocations_made(), 1U);
    bf_sys_free(first);
    bf_sys_free(nullptr);
    EXPECT_EQ(vl_model::live_allocations(), live);
    int other = 0;
    EXPECT_DEATH(bf_sys_free(&other), "not a live block");
}

TEST_F(ModelTest, RecordsCallsAsTheyCameIn) {
    add_host(1);
    vl_model::fail_call("pipe_mgr_mat_ent_del", 1, 99);
    uint32_t handle = 0;
    Action action({1, 2}, 9);
    action.slot(0, counter, PIPE_SLOT_ATTACHED, 5).record.reserved[5] = 0xEE;
    const auto calls = recorded([&] {
        EXPECT_EQ(add(hosts, host(2), forward, action, &handle), VL_MODEL_OK);
        read(hosts, handle);
        remove(handle);
        vl_model_log_sink_set([](int, int, const char*, void*) {}, nullptr);
        bf_sys_log_and_trace(0, BF_SYS_LEVEL_ERROR, "%s:%d", "here", 7);
    });
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_EQ(calls[0].function, "pipe_mgr_mat_ent_add");
    ASSERT_EQ(calls[0].args.size(), 9U);
    EXPECT_EQ(calls[0].args[1], 0x0000FFFF00000003U);
    EXPECT_EQ(calls[0].args[8], reinterpret_cast<uintptr_t>(&handle));
    EXPECT_EQ(calls[0].match->key, host(2).key);
    EXPECT_EQ(calls[0].action->data, (Bytes{1, 2}));
    EXPECT_EQ(calls[0].action->slots[0].spec[0], 5);
    EXPECT_EQ(calls[0].action->reserved[5], 0xEE);
    // The record of a read shows what the caller sent, not the answer.
    EXPECT_EQ(calls[1].action->data, Bytes(8));
    EXPECT_EQ(calls[1].match->key, Bytes(8));
    EXPECT_EQ(calls[1].action->kind, 0);
    EXPECT_EQ(calls[2].status, 99U);
    EXPECT_EQ(calls[3].text, "here:7");
    EXPECT_EQ(calls[3].args.size(), 3U);
}

TEST_F(ModelTest, AnswerHookHasTheLastWord) {
    const uint32_t handle = add_host(1);
    vl_model::set_answer_hook([](pipe_match_record& match, pipe_action_record& action, uint32_t& action_hdl) {
        match.key_len = 1;
        action.kind = PIPE_KIND_GROUP;
        action_hdl = 0xBAD;
    });
    const Reading r = read(hosts, handle);
    EXPECT_EQ(r.match.key_len, 1);
    EXPECT_EQ(r.action.kind, PIPE_KIND_GROUP);
    EXPECT_EQ(r.action_hdl, 0xBADU);
    vl_model::set_answer_hook({});
    EXPECT_EQ(read(hosts, handle).action_hdl, drop);
}

TEST_F(ModelTest, TestsAnswerCallsInPlaceOfTheDriver) {
    const uint32_t handle = add_host(1);
    const auto get = [&](uint32_t& found) {
        return pipe_mgr_table_get_default_entry_handle(session, device, hosts, &found);
    };
    vl_model::record_calls(true);
    uint32_t found = 0;
    vl_model::answer_calls_with("pipe_mgr_table_get_default_entry_handle", 0, vl_model::output(3, 77U));
    EXPECT_EQ(get(found), 0U);
    EXPECT_EQ(found, 77U);
    vl_model::answer_calls("pipe_mgr_*", [](const vl_model::AnsweredCall& call) { return call.args.size(); });
    vl_model::answer_calls("pipe_mgr_mat_ent_*", [](auto& call) { return call.action ? call.action->data[0] : 9U; });
    EXPECT_EQ(get(found), 0U) << "a whole name counts more than the beginning of one";
    EXPECT_EQ(add(hosts, host(2), drop, Action({6}), &found), 6U);
    EXPECT_EQ(remove(handle), 9U);
    vl_model::fail_call("pipe_mgr_mat_ent_del", 1, 99);
    EXPECT_EQ(remove(handle), 99U);
    vl_model::answer_calls("pipe_mgr_table_get_default_entry_handle", {});
    EXPECT_EQ(get(found), 4U);
    const std::vector<vl_model::Call> calls = vl_model::take_calls();
    vl_model::record_calls(false);
    ASSERT_EQ(calls.size(), 6U);
    EXPECT_EQ(calls[2].function, "pipe_mgr_mat_ent_add");
    EXPECT_EQ(calls[2].status, 6U);

    // An answer may leave the call to the driver, and call the driver itself.
    vl_model::answer_calls("bf_sys_calloc", [](const vl_model::AnsweredCall& call) {
        return call.args[0] == 5 ? reinterpret_cast<uintptr_t>(bf_sys_calloc(1, 1)) : call.driver();
    });
    vl_model::answer_calls("pipe_mgr_mat_ent_*", [](auto& call) { return call.driver(); });
    const size_t live = vl_model::live_allocations();
    bf_sys_free(bf_sys_calloc(5, 1));
    EXPECT_EQ(vl_model::live_allocations(), live);
    EXPECT_EQ(remove(handle), VL_MODEL_OK);
    vl_model_reset();
    EXPECT_EQ(remove(handle), VL_MODEL_UNKNOWN_SESSION);
}

} // namespace
