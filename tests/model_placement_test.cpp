// Placement data of the embedded driver: what it decodes to, and how long it is valid. Also random damage to the
// hardware, as the report and reads show it. Uses a made-up pipeline of three tables.
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/model.h"

namespace {

using namespace support;

constexpr uint32_t hosts = 0x1000001, routes = 0x1000002, lags = 0x1000003;
constexpr uint32_t members = 0x2000001, groups = 0x3000001, meter = 0x5000001, act = 0x20000001;

Reading decode(const void* blob) {
    return reading(
        0, 0, [&](Reading& r) { return pipe_mgr_plcmt_mat_data_get_entry(blob, &r.match, &r.action, &r.action_hdl); });
}

Reading decode_member(const void* blob) {
    return reading(
        0, 0, [&](Reading& r) { return pipe_mgr_plcmt_adt_data_get_entry(blob, &r.action.action, &r.action_hdl); });
}

class PlacementTest : public DeviceTest {
protected:
    uint8_t data[3] = {1, 2, 3};
    pipe_action_record direct{PIPE_KIND_ACTION_DATA, 0, {}, {20, 3, 0, data}, 0, 0, {}};
    pipe_action_record content{0, 0, {}, {20, 3, 0, data}, 0, 0, {}}; // of a member
    pipe_action_record indirect{PIPE_KIND_MEMBER, 0, {}, {}, 0, 0, {}};
    pipe_resource_slot slot{meter, 5, {}, PIPE_SLOT_DETACHED, 0};
    uint32_t member = 0, group = 0, fallback = 0;

