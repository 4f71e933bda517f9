// Start, end, and the three device callbacks: what the driver and the member-selector component are asked for, in which
// order, and that a device's state survives as JSON.
#include "support/library.h"

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include <cjson/cJSON.h>

#include "vl_driver/member_shadow.h"
#include "vl_driver/system.h"

namespace {

using support::device;
using vl_model::Call;

std::vector<std::string> names(const std::vector<Call>& calls) {
    std::vector<std::string> names;
    names.reserve(calls.size());
    for (const Call& call : calls)
        names.push_back(call.function);
    return names;
}

TEST(Start, RegistersAfterTheStatesExist) {
    vl_model_reset();
    vl_model::record_calls(true);
    p4_pd_velmar_switch_init();
    const std::vector<Call> calls = vl_model::take_calls();
    EXPECT_EQ(names(calls),
              (std::vector<std::string>{"p4_pd_ms_init", "p4_pd_ms_init_state", "p4_pd_ms_init_state",
                                        "p4_pd_ms_init_state", "p4_pd_ms_init_state", "p4_pd_ms_init_state",
                                        "bf_drv_register", "bf_drv_client_register_callbacks"}));
    ASSERT_EQ(calls.size(), 8u);
    EXPECT_EQ(calls[6].args[1], support::word(&bf_drv_hdl));
    EXPECT_EQ(calls[7].args[0], bf_drv_hdl);
    EXPECT_EQ(calls[7].args[2], 2u) << "priority";

    p4_pd_velmar_switch_device_state_cleanup();
    EXPECT_TRUE(vl_model::take_calls().empty());
    EXPECT_EQ(p4_pd_velmar_switch_cleanup(), 0u);
    EXPECT_EQ(vl_model::take_calls().front().args[0], bf_drv_hdl);
    EXPECT_EQ(p4_pd_velmar_switch_cleanup(), VL_MODEL_UNKNOWN_CLIENT)
        << "the same handle again, and the driver's answer";
    vl_model::record_calls(false);
}

// The record of callbacks, seen on its way to the driver.
bf_drv_client_callbacks registered_callbacks;

TEST(Start, NamesThreeCallbacksAndNoOther) {
    vl_model_reset();
    std::memset(&registered_callbacks, 0xFF, sizeof registered_callbacks);
    p4_pd_velmar_switch_init();
    for (const auto& slot : registered_callbacks.reserved_0_2)
        EXPECT_EQ(slot, nullptr);
    for (const auto& slot : registered_callbacks.reserved_6_30)
        EXPECT_EQ(slot, nullptr);
    EXPECT_TRUE(registered_callbacks.device_remove && registered_callbacks.state_log &&
                registered_callbacks.state_restore);
}

TEST(Start, DoesNotLookAtTheAnswerToTheCallbacks) {
    vl_model_reset();
    vl_model::fail_call("bf_drv_client_register_callbacks", 1, 9);
    p4_pd_velmar_switch_init();
    EXPECT_EQ(p4_pd_velmar_switch_cleanup(), 0u);
}

TEST(StartDeathTest, ARefusedRegistrationStopsTheProcess) {
    EXPECT_EXIT(
        {
            vl_model_reset();
            vl_model::fail_call("bf_drv_register", 1, 5);
            p4_pd_velmar_switch_init();
        },
        testing::KilledBySignal(SIGABRT), "r == BF_SUCCESS");
}

// A device's state in the shadows, driven through the driver's side of the callbacks.
class DeviceState : public support::LibraryTest {
protected:
    using Json = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

    static constexpr const char* profiles[] = {"mirrorLagPortActionProfile", "ecmpMemberActionProfile",
                                               "egrMirrorLagPortActionProfile", "tunnelMemberActionProfile",
                                               "lagPortActionProfile"};

    // The five states in the order in which the library names them, as the component sees them in a removal.
    std::vector<p4_pd_ms_state*> states() {
        calls();
        vl_model_device_remove(device);
        std::vector<p4_pd_ms_state*> found;
        for (const Call& call : calls_of("p4_pd_ms_destroy_state_for_dev"))
            found.push_back(reinterpret_cast<p4_pd_ms_state*>(call.args[0]));
        EXPECT_EQ(vl_model_device_add(device, empty_pipeline()), 0u);
        calls();
        return found;
    }

