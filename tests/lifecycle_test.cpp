// Start, end, and the three device callbacks: which calls the driver and its member shadow get, in which order, and
// that a device's state survives as JSON.
#include <cstdlib>
#include <cstring>
#include <memory>

#include <cjson/cJSON.h>

#include "support/library.h"
#include "vl_driver/member_shadow.h"
#include "vl_driver/system.h"

namespace {

using support::device;
using vl_model::Call;
using Names = std::vector<std::string>;

constexpr size_t profile_count = catalog::program.profiles.size();

Names names(const std::vector<Call>& calls) {
    Names names;
    for (const Call& call : calls)
        names.push_back(call.function);
    return names;
}

TEST(Start, RegistersAfterTheStatesExist) {
    vl_model_reset();
    vl_model::record_calls(true);
    p4_pd_velmar_switch_init();
    const std::vector<Call> calls = vl_model::take_calls();
    Names expected(profile_count, "p4_pd_ms_init_state");
    expected.insert(expected.begin(), "p4_pd_ms_init");
    expected.insert(expected.end(), {"bf_drv_register", "bf_drv_client_register_callbacks"});
    ASSERT_EQ(names(calls), expected);
    EXPECT_EQ(calls.end()[-2].args[1], support::word(&bf_drv_hdl));
    EXPECT_EQ(calls.back().args[0], bf_drv_hdl);
    EXPECT_EQ(calls.back().args[2], 2u) << "priority";

    p4_pd_velmar_switch_device_state_cleanup();
    EXPECT_TRUE(vl_model::take_calls().empty());
    EXPECT_EQ(p4_pd_velmar_switch_cleanup(), 0u);
    EXPECT_EQ(vl_model::take_calls().front().args[0], bf_drv_hdl);
    EXPECT_EQ(p4_pd_velmar_switch_cleanup(), VL_MODEL_UNKNOWN_CLIENT)
        << "the same handle again, and the driver's answer";
    vl_model::record_calls(false);
}

TEST(Start, NamesThreeCallbacksAndIgnoresTheAnswer) {
    vl_model_reset();
    bf_drv_client_callbacks seen;
    std::memset(&seen, 0xFF, sizeof seen);
    vl_model::answer_calls("bf_drv_client_register_callbacks", [&](const vl_model::AnsweredCall& call) {
        seen = *call.pointer<bf_drv_client_callbacks>(1);
        return 9;
    });
    p4_pd_velmar_switch_init();
    EXPECT_TRUE(seen.device_remove && seen.state_log && seen.state_restore);
    seen.device_remove = nullptr;
    seen.state_log = seen.state_restore = nullptr;
    constexpr bf_drv_client_callbacks none{};
    EXPECT_EQ(std::memcmp(&seen, &none, sizeof seen), 0);
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

// A device's state in the shadows, reached through the driver's side of the callbacks.
class DeviceState : public support::LibraryTest {
protected:
    using Json = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;
    using Shadows = std::vector<p4_pd_ms_state*>;

    // Removes the device and adds it again. Returns the shadows in the order in which the library removes them.
    Shadows drop_state() {
        calls();
        EXPECT_EQ(vl_model_device_remove(device), 0u);
        Shadows found;
        for (const Call& call : calls_of("p4_pd_ms_destroy_state_for_dev"))
            found.push_back(reinterpret_cast<p4_pd_ms_state*>(call.args[0]));
        EXPECT_EQ(found.size(), profile_count);
        constexpr vl_model_pipeline empty = {.name = "empty", .tables = nullptr, .table_count = 0};
        EXPECT_EQ(vl_model_device_add(device, &empty), 0u);
        return found;
    }

    // Gives each profile one member in one group.
    void fill(const Shadows& shadows) {
        for (uint32_t i = 0; i < shadows.size(); ++i) {
            p4_pd_ms_new_mbr(session, shadows[i], device, 10 + i);
            p4_pd_ms_set_mbr_act(shadows[i], device, 10 + i, 0x1000 + i);
            p4_pd_ms_new_grp(session, shadows[i], device, 20 + i);
            p4_pd_ms_add_mbr_to_grp(session, shadows[i], device, 10 + i, 20 + i);
            p4_pd_ms_set_grp_act(shadows[i], device, 20 + i, 0x2000 + i);
        }
    }
    // How many shadows have their member and their group.
    static size_t filled(const Shadows& shadows) {
        size_t count = 0;
        for (uint32_t i = 0; i < shadows.size(); ++i) {
            uint32_t member_action = 0, group_action = 0;
            p4_pd_ms_get_mbr_act(shadows[i], device, 10 + i, &member_action);
            p4_pd_ms_get_grp_act(shadows[i], device, 20 + i, &group_action);
            count += member_action == 0x1000 + i && group_action == 0x2000 + i;
        }
        return count;
    }

    static Json parse(const char* text) {
        return Json(cJSON_Parse(text), &cJSON_Delete);
    }
    static Json log() {
        char* const text = vl_model_state_log(device);
        Json json = parse(text);
        std::free(text);
        return json;
    }
    // The library's own object in a log, which has one for each client of the driver.
    static cJSON* own(const Json& json) {
        return cJSON_GetObjectItem(json.get(), "p4_pd_velmar_switch_pd");
    }
    static const char* name_of(const cJSON* object) {
        return cJSON_GetObjectItem(object, "name")->valuestring;
    }
    // Returns how many shadows the library restored.
    size_t restore(const Json& json) {
        char* const text = cJSON_PrintUnformatted(json.get());
        calls();
        EXPECT_EQ(vl_model_state_restore(device, text), 0u);
        cJSON_free(text);
        return calls_of("p4_pd_ms_restore_state").size();
    }
};

TEST_F(DeviceState, RemovalDropsAllShadowsAndThenTheTransactions) {
    calls();
    log();
    const std::vector<Call> logged = calls();
    EXPECT_EQ(names(logged), Names(profile_count, "p4_pd_ms_log_state"));
    vl_model_device_remove(device);
    const std::vector<Call> made = calls();
    Names expected(profile_count, "p4_pd_ms_destroy_state_for_dev");
    expected.emplace_back("p4_pd_ms_destroy_txn_state_for_dev");
    ASSERT_EQ(names(made), expected);
    for (size_t i = 0; i < made.size(); ++i) {
        EXPECT_EQ(made[i].args.back(), device);
        EXPECT_TRUE(i == profile_count || made[i].args[0] == logged[i].args[1]) << "in the order of the log";
    }
}

TEST_F(DeviceState, ALogRestoresAllProfiles) {
    const Shadows shadows = drop_state();
    fill(shadows);
    const Json json = log();
    ASSERT_NE(own(json), nullptr);
    EXPECT_STREQ(name_of(own(json)), "velmar_switch");
    const cJSON* const logs = cJSON_GetObjectItem(own(json), "act_profs");
    ASSERT_EQ(cJSON_GetArraySize(logs), static_cast<int>(profile_count));
    for (size_t i = 0; i < profile_count; ++i)
        EXPECT_STREQ(name_of(cJSON_GetArrayItem(logs, static_cast<int>(i))), catalog::program.profiles[i].name);

    EXPECT_EQ(drop_state(), shadows) << "removal keeps the shadows themselves";
    EXPECT_EQ(filled(shadows), 0u);
    EXPECT_EQ(restore(json), profile_count);
    EXPECT_EQ(filled(shadows), profile_count);
}

TEST_F(DeviceState, RestoreGoesByNamesAndSkipsUnknownOnes) {
    const Shadows shadows = drop_state();
    fill(shadows);
    const Json json = log();
    const Json logs(cJSON_DetachItemFromObject(own(json), "act_profs"), &cJSON_Delete);
    cJSON* const turned = cJSON_AddArrayToObject(own(json), "act_profs");
    cJSON_AddStringToObject(cJSON_AddObjectToObject(turned, "ignored"), "name", "notAProfile");
    cJSON_AddItemToArray(turned, cJSON_CreateObject());
    cJSON_AddItemToArray(turned, cJSON_Duplicate(cJSON_GetArrayItem(logs.get(), 0), 1));
    for (int i = cJSON_GetArraySize(logs.get()); i-- > 0;)
        cJSON_AddItemToArray(turned, cJSON_DetachItemFromArray(logs.get(), i));
    drop_state();
    EXPECT_EQ(restore(json), profile_count + 1) << "a profile that is there twice is restored twice";
    EXPECT_EQ(filled(shadows), profile_count);
}

TEST_F(DeviceState, ALogWithoutProfilesRestoresNothing) {
    for (const char* const object :
         {R"({"name": "other", "act_profs": []})", "{}", R"({"act_profs": [{"name": 5}, {"name": null}, {}, 5]})"}) {
        EXPECT_EQ(restore(parse((std::string(R"({"p4_pd_velmar_switch_pd": )") + object + "}").c_str())), 0u);
    }
}

TEST(ActionNames, NumbersAndNamesAreInverse) {
    const uint32_t count = p4_pd_velmar_switch_action_count;
    ASSERT_EQ(count, catalog::program.actions.size());
    for (uint32_t number = 0; number < count; ++number) {
        const char* const name = p4_pd_velmar_switch_action_enum_to_string(number);
        EXPECT_EQ(name, support::exported(catalog::program.actions[number].name));
        EXPECT_EQ(name, p4_pd_velmar_switch_action_name_strings[number]);
        EXPECT_EQ(p4_pd_velmar_switch_action_string_to_enum(name), number);
        EXPECT_LE(std::strlen(name), 60u);
    }
    for (const uint32_t number : {count, 0xFFFFFFFF})
        EXPECT_EQ(p4_pd_velmar_switch_action_enum_to_string(number), nullptr);
    for (const char* const unknown :
         {"NoAction", "", "p4_pd_velmar_switch_noaction", static_cast<const char*>(nullptr)})
        EXPECT_EQ(p4_pd_velmar_switch_action_string_to_enum(unknown), count);
}

} // namespace