    void SetUp() override {
        vl_model_reset();
        fill();
    }
    // Opens a session, and adds a device with a member, a group and a default entry.
    void fill() {
        constexpr vl_model_action action{act, 20, 3, 1, 1};
        const vl_model_table tables[] = {
            {hosts, "hosts", VL_MODEL_EXACT, 36, 5, &action, 1, 0, 0, 0, 0, 0, 0},
            {routes, "routes", VL_MODEL_PREFIX, 36, 5, &action, 1, 0, meter, 0, 0, 0, 0},
            {lags, "lags", VL_MODEL_TERNARY, 36, 5, &action, 1, 0, 0, members, groups, 0, 0}};
        const vl_model_resource meters[] = {{meter, routes, 0}};
        vl_model_pipeline pipeline{.name = "p", .tables = tables, .table_count = 3, .meters = meters, .meter_count = 1};
        ASSERT_EQ(vl_model_session_open(&session), VL_MODEL_OK);
        ASSERT_EQ(vl_model_device_add(3, &pipeline), VL_MODEL_OK);
        ASSERT_EQ(pipe_mgr_adt_ent_add(session, device, members, act, 0, &content, &member, 0), VL_MODEL_OK);
        ASSERT_EQ(pipe_mgr_sel_grp_add(session, device, groups, 0, 4, PIPE_SEL_GRP_MARK, &group, 0), VL_MODEL_OK);
        ASSERT_EQ(pipe_mgr_mat_default_entry_set(session, device, hosts, act, &direct, 0, &fallback), VL_MODEL_OK);
        indirect.member_hdl = member;
    }
    uint32_t add(uint32_t table, uint8_t key, const pipe_action_record& action) const {
        uint8_t bytes[] = {1, 2, 3, key, 0}, mask[] = {0xFF, 0xFF, 0xFF, 0xFF, 0};
        const pipe_match_record match{bytes, mask, table == routes ? 7U : 0U, table == hosts ? 0U : 8U, 36, 5, 0};
        uint32_t entry = 0;
        EXPECT_EQ(pipe_mgr_mat_ent_add(session, device, table, &match, act, &action, 0, 0, &entry), VL_MODEL_OK);
        return entry;
    }
    // Null if the fetch is refused.
    const void* fetch(uint32_t table, uint32_t handle) const {
        const void* blob = nullptr;
        const auto of_profile = table == groups ? pipe_mgr_plcmt_sel_data_get : pipe_mgr_plcmt_adt_data_get;
        const auto get = table == groups || table == members ? of_profile : pipe_mgr_plcmt_mat_data_get;
        return get(session, device, table, handle, &blob) == VL_MODEL_OK ? blob : nullptr;
    }
};

TEST_F(PlacementTest, DecodesToWhatAReadOfTheSoftwareGives) {
    pipe_action_record metered = direct, grouped{PIPE_KIND_GROUP, 0, {}, {}, 0, group, {}};
    metered.resource_count = 2;
    metered.slots[1] = slot;
    const uint32_t entries[] = {add(hosts, 1, direct), fallback, add(routes, 2, metered), add(lags, 3, indirect),
                                add(lags, 4, grouped)};
    const uint32_t tables[] = {hosts, hosts, routes, lags, lags};
    for (size_t i = 0; i < std::size(entries); ++i) {
        ASSERT_EQ(vl_model::drop_hardware(3, tables[i], entries[i]), VL_MODEL_OK);
        const Reading decoded = decode(fetch(tables[i], entries[i]));
        EXPECT_EQ(decoded.status, VL_MODEL_OK);
        EXPECT_EQ(decoded, read(tables[i], entries[i])) << i;
    }
    const Reading software = reading(0, 8, [&](Reading& r) {
        return pipe_mgr_get_action_data_entry(members, device, member, &r.action.action, &r.action_hdl, 0);
    });
    EXPECT_EQ(decode_member(fetch(members, member)), software);
    EXPECT_EQ(software.data[2], 3);
}

TEST_F(PlacementTest, IsValidUntilItsRowChangesOrGoes) {
    const uint32_t host = add(hosts, 1, direct), route = add(routes, 1, direct);
    uint32_t same = fallback;
    std::set<const void*> stale{&same};
    const auto expect_end = [&](uint32_t table, uint32_t handle, auto change) {
        const void* blob = fetch(table, handle);
        EXPECT_EQ(fetch(table, handle), blob);
        EXPECT_EQ(change(), VL_MODEL_OK);
        EXPECT_NE(fetch(table, handle), blob) << stale.size();
        EXPECT_TRUE(stale.insert(blob).second);
    };
    expect_end(hosts, host, [&] { return pipe_mgr_mat_ent_set_action(session, 3, hosts, host, act, &direct, 0); });
    expect_end(routes, route, [&] { return pipe_mgr_mat_ent_set_resource(session, 3, routes, route, &slot, 1, 0); });
    expect_end(hosts, same,
               [&] { return pipe_mgr_mat_default_entry_set(session, device, hosts, act, &direct, 0, &same); });
    expect_end(hosts, same, [&] { return pipe_mgr_mat_tbl_default_entry_reset(session, device, hosts, 0); });
    expect_end(members, member, [&] { return pipe_mgr_adt_ent_set(session, 3, members, member, act, &content, 0); });
    expect_end(groups, group, [&] { return pipe_mgr_sel_grp_mbr_add(session, 3, groups, group, act, member, 0); });
    expect_end(groups, group, [&] { return pipe_mgr_sel_grp_mbr_disable(session, device, groups, group, member, 0); });
    expect_end(groups, group, [&] { return pipe_mgr_sel_grp_mbr_del(session, 3, groups, group, member, 0); });
    expect_end(groups, group, [&] { return pipe_mgr_sel_grp_del(session, 3, groups, group, 0); });
    expect_end(members, member, [&] { return pipe_mgr_adt_ent_del(session, 3, members, member, 0); });
    expect_end(hosts, host, [&] { return pipe_mgr_mat_ent_del(session, 3, hosts, host, 0); });

    // Handles and memory are reused, but old placement data stays invalid: also after the device is removed, or after a
    // reset.
    for (int round = 0; round < 3; ++round) {
        const void* blob = fetch(hosts, add(hosts, 2, direct));
        EXPECT_EQ(decode(blob).status, VL_MODEL_OK);
        EXPECT_EQ(decode_member(blob).status, VL_MODEL_NOT_FOUND);
        for (const void* old : stale) {
            EXPECT_EQ(decode(old).status, VL_MODEL_NOT_FOUND);
            EXPECT_EQ(decode_member(old).status, VL_MODEL_NOT_FOUND);
        }
        stale.insert(blob);
        ASSERT_TRUE(round != 0 || vl_model_device_remove(3) == VL_MODEL_OK);
        round == 0 ? fill() : SetUp();
    }
}

TEST_F(PlacementTest, TestsCanAnswerAndRefuseCalls) {
    const uint32_t host = add(hosts, 1, direct);
    const void* blob = fetch(hosts, host);
    vl_model::set_answer_hook([](auto&, auto&, uint32_t& act_hdl) { act_hdl = 1; });
    vl_model::set_placed_entry_answer_hook([](pipe_match_record& match, auto&, auto&) { match.key_len = 0; });
    vl_model::set_placed_member_answer_hook([](auto&, uint32_t& act_hdl) { act_hdl = 2; });
    EXPECT_EQ(decode(blob).match.key_len, 0);
    EXPECT_EQ(decode(blob).action_hdl, act);
    EXPECT_EQ(decode_member(fetch(members, member)).action_hdl, 2U);

    const std::string before = "pipe_mgr_plcmt_";
    for (const char* name :
         {"mat_data_get", "adt_data_get", "sel_data_get", "mat_data_get_entry", "adt_data_get_entry"})
        vl_model::fail_call(before + name, 1, 99);
    vl_model::record_calls(true);
    for (const auto& [table, handle] : {std::pair(hosts, host), {members, member}, {groups, group}}) {
        EXPECT_EQ(fetch(table, handle), nullptr);
        EXPECT_EQ(vl_model::take_calls().at(0).args.at(3), handle);
    }
    EXPECT_EQ(decode(blob).status, 99U);
    EXPECT_EQ(decode_member(blob).status, 99U);
}

TEST_F(PlacementTest, DamageIsWhatTheReportSays) {
    std::vector<vl_model_corruption> report(200);
    uint32_t done = 0;
    // Starts anew, and returns the damage that the seed causes.
    const auto damage_anew = [&](uint64_t seed) {
        SetUp();
        for (uint32_t i = 0; i < 200; ++i)
            add(hosts + i % 3, uint8_t(i), hosts + i % 3 == lags ? indirect : direct);
        EXPECT_EQ(vl_model_hardware_corrupt(3, seed, 60, report.data(), &done), VL_MODEL_OK);
        EXPECT_EQ(done, 60U);
        return std::string(reinterpret_cast<const char*>(report.data()), done * sizeof(report[0]));
    };
    const std::string first = damage_anew(1);
    EXPECT_NE(damage_anew(2), first);
    EXPECT_EQ(damage_anew(1), first);
    EXPECT_EQ(vl_model_hardware_corrupt(3, 2, 100, report.data() + 60, &done), VL_MODEL_OK);

    // Hardware rows differ from software as the reports say. All others, among them the default entry, are the same.
    std::map<std::pair<uint32_t, uint32_t>, vl_model_corruption> told;
    for (uint32_t i = 0; i < 160; ++i)
        EXPECT_TRUE(told.emplace(std::pair(report[i].tbl_hdl, report[i].ent_hdl), report[i]).second);
    std::set<uint32_t> kinds;
    for (uint32_t i = 0; i <= 200; ++i) {
        const std::pair row = i == 200 ? std::pair(hosts, fallback) : std::pair(hosts + i % 3, 1 + i / 3);
        Reading expected = read(row.first, row.second);
        if (const auto found = told.find(row); found != told.end()) {
            const auto [table, entry, what, bit] = found->second;
            uint8_t* const buffers[] = {nullptr, expected.key, expected.mask, expected.data};
            kinds.insert(what);
            if (what == VL_MODEL_LOST)
                expected = reading(8, 8, [](auto&) { return VL_MODEL_NOT_FOUND; });
            else if (what == VL_MODEL_MEMBER_BIT)
                expected.action.member_hdl ^= 1U << bit;
            else
                buffers[what][bit / 8] ^= uint8_t(1U << bit % 8);
        }
        EXPECT_EQ(read(row.first, row.second, true), expected) << row.first << ' ' << row.second;
    }
    EXPECT_EQ(kinds.size(), 5U);

    EXPECT_EQ(vl_model_hardware_corrupt(3, 2, 100, report.data(), &done), VL_MODEL_OK);
    EXPECT_EQ(done, 40U); // the entries that were still undamaged
}

} // namespace
