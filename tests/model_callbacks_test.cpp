// What the embedded driver promises for every kind of callback: when a call that ends the registration returns, the
// callback isn't running and won't run again. A call from within a callback needn't wait for callbacks.
#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <latch>
#include <memory>
#include <semaphore>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <unistd.h>

#include <vl_model/traffic.h>

#include "support/model.h"

namespace {

constexpr uint32_t table = 0x1000001; // keyless, with members, groups and a default entry
constexpr uint32_t ageing_table = 0x1000002;
constexpr uint32_t members = 0x2000001;
constexpr uint32_t groups = 0x3000001;
constexpr uint32_t digest = 0x9000000;
constexpr uint32_t action = 0x20000001;

constexpr vl_model_action actions[] = {
    {.handle = action, .data_bits = 8, .data_len = 1, .for_entries = 1, .for_default = 1}};

using Step = std::function<void()>;

// A cookie is what its callback does. Callbacks that take no cookie use `without_cookie`.
using Cookie = Step;
Cookie* without_cookie = nullptr;

void run(void* cookie) {
    const Cookie body = *static_cast<Cookie*>(cookie); // a copy: the body may free its cookie
    body();
}

pipe_status on_digest(pipe_sess_hdl, pipe_digest_msg* message, void* cookie) {
    run(cookie);
    EXPECT_EQ(message->entries[0], 42); // stays valid while the callback runs
    return VL_MODEL_OK;
}
// A callback that ends with its cookie and returns nothing.
template <class... Args>
void on_call(Args... args) {
    run(std::get<sizeof...(Args) - 1>(std::tuple(args...)));
}
template <class... Args>
using Callback = void (*)(Args...);
// The callback to register with the cookie: null with a null cookie.
struct CallbackFor {
    Cookie* cookie;
    template <class... Args>
    operator Callback<Args...>() const {
        return cookie != nullptr ? on_call<Args...> : nullptr;
    }
};
template <class... Args>
pipe_status on_client(Args...) {
    run(without_cookie);
    return VL_MODEL_OK;
}
void on_row(pipe_sess_hdl, pipe_dev_id, pipe_tbl_hdl, pipe_act_hdl, pipe_grp_hdl, pipe_mbr_hdl, uint32_t) {
    run(without_cookie);
}

bf_drv_client_hdl client = 0;

// A kind of callback: how it is registered, what makes the driver call it, and what ends the registration.
struct Kind {
    std::string name;
    std::function<void(Cookie*)> start;
    Step provoke;
    std::vector<Step> ends;
};

class CallbacksTest : public support::DeviceTest {
protected:
    // Starts anew with a device that has one entry, which times out after 10 milliseconds.
    void restart() {
        alarm(60); // ends the program if threads wait for each other
        vl_model_table tables[] = {support::model_table(table, VL_MODEL_KEYLESS, 0, actions),
                                   support::model_table(ageing_table, VL_MODEL_EXACT, 8, actions)};
        tables[0].data_table = members;
        tables[0].selector = groups;
        tables[1].idle_time = 1;
        constexpr vl_model_digest digests[] = {{digest, 1}};
        start({.name = "p", .tables = tables, .table_count = 2, .digests = digests, .digest_count = 1});

        pipe_idle_params params{};
        params.mode = PIPE_IDLE_MODE_NOTIFY;
        ASSERT_EQ(pipe_mgr_idle_set_params(session, 3, ageing_table, params), VL_MODEL_OK);
        ASSERT_EQ(pipe_mgr_idle_tmo_set_enable(session, 3, ageing_table, 1), VL_MODEL_OK);
        uint8_t data = 0;
        uint32_t entry = 0;
        const pipe_action_record record{PIPE_KIND_ACTION_DATA, 0, {}, {8, 1, 0, &data}, 0, 0, {}};
        ASSERT_EQ(add_exact(ageing_table, {1}, action, record, &entry, 10), VL_MODEL_OK);
    }
    pipe_mbr_hdl add_member() const {
        uint8_t data = 0;
        pipe_mbr_hdl member = 0;
        const pipe_action_record record{0, 0, {}, {8, 1, 0, &data}, 0, 0, {}};
        EXPECT_EQ(pipe_mgr_adt_ent_add(session, device, members, action, 0, &record, &member, 0), VL_MODEL_OK);
        return member;
    }
    void set_default_entry() const {
        const pipe_action_record record{PIPE_KIND_MEMBER, 0, {}, {}, add_member(), 0, {}};
        uint32_t entry = 0;
        EXPECT_EQ(pipe_mgr_mat_default_entry_set(session, device, table, action, &record, 0, &entry), VL_MODEL_OK);
    }
    pipe_grp_hdl add_group() const {
        pipe_grp_hdl group = 0;
        EXPECT_EQ(pipe_mgr_sel_grp_add(session, device, groups, 0, 0, PIPE_SEL_GRP_MARK, &group, 0), VL_MODEL_OK);
        return group;
    }
    std::vector<Kind> kinds();
    template <class Body>
    void for_each_end(Body body);
};

std::vector<Kind> CallbacksTest::kinds() {
    static Cookie other = [] {};
    const Step remove_device = [] { EXPECT_EQ(vl_model_device_remove(3), VL_MODEL_OK); };
    const Step add_row = [this] { add_member(); };
    std::vector<Kind> all;
    all.push_back(
        {"digest",
         [this](Cookie* cookie) { pipe_mgr_lrn_digest_notification_register(session, 3, digest, on_digest, cookie); },
         [] {
             const uint8_t entry = 42;
             vl_model_digest_raise(3, digest, &entry, 1);
         },
         {[this] { pipe_mgr_lrn_digest_notification_deregister(session, 3, digest); }, remove_device}});

    // Kinds that end when another callback, or null, is registered.
    const std::tuple<const char*, std::function<void(Cookie*)>, Step> replaceable[] = {
        {"time-out", [this](Cookie* c) { pipe_mgr_idle_register_tmo_cb(session, 3, ageing_table, CallbackFor{c}, c); },
         [] { vl_model_clock_advance(10); }},
        {"entry", [this](Cookie* c) { pipe_register_mat_update_cb(session, 3, table, CallbackFor{c}, c); },
         [this] { set_default_entry(); }},
        {"member", [this](Cookie* c) { pipe_register_adt_update_cb(session, device, members, CallbackFor{c}, c); },
         add_row},
        {"group", [this](Cookie* c) { pipe_register_sel_update_cb(session, device, groups, CallbackFor{c}, c); },
         [this] { add_group(); }},
        {"position", [this](Cookie* c) { pipe_mgr_sel_tbl_register_cb(0, device, groups, CallbackFor{c}, c); },
         [this] { add_group(); }},
        {"log line", [](Cookie* c) { vl_model_log_sink_set(CallbackFor{c}, c); },
         [] { bf_sys_log_and_trace(BF_SYS_MODULE_NONE, BF_SYS_LEVEL_ERROR, "line"); }}};
    for (const auto& [name, start, provoke] : replaceable) {
        all.push_back(
            {name, start, provoke, {[begin = start] { begin(nullptr); }, [begin = start] { begin(&other); }}});
        if (all.back().name != "log line") all.back().ends.push_back(remove_device);
    }

    const auto register_client = [](Cookie* cookie) {
        without_cookie = cookie;
        bf_drv_client_callbacks callbacks{};
        callbacks.device_remove = on_client;
        callbacks.state_log = callbacks.state_restore = on_client;
        bf_drv_register("client", &client);
        bf_drv_client_register_callbacks(client, &callbacks, 1);
    };
    const Step register_none = [] {
        const bf_drv_client_callbacks none{};
        bf_drv_client_register_callbacks(client, &none, 1);
    };
    const std::pair<const char*, Step> of_clients[] = {
        {"removed device", [] { vl_model_device_state_drop(3); }},
        {"state log", [] { std::free(vl_model_state_log(3)); }},
        {"state restore", [] { vl_model_state_restore(3, R"({"client":{}})"); }}};
    for (const auto& [name, provoke] : of_clients)
        all.push_back({name, register_client, provoke, {[] { bf_drv_deregister(client); }, register_none}});

    const auto restore = [this](pipe_adt_sel_restore_cb callback) {
        pipe_mgr_hitless_ha_restore_virtual_dev_state(3, session, 0, 0, 0, callback);
    };
    const Step restore_again = [restore] {
        restore([](uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {});
    };
    all.push_back({"replayed row",
                   [restore](Cookie* cookie) {
                       without_cookie = &other;
                       restore(on_row);
                       without_cookie = cookie;
                   },
                   [] {
                       const vl_model_row row{};
                       vl_model_replay_row(&row);
                   },
                   {restore_again}});
    all.push_back({"row of a replay",
                   [add_row](Cookie* cookie) {
                       add_row();
                       add_row();
                       without_cookie = cookie;
                   },
                   [restore] { restore(on_row); },
                   {restore_again}});
    all.push_back({"answer hook",
                   [](Cookie* cookie) {
                       vl_model::set_member_answer_hook([cookie](pipe_action_data&, uint32_t&) { run(cookie); });
                   },
                   [this] {
                       pipe_action_data data{};
                       uint32_t act = 0;
                       pipe_mgr_get_action_data_entry(members, device, add_member(), &data, &act, 0);
                   },
                   {[] { vl_model::set_member_answer_hook({}); }}});
    for (Kind& kind : all)
        kind.ends.emplace_back(vl_model_reset);
    return all;
}

// Runs the body for every kind of callback and every way to end its registration.
template <class Body>
void CallbacksTest::for_each_end(Body body) {
    for (const Kind& kind : kinds()) {
        for (size_t i = 0; i < kind.ends.size(); ++i) {
            SCOPED_TRACE(kind.name + ", end " + std::to_string(i));
            restart();
            body(kind, i);
        }
    }
}

TEST_F(CallbacksTest, TheEndOfARegistrationWaitsForItsCallback) {
    for_each_end([](const Kind& kind, size_t end) {
        std::binary_semaphore entered{0}, go_on{0};
        bool has_left = false;
        auto cookie = std::make_unique<Cookie>();
        *cookie = [&] {
            entered.release();
            go_on.acquire();
            has_left = true;
        };
        kind.start(cookie.get());
        std::thread caller(kind.provoke);
        entered.acquire();
        std::future<bool> ended = std::async(std::launch::async, [&] {
            kind.ends[end]();
            cookie.reset();
            return has_left;
        });
        EXPECT_EQ(ended.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
        go_on.release();
        EXPECT_TRUE(ended.get());
        caller.join();
    });
}

TEST_F(CallbacksTest, ACallbackMayEndItsOwnRegistration) {
    for_each_end([](const Kind& kind, size_t end) {
        int calls = 0;
        auto cookie = std::make_unique<Cookie>();
        *cookie = [&] {
            ++calls;
            if (kind.name == "digest" && end != 0) return; // the message would go with the device
            kind.ends[end]();
            cookie.reset();
        };
        kind.start(cookie.get());
        kind.provoke();
        EXPECT_EQ(calls, 1);
    });
}

TEST_F(CallbacksTest, AChangeIsNotReportedToAnEndedRegistration) {
    restart();
    const pipe_grp_hdl group = add_group();
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(pipe_mgr_sel_grp_mbr_add(session, 3, groups, group, action, add_member(), 0), VL_MODEL_OK);
    }
    int positions = 0, updates = 0;
    Cookie on_update = [&] { ++updates; };
    Cookie on_first_position = [&] {
        ++positions;
        pipe_mgr_sel_tbl_register_cb(0, device, groups, nullptr, nullptr);
        pipe_register_sel_update_cb(session, device, groups, nullptr, nullptr);
    };
    pipe_mgr_sel_tbl_register_cb(0, device, groups, CallbackFor{&on_first_position}, &on_first_position);
    pipe_register_sel_update_cb(session, device, groups, CallbackFor{&on_update}, &on_update);
    ASSERT_EQ(pipe_mgr_sel_grp_del(session, 3, groups, group, 0), VL_MODEL_OK); // two positions and an update
    EXPECT_EQ(positions, 1);
    EXPECT_EQ(updates, 0);
}

// Two callbacks run on two threads. Each ends the other's registration, and returns once the other has done the same.
TEST_F(CallbacksTest, CallbacksNeverWaitForEachOther) {
    const std::vector<Kind> all = kinds();
    for (size_t i = 1; i < all.size(); ++i) {
        SCOPED_TRACE(all[i].name);
        restart();
        std::latch inside{2}, done{2};
        const auto ending = [&](const Kind& other) {
            return [&] {
                inside.arrive_and_wait();
                other.ends[0]();
                done.arrive_and_wait();
            };
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