    static const vl_model_pipeline* empty_pipeline() {
        static const vl_model_pipeline empty = {.name = "empty", .tables = nullptr, .table_count = 0};
        return &empty;
    }

    // Gives each profile a member of its own and puts it into a group.
    void fill(const std::vector<p4_pd_ms_state*>& shadows) {
        for (uint32_t i = 0; i < shadows.size(); ++i) {
            p4_pd_ms_new_mbr(session, shadows[i], device, 10 + i);
            p4_pd_ms_set_mbr_act(shadows[i], device, 10 + i, 0x1000 + i);
            p4_pd_ms_new_grp(session, shadows[i], device, 20 + i);
            p4_pd_ms_add_mbr_to_grp(session, shadows[i], device, 10 + i, 20 + i);
            p4_pd_ms_set_grp_act(shadows[i], device, 20 + i, 0x2000 + i);
        }
    }

    bool holds(const std::vector<p4_pd_ms_state*>& shadows, size_t i) {
        uint32_t member_action = 0, group_action = 0;
        const uint32_t n = static_cast<uint32_t>(i);
        return p4_pd_ms_get_mbr_act(shadows[i], device, 10 + n, &member_action) == 0 && member_action == 0x1000 + n &&
               p4_pd_ms_get_grp_act(shadows[i], device, 20 + n, &group_action) == 0 && group_action == 0x2000 + n;
    }

    Json log() {
        char* const text = vl_model_state_log(device);
        Json json(cJSON_Parse(text), &cJSON_Delete);
        std::free(text);
        return json;
    }

    // The library's own object in a log, which has one per client.
    static cJSON* own(const Json& json) {
        return cJSON_GetObjectItem(json.get(), "p4_pd_velmar_switch_pd");
    }

