// Action profiles in the embedded driver: rows that are in use and so can't be deleted, the choice by hash, the memory
// of a selector, replays, and the arguments of callbacks. Uses a made-up pipeline of two indirect tables.
#include <initializer_list>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/model.h"

namespace {

using namespace support;

constexpr uint32_t hops = 0x1000001; // exact, 16 bits
constexpr uint32_t lags = 0x1000002;
constexpr uint32_t hop_members = 0x2000001;
constexpr uint32_t lag_members = 0x2000002;
constexpr uint32_t hop_groups = 0x3000002; // the order differs from that of the data tables
constexpr uint32_t lag_groups = 0x3000001;

constexpr uint32_t set_hop = 0x20000001; // 12 bits of data
constexpr uint32_t none = 0x20000002;
constexpr uint32_t set_lag = 0x20000003;

constexpr vl_model_action hop_actions[] = {
    {.handle = set_hop, .data_bits = 12, .data_len = 2, .for_entries = 1, .for_default = 1},
    {.handle = none, .data_bits = 0, .data_len = 0, .for_entries = 1, .for_default = 1},
};
constexpr vl_model_action lag_actions[] = {
    {.handle = set_lag, .data_bits = 0, .data_len = 0, .for_entries = 1, .for_default = 1},
};

// Notes the arguments of a callback.
void tell(const char* who, std::initializer_list<uint32_t> words) {
    std::string line = who;
    for (const uint32_t word : words)
        line += ' ' + std::to_string(word);
    told.push_back(line);
}

class ProfilesTest : public DeviceTest {
protected:
    void SetUp() override {
        device.pipe_id = 1;
        vl_model_table tables[] = {model_table(hops, VL_MODEL_EXACT, 16, hop_actions),
                                   model_table(lags, VL_MODEL_EXACT, 16, lag_actions)};
        tables[0].data_table = hop_members;
        tables[0].selector = hop_groups;
        tables[1].data_table = lag_members;
        tables[1].selector = lag_groups;
        start({.name = "p", .tables = tables, .table_count = 2});
    }

