// What the embedded driver does for its clients: the member-selector component, and callbacks about devices.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <cjson/cJSON.h>

#include <vl_model/testing.h>

#include "support/model.h"

namespace {

using namespace support;

constexpr uint32_t forward = 0x20000001;
constexpr uint32_t drop = 0x20000002;
constexpr uint32_t miss = 0x20000003;

class ShadowTest : public testing::Test {
protected:
    static constexpr uint32_t session = 1; // the component ignores it
    p4_pd_ms_state* state = nullptr;

    void SetUp() override {
        vl_model_reset();
        state = p4_pd_ms_init_state();
    }

    std::string log(p4_pd_ms_state* of) {
        cJSON* object = cJSON_CreateObject();
        EXPECT_EQ(p4_pd_ms_log_state(3, of, object), VL_MODEL_OK);
        char* text = cJSON_PrintUnformatted(object);
        std::string result = text;
        cJSON_free(text);
        cJSON_Delete(object);
        return result;
    }
    Handles groups_of(uint32_t member) {
        Handles found;
        p4_pd_ms_mbr_apply_to_grps(
            state, 3, member,
            [](uint32_t, uint32_t group, uint32_t, void* cookie) -> pipe_status {
                static_cast<Handles*>(cookie)->push_back(group);
                return VL_MODEL_OK;
            },
            &found);
        return found;
    }
};

TEST_F(ShadowTest, MembershipEndsWithTheMemberOrTheGroup) {
    uint32_t action = 0;
    EXPECT_EQ(p4_pd_ms_get_mbr_act(state, 3, 5, &action), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(p4_pd_ms_new_mbr(session, state, 3, 5), VL_MODEL_OK);
    EXPECT_EQ(p4_pd_ms_get_mbr_act(state, 3, 5, &action), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(p4_pd_ms_set_mbr_act(state, 3, 5, forward), VL_MODEL_OK);
    EXPECT_EQ(output_of(p4_pd_ms_get_mbr_act, state, 3, 5), forward);
    EXPECT_EQ(p4_pd_ms_get_mbr_act(state, 4, 5, &action), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(p4_pd_ms_set_grp_act(state, 3, 7, forward), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(p4_pd_ms_new_mbr(session, state, 3, 0), VL_MODEL_INVALID);

    for (const uint32_t group : {7U, 8U, 9U}) {
        EXPECT_EQ(p4_pd_ms_new_grp(session, state, 3, group), VL_MODEL_OK);
        EXPECT_EQ(p4_pd_ms_add_mbr_to_grp(session, state, 3, 5, group), VL_MODEL_OK);
    }
    EXPECT_EQ(groups_of(5), (Handles{7, 8, 9}));
    EXPECT_EQ(p4_pd_ms_del_mbr_from_grp(session, state, 3, 5, 8), VL_MODEL_OK);
    EXPECT_EQ(p4_pd_ms_del_grp(session, state, 3, 7, 0, nullptr), VL_MODEL_OK);
    EXPECT_EQ(groups_of(5), Handles{9});
    EXPECT_EQ(p4_pd_ms_del_mbr(session, state, 3, 5), VL_MODEL_OK);
    EXPECT_EQ(log(state), R"({"members":[],"groups":[{"group":8,"members":[]},{"group":9,"members":[]}]})");

    // A replay may name a member in a group before the member itself.
    EXPECT_EQ(p4_pd_ms_add_mbr_to_grp(session, state, 3, 6, 9), VL_MODEL_OK);
    EXPECT_EQ(groups_of(6), Handles{9});
    EXPECT_EQ(p4_pd_ms_destroy_state_for_dev(state, 3), VL_MODEL_OK);
    EXPECT_EQ(log(state), R"({"members":[],"groups":[]})");
}

// Compares random joins and leaves with lists in the order of arrival. The log and the walk over groups show the order.
TEST_F(ShadowTest, MembershipsKeepTheOrderOfTheirArrival) {
    std::map<uint32_t, Handles> members_of; // by group
    std::map<uint32_t, Handles> expected_groups;
    for (uint32_t handle = 1; handle <= 6; ++handle) {
        p4_pd_ms_new_mbr(session, state, 3, handle);
        p4_pd_ms_new_grp(session, state, 3, handle);
        members_of[handle];
    }
    std::mt19937 random(7);
    for (int step = 0; step < 2000; ++step) {
        const auto member = static_cast<uint32_t>(1 + random() % 6);
        const auto group = static_cast<uint32_t>(1 + random() % 6);
        Handles& members = members_of[group];
        Handles& groups = expected_groups[member];
        const bool is_in = std::find(members.begin(), members.end(), member) != members.end();
        if (random() % 2 == 0) {
            ASSERT_EQ(p4_pd_ms_add_mbr_to_grp(session, state, 3, member, group), is_in ? VL_MODEL_EXISTS : VL_MODEL_OK);
            if (!is_in) {
                members.push_back(member);
                groups.push_back(group);
            }
        } else {
            ASSERT_EQ(p4_pd_ms_del_mbr_from_grp(session, state, 3, member, group),
                      is_in ? VL_MODEL_OK : VL_MODEL_NOT_FOUND);
            std::erase(members, member);
            std::erase(groups, group);
        }
        ASSERT_EQ(groups_of(member), groups);
    }
    std::string expected = R"({"members":[{"member":1},{"member":2},{"member":3},{"member":4},{"member":5},)"
                           R"({"member":6}],"groups":[)";
    for (const auto& [group, members] : members_of) {
        expected += (group == 1 ? "" : ",") + (R"({"group":)" + std::to_string(group)) + R"(,"members":[)";
        for (const uint32_t member : members)
            expected += (member == members.front() ? "" : ",") + std::to_string(member);
        expected += "]}";
    }
    EXPECT_EQ(log(state), expected + "]}");
}

TEST_F(ShadowTest, JsonRoundTripMergesAndToleratesGaps) {
    const uint32_t large = 0xFFFFFFFE;
    for (const uint32_t member : {5U, large})
        p4_pd_ms_new_mbr(session, state, 3, member);
    p4_pd_ms_set_mbr_act(state, 3, large, forward);
    p4_pd_ms_new_grp(session, state, 3, 7);
    p4_pd_ms_set_grp_act(state, 3, 7, drop);
    p4_pd_ms_add_mbr_to_grp(session, state, 3, large, 7);
    p4_pd_ms_add_mbr_to_grp(session, state, 3, 5, 7);
    const std::string text = log(state);

    p4_pd_ms_state* other = p4_pd_ms_init_state();
    p4_pd_ms_new_mbr(session, other, 3, 5);
    p4_pd_ms_set_mbr_act(other, 3, 5, miss);
    cJSON* object = cJSON_Parse(text.c_str());
    EXPECT_EQ(p4_pd_ms_restore_state(3, other, object), VL_MODEL_OK);
    EXPECT_EQ(p4_pd_ms_restore_state(3, other, object), VL_MODEL_OK);
    cJSON_Delete(object);
    EXPECT_EQ(output_of(p4_pd_ms_get_mbr_act, other, 3, 5), miss); // the log has no action to replace it
    p4_pd_ms_set_mbr_act(state, 3, 5, miss);
    EXPECT_EQ(log(other), log(state));

    object = cJSON_Parse(R"({"members":[{},7,{"member":-1},{"member":1.5},{"member":5000000000}],"groups":3})");
    EXPECT_EQ(p4_pd_ms_restore_state(3, other, object), VL_MODEL_OK);
    cJSON_Delete(object);
    EXPECT_EQ(log(other), log(state));
}

// An agent that has not asked for a state passes null.
TEST_F(ShadowTest, NoStateIsRefused) {
    uint32_t word = 0;
    void* resources = nullptr;
    cJSON* object = cJSON_CreateObject();
    const auto on_group = [](uint32_t, uint32_t, uint32_t, void*) -> pipe_status { return VL_MODEL_OK; };
    const std::pair<const char*, pipe_status> calls[] = {
        {"new_mbr", p4_pd_ms_new_mbr(session, nullptr, 3, 5)},
        {"set_mbr_act", p4_pd_ms_set_mbr_act(nullptr, 3, 5, forward)},
        {"get_mbr_act", p4_pd_ms_get_mbr_act(nullptr, 3, 5, &word)},
        {"del_mbr", p4_pd_ms_del_mbr(session, nullptr, 3, 5)},
        {"new_grp", p4_pd_ms_new_grp(session, nullptr, 3, 7)},
        {"del_grp", p4_pd_ms_del_grp(session, nullptr, 3, 7, 0, nullptr)},
        {"add_mbr_to_grp", p4_pd_ms_add_mbr_to_grp(session, nullptr, 3, 5, 7)},
        {"del_mbr_from_grp", p4_pd_ms_del_mbr_from_grp(session, nullptr, 3, 5, 7)},
        {"set_grp_act", p4_pd_ms_set_grp_act(nullptr, 3, 7, forward)},
        {"get_grp_act", p4_pd_ms_get_grp_act(nullptr, 3, 7, &word)},
        {"mbr_get_res", p4_pd_ms_mbr_get_res(nullptr, 3, 5, &word, &resources)},
        {"grp_get_res", p4_pd_ms_grp_get_res(nullptr, 3, 7, &word, &resources)},
        {"mbr_apply_to_grps", p4_pd_ms_mbr_apply_to_grps(nullptr, 3, 5, on_group, nullptr)},
        {"grp_update_res", p4_pd_ms_grp_update_res(3, 7, 5, nullptr)},
        {"log_state", p4_pd_ms_log_state(3, nullptr, object)},
        {"restore_state", p4_pd_ms_restore_state(3, nullptr, object)},
        {"destroy_state_for_dev", p4_pd_ms_destroy_state_for_dev(nullptr, 3)},
    };
    cJSON_Delete(object);
    for (const auto& [name, status] : calls)
        EXPECT_EQ(status, VL_MODEL_INVALID) << name;
}

template <char name>
void register_client(uint32_t priority) {
    bf_drv_client_hdl handle = 0;
    const char text[] = {name, 0};
    ASSERT_EQ(bf_drv_register(text, &handle), VL_MODEL_OK);
    EXPECT_EQ(bf_drv_register(text, &handle), VL_MODEL_EXISTS);
    bf_drv_client_callbacks callbacks{};
    callbacks.device_remove = [](uint32_t dev_id) -> pipe_status {
        told.push_back(std::string(1, name) + " removes " + std::to_string(dev_id));
        return VL_MODEL_OK;
    };
    callbacks.state_log = [](uint32_t, cJSON* object) -> pipe_status {
        cJSON_AddStringToObject(object, "of", std::string(1, name).c_str());
        return VL_MODEL_OK;
    };
    callbacks.state_restore = [](uint32_t, cJSON* object) -> pipe_status {
        told.push_back(std::string(1, name) + " gets " + cJSON_GetObjectItem(object, "of")->valuestring);
        return VL_MODEL_OK;
    };
    ASSERT_EQ(bf_drv_client_register_callbacks(handle, &callbacks, priority), VL_MODEL_OK);
}

using ClientTest = DeviceTest;

TEST_F(ClientTest, CallbacksRunByPriority) {
    const vl_model_pipeline pipeline{.name = "p", .tables = nullptr, .table_count = 0};
    start(pipeline);
    EXPECT_EQ(vl_model_device_add(3, &pipeline), VL_MODEL_EXISTS);
    register_client<'a'>(5);
    register_client<'b'>(2);
    char* text = vl_model_state_log(3);
    ASSERT_STREQ(text, R"({"b":{"of":"b"},"a":{"of":"a"}})");
    EXPECT_EQ(vl_model_state_restore(3, text), VL_MODEL_OK);
    std::free(text);
    EXPECT_EQ(vl_model_state_restore(3, R"({"a":{"of":"x"}})"), VL_MODEL_OK);
    EXPECT_EQ(vl_model_state_restore(3, "{"), VL_MODEL_INVALID);
    EXPECT_EQ(vl_model_device_remove(3), VL_MODEL_OK);
    EXPECT_EQ(vl_model_device_remove(3), VL_MODEL_UNKNOWN_DEVICE);
    EXPECT_EQ(told, (std::vector<std::string>{"b gets b", "a gets a", "a gets x", "b removes 3", "a removes 3"}));
    EXPECT_EQ(vl_model_state_log(3), nullptr);
    EXPECT_EQ(vl_model_device_add(3, &pipeline), VL_MODEL_OK);
}

} // namespace