    void restore(const Json& json) {
        char* const text = cJSON_PrintUnformatted(json.get());
        EXPECT_EQ(vl_model_state_restore(device, text), 0u);
        cJSON_free(text);
    }
};

TEST_F(DeviceState, RemovalDropsTheFiveStatesAndThenTheTransactions) {
    calls();
    vl_model_device_remove(device);
    const std::vector<Call> made = calls();
    std::vector<std::string> expected(5, "p4_pd_ms_destroy_state_for_dev");
    expected.emplace_back("p4_pd_ms_destroy_txn_state_for_dev");
    EXPECT_EQ(names(made), expected);
    for (const Call& call : made)
        EXPECT_EQ(call.args.back(), device);
    EXPECT_EQ(vl_model_device_add(device, empty_pipeline()), 0u);
    log();
    const std::vector<Call> logged = calls_of("p4_pd_ms_log_state");
    ASSERT_EQ(logged.size(), 5u);
    for (size_t i = 0; i < 5; ++i)
        EXPECT_EQ(made[i].args[0], logged[i].args[1]) << "in the order of the log";
}

TEST_F(DeviceState, ALogRestoresAllFiveProfiles) {
    const std::vector<p4_pd_ms_state*> shadows = states();
    ASSERT_EQ(shadows.size(), 5u);
    fill(shadows);
    const Json json = log();
    ASSERT_NE(own(json), nullptr);
    EXPECT_STREQ(cJSON_GetObjectItem(own(json), "name")->valuestring, "velmar_switch");
    const cJSON* const act_profs = cJSON_GetObjectItem(own(json), "act_profs");
    ASSERT_EQ(cJSON_GetArraySize(act_profs), 5);
    for (int i = 0; i < 5; ++i)
        EXPECT_STREQ(cJSON_GetObjectItem(cJSON_GetArrayItem(act_profs, i), "name")->valuestring, profiles[i]);

    ASSERT_EQ(states(), shadows) << "removal leaves the states in place";
    for (size_t i = 0; i < 5; ++i)
        EXPECT_FALSE(holds(shadows, i));
    restore(json);
    for (size_t i = 0; i < 5; ++i)
        EXPECT_TRUE(holds(shadows, i)) << profiles[i];
}

TEST_F(DeviceState, TheOrderOfTheProfilesDoesNotMatterAndStrangersAreSkipped) {
    const std::vector<p4_pd_ms_state*> shadows = states();
    fill(shadows);
    const Json json = log();
    cJSON* const act_profs = cJSON_DetachItemFromObject(own(json), "act_profs");
    cJSON* const turned = cJSON_AddArrayToObject(own(json), "act_profs");
    cJSON_AddStringToObject(cJSON_AddObjectToObject(turned, "ignored"), "name", "notAProfile");
    cJSON* const nameless = cJSON_CreateObject();
    cJSON_AddItemToArray(turned, nameless);
    for (int i = 4; i >= 0; --i)
        cJSON_AddItemToArray(turned, cJSON_DetachItemFromArray(act_profs, i));
    cJSON_AddItemToArray(turned, cJSON_Duplicate(cJSON_GetArrayItem(turned, 3), 1));
    cJSON_Delete(act_profs);
    states();
    restore(json);
    for (size_t i = 0; i < 5; ++i)
        EXPECT_TRUE(holds(shadows, i)) << profiles[i];
    EXPECT_EQ(calls_of("p4_pd_ms_restore_state").size(), 6u) << "a profile that stands twice is restored twice";
}

TEST_F(DeviceState, ALogWithoutProfilesRestoresNothing) {
    const Json json(cJSON_Parse("{\"p4_pd_velmar_switch_pd\":{\"name\":\"other\",\"act_profs\":[]}}"), &cJSON_Delete);
    restore(json);
    const Json empty(cJSON_Parse("{\"p4_pd_velmar_switch_pd\":{}}"), &cJSON_Delete);
    restore(empty);
    EXPECT_TRUE(calls_of("p4_pd_ms_restore_state").empty());
}

TEST_F(DeviceState, WhatTheComponentAnswersIsNotLookedAt) {
    vl_model::fail_call("p4_pd_ms_log_state", 1, 9);
    const Json json = log();
    EXPECT_EQ(cJSON_GetArraySize(cJSON_GetObjectItem(own(json), "act_profs")), 5);
    vl_model::fail_call("p4_pd_ms_restore_state", 1, 9);
    calls();
    restore(json);
    EXPECT_EQ(calls_of("p4_pd_ms_restore_state").size(), 5u);
    vl_model::fail_call("p4_pd_ms_destroy_state_for_dev", 1, 9);
    EXPECT_EQ(vl_model_device_remove(device), 0u);
    EXPECT_EQ(calls().size(), 6u);
}

TEST(ActionNames, NumbersAndNamesAreInverse) {
    const uint32_t count = p4_pd_velmar_switch_action_count;
    EXPECT_EQ(count, 265u);
    for (uint32_t number = 0; number < count; ++number) {
        const char* const name = p4_pd_velmar_switch_action_enum_to_string(number);
        EXPECT_EQ(name, p4_pd_velmar_switch_action_name_strings[number]);
        EXPECT_EQ(p4_pd_velmar_switch_action_string_to_enum(name), number);
        EXPECT_LE(std::strlen(name), 60u);
    }
    EXPECT_STREQ(p4_pd_velmar_switch_action_enum_to_string(0), "p4_pd_velmar_switch_setPhase0");
    EXPECT_STREQ(p4_pd_velmar_switch_action_enum_to_string(264), "p4_pd_velmar_switch_needVlanEncap");
    EXPECT_EQ(p4_pd_velmar_switch_action_enum_to_string(265), nullptr);
    EXPECT_EQ(p4_pd_velmar_switch_action_enum_to_string(0xFFFFFFFF), nullptr);
    for (const char* const stranger : {"NoAction", "", "p4_pd_velmar_switch_noaction"})
        EXPECT_EQ(p4_pd_velmar_switch_action_string_to_enum(stranger), 265u);
    EXPECT_EQ(p4_pd_velmar_switch_action_string_to_enum(nullptr), 265u);
}

} // namespace

// Stands before the driver's own: driver functions are interposable.
extern "C" pipe_status bf_drv_client_register_callbacks(bf_drv_client_hdl hdl, const bf_drv_client_callbacks* callbacks,
                                                        uint32_t priority) {
    registered_callbacks = *callbacks;
    using Function = decltype(&bf_drv_client_register_callbacks);
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, "bf_drv_client_register_callbacks"))(hdl, callbacks, priority);
}