    pipe_status try_member(uint32_t table, uint32_t action, Bytes data, uint16_t bits, uint32_t* handle) const {
        pipe_action_record record{};
        const auto len = static_cast<uint16_t>(data.size());
        data.push_back(0);
        record.action = {bits, len, 0, data.data()};
        return pipe_mgr_adt_ent_add(session, device, table, action, 0, &record, handle, 0);
    }
    uint32_t add_hop(uint16_t hop) const {
        uint32_t handle = 0;
        EXPECT_EQ(try_member(hop_members, set_hop, big_endian(hop, 2), 12, &handle), VL_MODEL_OK);
        return handle;
    }
    uint32_t add_group(uint32_t max_size = 0, uint32_t selector = hop_groups) const {
        uint32_t handle = 0;
        EXPECT_EQ(pipe_mgr_sel_grp_add(session, device, selector, 0, max_size, PIPE_SEL_GRP_MARK, &handle, 0), 0U);
        return handle;
    }
    pipe_status join(uint32_t group, uint32_t member, uint32_t action = set_hop) const {
        return pipe_mgr_sel_grp_mbr_add(session, 3, hop_groups, group, action, member, 0);
    }
    pipe_status leave(uint32_t group, uint32_t member) const {
        return pipe_mgr_sel_grp_mbr_del(session, 3, hop_groups, group, member, 0);
    }
    pipe_status delete_member(uint32_t member) const {
        return pipe_mgr_adt_ent_del(session, 3, hop_members, member, 0);
    }
    pipe_status delete_group(uint32_t group) const {
        return pipe_mgr_sel_grp_del(session, 3, hop_groups, group, 0);
    }
    pipe_status disable(uint32_t group, uint32_t member) const {
        return pipe_mgr_sel_grp_mbr_disable(session, device, hop_groups, group, member, 0);
    }
    static pipe_action_record target(uint8_t kind, uint32_t handle) {
        pipe_action_record record{};
        record.kind = kind;
        (kind == PIPE_KIND_MEMBER ? record.member_hdl : record.group_hdl) = handle;
        return record;
    }
    pipe_status add_entry(uint16_t key, const pipe_action_record& record, uint32_t* entry,
                          uint32_t action = set_hop) const {
        return add_exact(hops, big_endian(key, 2), action, record, entry);
    }
    pipe_status point_default_at(const pipe_action_record& record) const {
        uint32_t entry = 0;
        return pipe_mgr_mat_default_entry_set(session, device, hops, set_hop, &record, 0, &entry);
    }
    pipe_status set_fallback(uint32_t member) const {
        return pipe_mgr_sel_fallback_mbr_set(session, device, hop_groups, member, 0);
    }
    // Adds hops to the group until it has `count` members.
    void fill(uint32_t group, Handles& members, size_t count) const {
        while (members.size() < count) {
            members.push_back(add_hop(static_cast<uint16_t>(members.size())));
            ASSERT_EQ(join(group, members.back()), VL_MODEL_OK);
        }
    }
    // The member that a hash picks, or 0 if the call is refused.
    uint32_t pick(uint32_t group, const Bytes& hash) const {
        return output_of(pipe_mgr_sel_grp_mbr_get_from_hash, session, device, hop_groups, group, hash.data(),
                         hash.size())
            .value_or(0);
    }
};

TEST_F(ProfilesTest, MembersAreReadAsSoftwareAndHardwareHaveThem) {
    const uint32_t member = add_hop(0x0ABC);
    const auto read = [&](bool from_hw, uint16_t room = 32) {
        Bytes data(32);
        pipe_action_data record{0, room, 0, data.data()};
        uint32_t action = 0;
        const pipe_status status =
            pipe_mgr_get_action_data_entry(hop_members, device, member, &record, &action, from_hw ? 1 : 0);
        data.resize(record.data_len);
        return std::tuple(status, action, record.data_bits, data);
    };
    EXPECT_EQ(read(false), std::tuple(0U, set_hop, 12, Bytes({0x0A, 0xBC})));
    EXPECT_EQ(read(false, 1), std::tuple(0U, set_hop, 12, Bytes({0x0A})));

    ASSERT_EQ(vl_model::edit_hardware(3, hop_members, member, [](auto& image) { image.action_hdl = 9; }), 0U);
    EXPECT_EQ(std::get<1>(read(true)), 9U);
    EXPECT_EQ(std::get<1>(read(false)), set_hop);
    uint8_t byte = 0;
    pipe_action_record empty{};
    empty.action.data = &byte;
    ASSERT_EQ(pipe_mgr_adt_ent_set(session, 3, hop_members, member, none, &empty, 0), VL_MODEL_OK);
    EXPECT_EQ(read(true), std::tuple(0U, none, 0, Bytes()));
    ASSERT_EQ(vl_model::drop_hardware(3, hop_members, member), VL_MODEL_OK);
    EXPECT_EQ(std::get<0>(read(true)), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(std::get<0>(read(false)), VL_MODEL_OK);

    vl_model::set_member_answer_hook([](pipe_action_data&, uint32_t& action) { action = 0xBAD; });
    EXPECT_EQ(std::get<1>(read(false)), 0xBADU);
}

TEST_F(ProfilesTest, RefusesMembersThatDoNotFit) {
    uint32_t handle = 77;
    EXPECT_EQ(try_member(hops, set_hop, {1, 2}, 12, &handle), VL_MODEL_UNKNOWN_TABLE);
    EXPECT_EQ(try_member(hop_members, set_lag, {}, 0, &handle), VL_MODEL_FOREIGN_ACTION);
    EXPECT_EQ(try_member(hop_members, set_hop, {1}, 12, &handle), VL_MODEL_BAD_DATA);
    pipe_action_record record = target(PIPE_KIND_ACTION_DATA, 0);
    EXPECT_EQ(pipe_mgr_adt_ent_add(session, device, hop_members, none, 0, &record, &handle, 0), VL_MODEL_BAD_DATA);
    ASSERT_EQ(vl_model_table_set_capacity(3, hop_members, 1), VL_MODEL_OK);
    const uint32_t member = add_hop(1);
    EXPECT_EQ(try_member(hop_members, none, {}, 0, &handle), VL_MODEL_TABLE_FULL);
    EXPECT_EQ(handle, 77U);
    EXPECT_EQ(pipe_mgr_adt_ent_del(session + 1, 3, hop_members, member, 0), VL_MODEL_UNKNOWN_SESSION);
    EXPECT_EQ(pipe_mgr_adt_ent_del(session, 3, lag_members, member, 0), VL_MODEL_NOT_FOUND);
}

TEST_F(ProfilesTest, GroupsRefuseMembersThatDoNotBelong) {
    const uint32_t member = add_hop(1);
    const uint32_t group = add_group(2);
    uint32_t foreign = 0;
    ASSERT_EQ(try_member(lag_members, set_lag, {}, 0, &foreign), VL_MODEL_OK);
    EXPECT_EQ(join(group, foreign, set_lag), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(join(group + 1, member), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(join(group, member, none), VL_MODEL_FOREIGN_ACTION);
    EXPECT_EQ(join(group, member), VL_MODEL_OK);
    EXPECT_EQ(join(group, member), VL_MODEL_EXISTS);
    EXPECT_EQ(join(group, add_hop(2)), VL_MODEL_OK);
    const uint32_t third = add_hop(3);
    EXPECT_EQ(join(group, third), VL_MODEL_GROUP_FULL);
    EXPECT_EQ(leave(group, third), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(leave(group, member), VL_MODEL_OK);
    EXPECT_EQ(join(group, third), VL_MODEL_OK);
}

// Each change of an entry must release its old target and hold its new one. Otherwise a row could be deleted too early,
// or never.
TEST_F(ProfilesTest, RowsInUseStay) {
    const uint32_t member = add_hop(1);
    const uint32_t other = add_hop(2);
    const uint32_t group = add_group();
    const pipe_action_record to_member = target(PIPE_KIND_MEMBER, member);
    const pipe_action_record to_other = target(PIPE_KIND_MEMBER, other);
    const pipe_action_record to_group = target(PIPE_KIND_GROUP, group);
    uint32_t entry = 0;
    EXPECT_EQ(add_entry(1, target(PIPE_KIND_MEMBER, group), &entry), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(add_entry(1, target(PIPE_KIND_GROUP, member), &entry), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(add_entry(1, target(PIPE_KIND_GROUP, add_group(0, lag_groups)), &entry), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(add_entry(1, to_member, &entry, none), VL_MODEL_FOREIGN_ACTION);

    ASSERT_EQ(add_entry(1, to_member, &entry), VL_MODEL_OK);
    EXPECT_EQ(add_entry(1, to_other, &entry), VL_MODEL_EXISTS); // refused, so it holds nothing
    EXPECT_EQ(delete_member(member), VL_MODEL_IN_USE);
    ASSERT_EQ(pipe_mgr_mat_ent_set_action(session, 3, hops, entry, set_hop, &to_group, 0), VL_MODEL_OK);
    EXPECT_EQ(delete_group(group), VL_MODEL_IN_USE);
    ASSERT_EQ(join(group, member), VL_MODEL_OK);
    EXPECT_EQ(delete_member(member), VL_MODEL_IN_USE);

    ASSERT_EQ(point_default_at(to_group), VL_MODEL_OK);
    ASSERT_EQ(pipe_mgr_mat_ent_del(session, 3, hops, entry, 0), VL_MODEL_OK);
    EXPECT_EQ(delete_group(group), VL_MODEL_IN_USE);
    ASSERT_EQ(point_default_at(to_other), VL_MODEL_OK);
    EXPECT_EQ(delete_group(group), VL_MODEL_OK);
    EXPECT_EQ(delete_member(member), VL_MODEL_OK); // its group is gone
    EXPECT_EQ(delete_member(other), VL_MODEL_IN_USE);
    ASSERT_EQ(pipe_mgr_mat_tbl_default_entry_reset(session, device, hops, 0), VL_MODEL_OK);
    ASSERT_EQ(set_fallback(other), VL_MODEL_OK);
    ASSERT_EQ(set_fallback(other), VL_MODEL_OK);
    EXPECT_EQ(delete_member(other), VL_MODEL_IN_USE);
    ASSERT_EQ(pipe_mgr_sel_fallback_mbr_reset(session, device, hop_groups, 0), VL_MODEL_OK);
    EXPECT_EQ(delete_member(other), VL_MODEL_OK);
}

TEST_F(ProfilesTest, TheHashChoosesAmongTheActive) {
    const uint32_t group = add_group();
    const Handles members{add_hop(1), add_hop(2), add_hop(3)};
    for (const size_t i : {2U, 0U, 1U})
        ASSERT_EQ(join(group, members[i]), VL_MODEL_OK);
    EXPECT_EQ(pick(group, {0}), members[0]);
    EXPECT_EQ(pick(group, {5}), members[2]);
    EXPECT_EQ(pick(group, Bytes(20, 0xFF)), members[0]); // 2^160 - 1 is a multiple of 3
    EXPECT_EQ(pick(group, {}), 0U);

    ASSERT_EQ(disable(group, members[1]), VL_MODEL_OK);
    EXPECT_EQ(pick(group, {1}), members[2]);
    EXPECT_EQ(pick(group, {1, 0}), members[0]); // most significant byte first
    EXPECT_EQ(output_of(pipe_mgr_sel_grp_mbr_state_get, session, device, hop_groups, group, members[1]),
              uint32_t{PIPE_MBR_STATE_INACTIVE});
    Handles found(4, 7);
    Bytes states(4, 7);
    uint32_t count = 0;
    EXPECT_EQ(pipe_mgr_sel_grp_mbrs_get(session, 3, hop_groups, group, 4, found.data(), states.data(), &count, 0),
              VL_MODEL_OK);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(found, (Handles{members[0], members[1], members[2], 7}));
    EXPECT_EQ(states, (Bytes{0, 1, 0, 7}));

    for (const uint32_t member : members)
        ASSERT_EQ(disable(group, member), VL_MODEL_OK);
    EXPECT_EQ(pick(group, {1}), 0U);
    const uint32_t fallback = add_hop(9);
    ASSERT_EQ(set_fallback(fallback), VL_MODEL_OK);
    EXPECT_EQ(pick(group, {1}), fallback);
    ASSERT_EQ(pipe_mgr_sel_grp_mbr_enable(session, device, hop_groups, group, members[1], 0), VL_MODEL_OK);
    EXPECT_EQ(pick(group, {1}), members[1]);
}

TEST_F(ProfilesTest, Walks) {
    const Handles members{add_hop(1), add_hop(2), add_hop(3), add_hop(4)};
    const Handles groups{add_group(), add_group()};
    EXPECT_EQ(walk(hop_members), members);
    EXPECT_EQ(walk(hop_groups), groups);
    EXPECT_EQ(walk(lag_members), Handles());
    uint32_t next = 0;
    EXPECT_EQ(pipe_mgr_get_next_entry_handles(session, hop_members, device, groups[0], 1, &next), VL_MODEL_NOT_FOUND);
    ASSERT_EQ(delete_member(members[1]), VL_MODEL_OK);
    EXPECT_EQ(output_of(pipe_mgr_get_next_entry_handles, session, hop_members, device, members[1], 1), members[2]);
    EXPECT_EQ(rows_of(hop_members), 3U);

    EXPECT_EQ(pipe_mgr_get_first_group_member(session, hop_groups, 3, groups[0], &next), VL_MODEL_NOT_FOUND);
    for (const uint32_t member : {members[3], members[0], members[2]})
        ASSERT_EQ(join(groups[0], member), VL_MODEL_OK);
    EXPECT_EQ(output_of(pipe_mgr_get_first_group_member, session, hop_groups, 3, groups[0]), members[0]);
    ASSERT_EQ(leave(groups[0], members[0]), VL_MODEL_OK);
    Handles rest(3, 7);
    EXPECT_EQ(pipe_mgr_get_next_group_members(session, hop_groups, 3, groups[0], members[0], 3, rest.data()), 0U);
    EXPECT_EQ(rest, (Handles{members[2], members[3], PIPE_HDL_END}));
    EXPECT_EQ(output_of(pipe_mgr_get_sel_grp_mbr_count, session, device, hop_groups, groups[0]), 2U);
}

TEST_F(ProfilesTest, AGroupTakesWordsAsItGrows) {
    const auto active_in = [&](uint32_t word) {
        return output_of(pipe_mgr_get_word_llp_active_member_count, session, device, hop_groups, word);
    };
    const uint32_t large = add_group();
    const uint32_t small = add_group();
    Handles members;
    fill(large, members, VL_MODEL_SELECTOR_WORD_SLOTS + 1);
    ASSERT_EQ(join(small, members[5]), VL_MODEL_OK);
    ASSERT_EQ(disable(large, members[0]), VL_MODEL_OK);
    ASSERT_EQ(leave(large, members[2]), VL_MODEL_OK);
    EXPECT_EQ(active_in(0), 30U);
    EXPECT_EQ(active_in(1), 1U);
    EXPECT_EQ(active_in(2), 1U);
    uint32_t count = 0;
    EXPECT_EQ(pipe_mgr_get_word_llp_active_member_count(session, device, hop_groups, 3, &count), VL_MODEL_NOT_FOUND);
    ASSERT_EQ(join(large, members[2]), VL_MODEL_OK); // takes the free position, not a new word
    Handles found(3, 7);
    EXPECT_EQ(pipe_mgr_get_word_llp_active_members(session, device, hop_groups, 0, 2, found.data()), VL_MODEL_OK);
    EXPECT_EQ(found, (Handles{members[1], members[2], 7}));
    EXPECT_EQ(pipe_mgr_get_word_llp_active_members(session, device, hop_groups, 2, 3, found.data()), VL_MODEL_OK);
    EXPECT_EQ(found, (Handles{members.back(), PIPE_HDL_END, 7}));
    ASSERT_EQ(delete_group(large), VL_MODEL_OK);
    EXPECT_EQ(active_in(0), std::nullopt);
    EXPECT_EQ(active_in(2), std::nullopt);
    add_group();
    EXPECT_EQ(active_in(0), 0U);
}

// The words of a group need not be in ascending order.
TEST_F(ProfilesTest, MembersTakeTheLowestFreePositionOfTheirGroup) {
    const uint32_t first = add_group(); // word 0
    const uint32_t large = add_group(); // words 1 and 2, and then 0
    Handles members;
    fill(large, members, 2UL * VL_MODEL_SELECTOR_WORD_SLOTS);
    ASSERT_EQ(delete_group(first), VL_MODEL_OK);
    fill(large, members, 3UL * VL_MODEL_SELECTOR_WORD_SLOTS);
    Handles positions;
    const auto on_memory = [](pipe_sess_hdl, pipe_dev_tgt, uint32_t, uint32_t, uint32_t index, uint32_t, void* cookie) {
        static_cast<Handles*>(cookie)->push_back(index);
    };
    ASSERT_EQ(pipe_mgr_sel_tbl_register_cb(session, device, hop_groups, on_memory, &positions), VL_MODEL_OK);
    for (const size_t i : {40U, 5U, 70U, 94U})
        ASSERT_EQ(leave(large, members[i]), VL_MODEL_OK);
    for (const size_t i : {94U, 70U, 40U, 5U})
        ASSERT_EQ(join(large, members[i]), VL_MODEL_OK);
    EXPECT_EQ(positions, (Handles{72, 37, 6, 30, 6, 30, 37, 72}));
}

// A callback that calls the driver would hang if it ran under the driver's lock. The last number of most lines is the
// table's number of rows, for which the callback asks the driver.
TEST_F(ProfilesTest, CallbacksRunOutsideTheLock) {
    static const auto count = [](uint32_t sess, pipe_dev_tgt dev, uint32_t table) {
        return output_of(pipe_mgr_get_entry_count, sess, dev, table, 0).value();
    };
    const auto on_member = [](pipe_sess_hdl sess, pipe_dev_tgt dev, uint32_t table, uint32_t member, uint32_t update,
                              void*) {
        tell("member", {dev.pipe_id, member & 0xFF, update, count(sess, dev, table)});
    };
    const auto on_group = [](pipe_sess_hdl sess, pipe_dev_tgt dev, uint32_t selector, uint32_t group, uint32_t member,
                             uint32_t update, void*) {
        tell("group", {group & 0xFF, member & 0xFF, update, count(sess, dev, selector)});
    };
    const auto on_memory = [](pipe_sess_hdl, pipe_dev_tgt, uint32_t group, uint32_t member, uint32_t index,
                              uint32_t active, void*) {
        tell("memory", {group & 0xFF, member & 0xFF, index, active});
    };
    const auto on_entry = [](pipe_sess_hdl sess, pipe_dev_tgt dev, uint32_t table, uint32_t entry, uint32_t update,
                             void* cookie) {
        EXPECT_EQ(cookie, &told);
        tell("entry", {entry, update, count(sess, dev, table)});
    };
    ASSERT_EQ(pipe_register_adt_update_cb(session, device, hop_members, on_member, nullptr), VL_MODEL_OK);
    ASSERT_EQ(pipe_register_sel_update_cb(session, device, hop_groups, on_group, nullptr), VL_MODEL_OK);
    ASSERT_EQ(pipe_mgr_sel_tbl_register_cb(0, device, hop_groups, on_memory, nullptr), VL_MODEL_OK);
    ASSERT_EQ(pipe_register_mat_update_cb(session, 3, hops, on_entry, &told), VL_MODEL_OK);

    const uint32_t member = add_hop(1);
    const uint32_t group = add_group();
    join(group, member);
    join(group, member); // refused, so no callback runs
    disable(group, member);
    uint32_t entry = 0;
    const pipe_action_record to_group = target(PIPE_KIND_GROUP, group);
    add_entry(1, to_group, &entry);
    pipe_mgr_mat_ent_set_action(session, 3, hops, entry, set_hop, &to_group, 0);
    pipe_mgr_mat_ent_del(session, 3, hops, entry, 0);
    leave(group, member);
    delete_group(group);
    ASSERT_EQ(pipe_register_adt_update_cb(session, device, hop_members, nullptr, nullptr), VL_MODEL_OK);
    delete_member(member);
    EXPECT_EQ(told, (std::vector<std::string>{"member 1 1 1 1", "memory 1 0 0 0", "group 1 0 1 1", "memory 1 1 0 1",
                                              "group 1 1 1 1", "memory 1 1 0 0", "group 1 1 2 1", "entry 1 1 1",
                                              "entry 1 2 1", "entry 1 3 0", "memory 1 0 0 0", "group 1 1 3 1",
                                              "memory 1 0 0 0", "group 1 0 3 0"}));
}

TEST_F(ProfilesTest, ReplaysAfterARestartOfTheAgent) {
    const auto on_row = [](uint32_t sess, uint32_t dev, uint32_t table, uint32_t action, uint32_t group,
                           uint32_t member, uint32_t resources) {
        tell("row", {sess, dev, table & 0xF, action & 0xF, group & 0xF, member & 0xF, resources});
    };
    const vl_model_row row{
        .sess_hdl = 8, .dev_id = 7, .data_table = 6, .act_hdl = 5, .grp_hdl = 4, .mbr_hdl = 3, .resource_count = 2};
    EXPECT_EQ(vl_model_replay_row(&row), VL_MODEL_NOT_FOUND);
    uint32_t lag = 0;
    ASSERT_EQ(try_member(lag_members, set_lag, {}, 0, &lag), VL_MODEL_OK); // handle ..1
    const uint32_t member = add_hop(1);
    add_hop(2);
    const uint32_t group = add_group();
    add_group(0, lag_groups);
    ASSERT_EQ(join(group, member), VL_MODEL_OK);

    bf_drv_client_hdl client = 0;
    ASSERT_EQ(bf_drv_register("agent", &client), VL_MODEL_OK);
    bf_drv_client_callbacks callbacks{};
    callbacks.device_remove = [](uint32_t dev) -> pipe_status {
        tell("gone", {dev});
        return VL_MODEL_OK;
    };
    ASSERT_EQ(bf_drv_client_register_callbacks(client, &callbacks, 1), VL_MODEL_OK);
    ASSERT_EQ(vl_model_device_state_drop(3), VL_MODEL_OK);
    EXPECT_EQ(vl_model_device_state_drop(4), VL_MODEL_UNKNOWN_DEVICE);

    EXPECT_EQ(pipe_mgr_hitless_ha_restore_virtual_dev_state(4, session, 0, 0, 0, on_row), VL_MODEL_UNKNOWN_DEVICE);
    const uint64_t beyond = (UINT64_C(1) << 32) + 3;
    EXPECT_EQ(pipe_mgr_hitless_ha_restore_virtual_dev_state(beyond, session, 0, 0, 0, on_row), VL_MODEL_UNKNOWN_DEVICE);
    ASSERT_EQ(pipe_mgr_hitless_ha_restore_virtual_dev_state(3, session, 9, 9, 9, on_row), VL_MODEL_OK);
    ASSERT_EQ(vl_model_replay_row(&row), VL_MODEL_OK);
    const std::string start = "row " + std::to_string(session) + " 3 ";
    EXPECT_EQ(told, (std::vector<std::string>{"gone 3", start + "1 1 0 2 0", start + "1 1 0 3 0", start + "1 0 1 0 0",
                                              start + "1 1 1 2 0", start + "2 3 0 1 0", start + "2 0 2 0 0",
                                              "row 8 7 6 5 4 3 2"}));
}

TEST_F(ProfilesTest, FaultsAndRecordsReachTheseCallsToo) {
    const uint32_t group = add_group();
    ASSERT_EQ(join(group, add_hop(1)), VL_MODEL_OK);
    vl_model::fail_call("pipe_mgr_sel_grp_mbr_get_from_hash", 1, 99);
    const Handles members{5, 6};
    uint32_t value = 0, args = 0;
    const auto calls = recorded([&] {
        EXPECT_EQ(pick(group, {7, 8}), 0U);
        p4_pd_ms_state* state = p4_pd_ms_init_state();
        p4_pd_ms_del_grp(session, state, 3, group, 2, members.data());
        EXPECT_EQ(pipe_mgr_tbl_set_property(session, 3, hops, 8, 5, 6), VL_MODEL_OK);
        EXPECT_EQ(pipe_mgr_tbl_set_property(session, 3, hops, 9, 5, 6), VL_MODEL_INVALID);
        EXPECT_EQ(pipe_mgr_tbl_get_property(session, 3, hops, 0, &value, &args), VL_MODEL_INVALID);
        EXPECT_EQ(pipe_mgr_tbl_get_property(session, 3, hops, 8, &value, &args), VL_MODEL_OK);
    });
    EXPECT_EQ(std::pair(value, args), std::pair(5U, 6U));
    ASSERT_EQ(calls.size(), 7U);
    EXPECT_EQ(calls[0].status, 99U);
    EXPECT_EQ(calls[0].bytes, (Bytes{7, 8}));
    EXPECT_EQ(calls[0].args.size(), 7U);
    EXPECT_EQ(calls[2].handles, members);
    EXPECT_EQ(calls[2].args.size(), 6U);

    vl_model::set_state_answer_hook([](uint32_t& answer) { answer = 2; });
    vl_model::set_group_answer_hook([](uint32_t*, uint8_t*, uint32_t& count) { --count; });
    EXPECT_EQ(pipe_mgr_sel_grp_mbr_state_get(session, device, hop_groups, group, walk(hop_members)[0], &value), 0U);
    EXPECT_EQ(value, 2U);
    uint8_t states = 0;
    EXPECT_EQ(pipe_mgr_sel_grp_mbrs_get(session, 3, hop_groups, group, 1, &value, &states, &args, 0), VL_MODEL_OK);
    EXPECT_EQ(args, 0U);
}

} // namespace
