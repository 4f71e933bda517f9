// What the embedded driver promises of every callback that it keeps: once a call has ended the registration, the
// callback neither runs nor is called, save where that call was made within a callback. A sweep over all kinds.
#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <latch>
#include <memory>
#include <semaphore>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include <vl_driver/driver.h>
#include <vl_model/control.h>
#include <vl_model/observe.hpp>
#include <vl_model/traffic.h>

namespace {

constexpr uint32_t table = 0x1000001; // keyless, with members, groups and a default entry
constexpr uint32_t ageing_table = 0x1000002;
constexpr uint32_t members = 0x2000001;
constexpr uint32_t groups = 0x3000001;
constexpr uint32_t digest = 0x9000000;
constexpr uint32_t action = 0x20000001;
constexpr pipe_dev_tgt device{.dev_id = 3, .pipe_id = PIPE_ALL_PIPES, .reserved = 0};

constexpr vl_model_action actions[] = {
    {.handle = action, .data_bits = 8, .data_len = 1, .for_entries = 1, .for_default = 1}};

pipe_sess_hdl session = 0;

// What a callback does. All kinds of callbacks come here, those without a cookie too.
struct Cookie {
    std::function<void()> body;
};
Cookie* without_cookie = nullptr;

void run(void* cookie) {
    // A copy: the body may free its cookie.
    const std::function<void()> body = static_cast<Cookie*>(cookie)->body;
    body();
}

pipe_status on_digest(pipe_sess_hdl, pipe_digest_msg* message, void* cookie) {
    run(cookie);
    EXPECT_EQ(message->entries[0], 42); // stays valid while the callback runs
    return VL_MODEL_OK;
}
void on_time_out(pipe_dev_id, pipe_tbl_hdl, pipe_ent_hdl, void* cookie) {
    run(cookie);
}
void on_entry(pipe_sess_hdl, pipe_dev_tgt, pipe_tbl_hdl, pipe_ent_hdl, uint32_t, void* cookie) {
    run(cookie);
}
void on_group(pipe_sess_hdl, pipe_dev_tgt, pipe_tbl_hdl, pipe_grp_hdl, pipe_mbr_hdl, uint32_t, void* cookie) {
    run(cookie);
}
void on_position(pipe_sess_hdl, pipe_dev_tgt, pipe_grp_hdl, pipe_mbr_hdl, uint32_t, uint32_t, void* cookie) {
    run(cookie);
}
void on_line(int, int, const char*, void* cookie) {
    run(cookie);
}
pipe_status on_device(pipe_dev_id) {
    run(without_cookie);
    return VL_MODEL_OK;
}
pipe_status on_state(pipe_dev_id, cJSON*) {
    run(without_cookie);
    return VL_MODEL_OK;
}
void on_row(pipe_sess_hdl, pipe_dev_id, pipe_tbl_hdl, pipe_act_hdl, pipe_grp_hdl, pipe_mbr_hdl, uint32_t) {
    run(without_cookie);
}

bf_drv_client_hdl client = 0;

void add_member(pipe_mbr_hdl* handle) {
    uint8_t data = 0;
    pipe_action_record record{};
    record.action = {8, 1, 0, &data};
    EXPECT_EQ(pipe_mgr_adt_ent_add(session, device, members, action, 0, &record, handle, 0), VL_MODEL_OK);
}

void set_default_entry(pipe_mbr_hdl member) {
    pipe_action_record record{};
    record.kind = PIPE_KIND_MEMBER;
    record.member_hdl = member;
    uint32_t entry = 0;
    EXPECT_EQ(pipe_mgr_mat_default_entry_set(session, device, table, action, &record, 0, &entry), VL_MODEL_OK);
}

pipe_grp_hdl add_group() {
    pipe_grp_hdl group = 0;
    EXPECT_EQ(pipe_mgr_sel_grp_add(session, device, groups, 0, 0, PIPE_SEL_GRP_MARK, &group, 0), VL_MODEL_OK);
    return group;
}

// A kind of callback: how it is registered, what makes the driver call it, and what ends the registration.
struct Kind {
    std::string name;
    std::function<void(Cookie*)> start;
    std::function<void()> provoke;
    std::vector<std::function<void()>> ends;
};

void no_end() {}

std::vector<Kind> kinds() {
    static Cookie other{no_end};
    const auto remove_device = [] { EXPECT_EQ(vl_model_device_remove(3), VL_MODEL_OK); };
    const auto reset = [] { vl_model_reset(); };
    std::vector<Kind> all;
    all.push_back(
        {"digest",
         [](Cookie* cookie) { pipe_mgr_lrn_digest_notification_register(session, 3, digest, on_digest, cookie); },
         [] {
             const uint8_t entry = 42;
             vl_model_digest_raise(3, digest, &entry, 1);
         },
         {[] { pipe_mgr_lrn_digest_notification_deregister(session, 3, digest); }, remove_device, reset}});
    const auto on_time_outs = [](Cookie* cookie) {
        pipe_mgr_idle_register_tmo_cb(session, 3, ageing_table, cookie != nullptr ? on_time_out : nullptr, cookie);
    };
    all.push_back({"time-out",
                   on_time_outs,
                   [] { vl_model_clock_advance(10); },
                   {[=] { on_time_outs(nullptr); }, [=] { on_time_outs(&other); }, remove_device, reset}});
    const auto on_entries = [](Cookie* cookie) {
        pipe_register_mat_update_cb(session, 3, table, cookie != nullptr ? on_entry : nullptr, cookie);
    };
    all.push_back({"entry",
                   on_entries,
                   [] {
                       pipe_mbr_hdl member = 0;
                       add_member(&member);
                       set_default_entry(member);
                   },
                   {[=] { on_entries(nullptr); }, [=] { on_entries(&other); }, remove_device, reset}});
    const auto on_members = [](Cookie* cookie) {
        pipe_register_adt_update_cb(session, device, members, cookie != nullptr ? on_entry : nullptr, cookie);
    };
    all.push_back({"member",
                   on_members,
                   [] {
                       pipe_mbr_hdl member = 0;
                       add_member(&member);
                   },
                   {[=] { on_members(nullptr); }, [=] { on_members(&other); }, remove_device, reset}});
    const auto on_groups = [](Cookie* cookie) {
        pipe_register_sel_update_cb(session, device, groups, cookie != nullptr ? on_group : nullptr, cookie);
    };
    all.push_back({"group",
                   on_groups,
                   [] { add_group(); },
                   {[=] { on_groups(nullptr); }, [=] { on_groups(&other); }, remove_device, reset}});
    const auto on_positions = [](Cookie* cookie) {
        pipe_mgr_sel_tbl_register_cb(0, device, groups, cookie != nullptr ? on_position : nullptr, cookie);
    };
    all.push_back({"position",
                   on_positions,
                   [] { add_group(); },
                   {[=] { on_positions(nullptr); }, [=] { on_positions(&other); }, remove_device, reset}});
    const auto on_lines = [](Cookie* cookie) { vl_model_log_sink_set(cookie != nullptr ? on_line : nullptr, cookie); };
    all.push_back({"log line",
                   on_lines,
                   [] { bf_sys_log_and_trace(BF_SYS_MODULE_NONE, BF_SYS_LEVEL_ERROR, "line"); },
                   {[=] { on_lines(nullptr); }, [=] { on_lines(&other); }, reset}});
    const auto register_client = [](Cookie* cookie) {
        without_cookie = cookie;
        bf_drv_client_callbacks callbacks{};
        callbacks.device_remove = on_device;
        callbacks.state_log = on_state;
        callbacks.state_restore = on_state;
        bf_drv_register("client", &client);
        bf_drv_client_register_callbacks(client, &callbacks, 1);
    };
    const std::vector<std::function<void()>> ends_of_client = {[] { bf_drv_deregister(client); },
                                                               [] {
                                                                   const bf_drv_client_callbacks none{};
                                                                   bf_drv_client_register_callbacks(client, &none, 1);
                                                               },
                                                               reset};
    all.push_back({"removed device", register_client, [] { vl_model_device_state_drop(3); }, ends_of_client});
    all.push_back({"state log", register_client, [] { std::free(vl_model_state_log(3)); }, ends_of_client});
    all.push_back(
        {"state restore", register_client, [] { vl_model_state_restore(3, R"({"client":{}})"); }, ends_of_client});
    const auto restore = [] {
        pipe_mgr_hitless_ha_restore_virtual_dev_state(
            3, session, 0, 0, 0, [](uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {});
    };
    all.push_back({"replayed row",
                   [](Cookie* cookie) {
                       static Cookie idle{no_end};
                       without_cookie = &idle;
                       pipe_mgr_hitless_ha_restore_virtual_dev_state(3, session, 0, 0, 0, on_row);
                       without_cookie = cookie;
                   },
                   [] {
                       const vl_model_row row{};
                       vl_model_replay_row(&row);
                   },
                   {restore, reset}});
    all.push_back({"row of a replay",
                   [](Cookie* cookie) {
                       for (pipe_mbr_hdl member = 0; member < 2;) { // of two rows
                           add_member(&member);
                       }
                       without_cookie = cookie;
                   },
                   [] { pipe_mgr_hitless_ha_restore_virtual_dev_state(3, session, 0, 0, 0, on_row); },
                   {restore, reset}});
    all.push_back({"answer hook",
                   [](Cookie* cookie) {
                       vl_model::set_member_answer_hook([cookie](pipe_action_data&, uint32_t&) { run(cookie); });
                   },
                   [] {
                       pipe_mbr_hdl member = 0;
                       add_member(&member);
                       pipe_action_data data{};
                       uint32_t act = 0;
                       pipe_mgr_get_action_data_entry(members, device, member, &data, &act, 0);
                   },
                   {[] { vl_model::set_member_answer_hook({}); }, reset}});
    return all;
}

// A device with one entry that runs out of time after 10 milliseconds.
void set_up() {
    vl_model_reset();
    ASSERT_EQ(vl_model_session_open(&session), VL_MODEL_OK);
    vl_model_table tables[2] = {};
    tables[0].handle = table;
    tables[0].actions = actions;
    tables[0].action_count = 1;
    tables[0].data_table = members;
    tables[0].selector = groups;
    tables[1].handle = ageing_table;
    tables[1].match = VL_MODEL_EXACT;
    tables[1].key_bits = 8;
    tables[1].key_len = 1;
    tables[1].actions = actions;
    tables[1].action_count = 1;
    tables[1].idle_time = 1;
    constexpr vl_model_digest digests[] = {{digest, 1}};
    vl_model_pipeline pipeline{.name = "p", .tables = tables, .table_count = 2};
    pipeline.digests = digests;
    pipeline.digest_count = 1;
    ASSERT_EQ(vl_model_device_add(3, &pipeline), VL_MODEL_OK);

    pipe_idle_params params{};
    params.mode = PIPE_IDLE_MODE_NOTIFY;
    ASSERT_EQ(pipe_mgr_idle_set_params(session, 3, ageing_table, params), VL_MODEL_OK);
    ASSERT_EQ(pipe_mgr_idle_tmo_set_enable(session, 3, ageing_table, 1), VL_MODEL_OK);
    uint8_t bytes[] = {1, 0xFF, 0};
    const pipe_match_record match = {&bytes[0], &bytes[1], 0, 0, 8, 1, 0};
    pipe_action_record record{};
    record.kind = PIPE_KIND_ACTION_DATA;
    record.action = {8, 1, 0, &bytes[2]};
    uint32_t entry = 0;
    ASSERT_EQ(pipe_mgr_mat_ent_add(session, device, ageing_table, &match, action, &record, 10, 0, &entry), VL_MODEL_OK);
}

// Threads that wait for each other can't be told so; a signal ends the program.
void stop_if_it_hangs() {
    alarm(60);
}

TEST(CallbacksTest, WhoeverEndsARegistrationWaitsForItsCallback) {
    for (const Kind& kind : kinds()) {
        for (size_t i = 0; i < kind.ends.size(); ++i) {
            SCOPED_TRACE(kind.name + ", end " + std::to_string(i));
            stop_if_it_hangs();
            set_up();
            std::binary_semaphore entered{0}, go_on{0};
            bool has_left = false;
            auto cookie = std::make_unique<Cookie>();
            cookie->body = [&] {
                entered.release();
                go_on.acquire();
                has_left = true;
            };
            kind.start(cookie.get());
            std::thread caller(kind.provoke);
            entered.acquire();
            std::future<bool> ended = std::async(std::launch::async, [&] {
                kind.ends[i]();
                cookie.reset();
                return has_left;
            });
            EXPECT_EQ(ended.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
            go_on.release();
            EXPECT_TRUE(ended.get());
            caller.join();
        }
    }
}

TEST(CallbacksTest, ACallbackMayEndItsOwnRegistration) {
    for (const Kind& kind : kinds()) {
        for (size_t i = 0; i < kind.ends.size(); ++i) {
            SCOPED_TRACE(kind.name + ", end " + std::to_string(i));
            stop_if_it_hangs();
            set_up();
            int calls = 0;
            auto cookie = std::make_unique<Cookie>();
            cookie->body = [&] {
                ++calls;
                if (kind.name == "digest" && i != 0) return; // its message would go with the device
                kind.ends[i]();
                cookie.reset();
            };
            kind.start(cookie.get());
            kind.provoke();
            EXPECT_EQ(calls, 1);
        }
    }
}

TEST(CallbacksTest, AnEndedRegistrationHearsNothingMoreOfAChange) {
    set_up();
    pipe_mbr_hdl first = 0, second = 0;
    add_member(&first);
    add_member(&second);
    const pipe_grp_hdl group = add_group();
    ASSERT_EQ(pipe_mgr_sel_grp_mbr_add(session, 3, groups, group, action, first, 0), VL_MODEL_OK);
    ASSERT_EQ(pipe_mgr_sel_grp_mbr_add(session, 3, groups, group, action, second, 0), VL_MODEL_OK);
    int positions = 0, updates = 0;
    Cookie on_update{[&] { ++updates; }};
    Cookie on_first_position{[&] {
        ++positions;
        pipe_mgr_sel_tbl_register_cb(0, device, groups, nullptr, nullptr);
        pipe_register_sel_update_cb(session, device, groups, nullptr, nullptr);
    }};
    pipe_mgr_sel_tbl_register_cb(0, device, groups, on_position, &on_first_position);
    pipe_register_sel_update_cb(session, device, groups, on_group, &on_update);
    ASSERT_EQ(pipe_mgr_sel_grp_del(session, 3, groups, group, 0), VL_MODEL_OK); // two positions and an update
    EXPECT_EQ(positions, 1);
    EXPECT_EQ(updates, 0);
}

// Two callbacks on two threads, each of which ends the other's registration and stays until the other has done so too.
TEST(CallbacksTest, CallbacksNeverWaitForEachOther) {
    const std::vector<Kind> all = kinds();
    for (size_t i = 1; i < all.size(); ++i) {
        SCOPED_TRACE(all[i].name);
        stop_if_it_hangs();
        set_up();
        std::latch inside{2}, done{2};
        const auto ending = [&](const Kind& other) {
            return Cookie{[&] {
                inside.arrive_and_wait();
                other.ends[0]();
                done.arrive_and_wait();
            }};
        };
        Cookie first = ending(all[i]);
        Cookie second = ending(all[0]);
        all[0].start(&first);
        all[i].start(&second);
        std::thread caller(all[0].provoke);
        all[i].provoke();
        caller.join();
    }
}

} // namespace
