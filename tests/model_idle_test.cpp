// Idle time in the embedded driver, on a clock that the test moves: when the driver names an entry, and what restarts
// the time.
#include <cstring>
#include <utility>
#include <vector>

#include <vl_model/traffic.h>

#include "support/model.h"

namespace {

using namespace support;

constexpr uint32_t hosts = 0x1000001;
constexpr uint32_t fixed = 0x1000002; // its entries don't age
constexpr uint32_t drop = 0x20000001;

constexpr vl_model_action actions[] = {
    {.handle = drop, .data_bits = 0, .data_len = 0, .for_entries = 1, .for_default = 1},
};

// The entries that the time-out callback named, in this order.
Handles named;

class IdleTest : public DeviceTest {
protected:
    void SetUp() override {
        named.clear();
        vl_model_table tables[]{model_table(hosts, VL_MODEL_EXACT, 32, actions),
                                model_table(fixed, VL_MODEL_EXACT, 32, actions)};
        tables[0].initial_default = drop;
        tables[0].idle_time = 1;
        start({.name = "p", .tables = tables, .table_count = 2});
        name_with(
            [](uint32_t, uint32_t, uint32_t entry, void* cookie) { static_cast<Handles*>(cookie)->push_back(entry); },
            &named);
    }

    void switch_on(uint64_t interval, uint32_t longest, uint64_t ordinary, uint32_t mode = PIPE_IDLE_MODE_NOTIFY) {
        pipe_idle_params params{};
        params.mode = mode;
        params.params_a = interval;
        params.params_b = longest;
        params.params_c = ordinary;
        ASSERT_EQ(pipe_mgr_idle_set_params(session, 3, hosts, params), VL_MODEL_OK);
        ASSERT_EQ(pipe_mgr_idle_tmo_set_enable(session, 3, hosts, 1), VL_MODEL_OK);
    }
    uint32_t add(uint32_t key, uint32_t ttl = 0) const {
        pipe_action_record action{};
        action.kind = PIPE_KIND_ACTION_DATA;
        uint32_t entry = 0;
        EXPECT_EQ(add_exact(hosts, big_endian(key, 4), drop, action, &entry, ttl), VL_MODEL_OK);
        return entry;
    }
    pipe_status remove(uint32_t entry) const {
        return pipe_mgr_mat_ent_del(session, 3, hosts, entry, 0);
    }
    void set_ttl(uint32_t entry, uint32_t ttl) const {
        ASSERT_EQ(pipe_mgr_mat_ent_set_idle_ttl(session, 3, hosts, entry, ttl, 0, 0), VL_MODEL_OK);
    }
    uint32_t ttl(uint32_t entry) const {
        return output_of(pipe_mgr_mat_ent_get_idle_ttl, session, 3, hosts, entry).value();
    }
    uint32_t hit_state(uint32_t entry) const {
        return output_of(pipe_mgr_idle_time_get_hit_state, session, 3, hosts, entry).value();
    }
    void name_with(pipe_idle_tmo_cb callback, void* cookie = nullptr) const {
        ASSERT_EQ(pipe_mgr_idle_register_tmo_cb(session, 3, hosts, callback, cookie), VL_MODEL_OK);
    }
    void update_hit_states(pipe_idle_hit_state_cb callback = nullptr, void* cookie = nullptr) const {
        ASSERT_EQ(pipe_mgr_idle_time_update_hit_state(session, 3, hosts, callback, cookie), VL_MODEL_OK);
    }
    static Handles after(uint32_t milliseconds) {
        EXPECT_EQ(vl_model_clock_advance(milliseconds), VL_MODEL_OK);
        return std::exchange(named, {});
    }
};

TEST_F(IdleTest, EachEntryIsNamedOnceWhenItsTimeIsOver) {
    const uint32_t early = add(1, 100); // before idle time is switched on
    switch_on(0, 500, 300);
    const uint32_t ordinary = add(2);
    const uint32_t capped = add(3, 10000);
    EXPECT_EQ(ttl(ordinary), 300U);
    EXPECT_EQ(ttl(capped), 500U);
    EXPECT_EQ(after(99), Handles());
    EXPECT_EQ(after(1), Handles{early});
    EXPECT_EQ(after(1000), (Handles{ordinary, capped}));
    EXPECT_EQ(after(1000), Handles());

    ASSERT_EQ(vl_model_entry_hit(3, hosts, capped), VL_MODEL_OK);
    ASSERT_EQ(pipe_mgr_mat_ent_reset_idle_ttl(session, 3, hosts, early), VL_MODEL_OK);
    EXPECT_EQ(after(100), Handles{early});
    EXPECT_EQ(after(400), Handles{capped});
}

TEST_F(IdleTest, HitsAndNewTimesMoveTheDeadline) {
    switch_on(0, 0, 0);
    const uint32_t entry = add(1, 100);
    const uint32_t ageless = add(2);
    EXPECT_EQ(after(90), Handles());
    vl_model_entry_hit(3, hosts, entry);
    EXPECT_EQ(after(90), Handles()); // the first deadline passes
    EXPECT_EQ(after(9), Handles());
    set_ttl(entry, 50); // from now
    set_ttl(ageless, 1000);
    set_ttl(ageless, 20); // shorter than what is left
    EXPECT_EQ(after(49), Handles{ageless});
    EXPECT_EQ(after(1), Handles{entry});
    set_ttl(entry, 10);
    set_ttl(entry, 0);
    EXPECT_EQ(ttl(entry), 0U);
    EXPECT_EQ(after(100000), Handles());
    set_ttl(entry, 10);
    EXPECT_EQ(after(10), Handles{entry});
}

TEST_F(IdleTest, TimeOutsAreLookedForAtTheInterval) {
    ASSERT_EQ(vl_model_clock_advance(70), VL_MODEL_OK); // intervals count from the moment of switching on
    switch_on(100, 0, 0);
    const uint32_t first = add(1, 10);
    const uint32_t second = add(2, 10);
    EXPECT_EQ(after(99), Handles());
    vl_model_entry_hit(3, hosts, second); // late, but before the driver looks
    EXPECT_EQ(after(1), Handles{first});
    EXPECT_EQ(after(99), Handles());
    EXPECT_EQ(after(1), Handles{second});
}

TEST_F(IdleTest, AHandleThatComesBackStartsAnew) {
    switch_on(0, 0, 0);
    const uint32_t entry = add(1, 100);
    vl_model_entry_hit(3, hosts, entry);
    ASSERT_EQ(remove(entry), VL_MODEL_OK);
    ASSERT_EQ(after(40), Handles());
    ASSERT_EQ(add(2, 100), entry);
    ASSERT_EQ(remove(entry), VL_MODEL_OK);
    ASSERT_EQ(add(3, 100), entry);
    EXPECT_EQ(after(60), Handles());
    EXPECT_EQ(after(40), Handles{entry});
    ASSERT_EQ(remove(entry), VL_MODEL_OK);
    ASSERT_EQ(add(4), entry);
    EXPECT_EQ(ttl(entry), 0U);
    EXPECT_EQ(after(1000), Handles());
    update_hit_states();
    EXPECT_EQ(hit_state(entry), uint32_t{PIPE_IDLE_NOT_HIT});
}

TEST_F(IdleTest, OffAndOtherModesNameNoEntry) {
    switch_on(0, 0, 100);
    const uint32_t entry = add(1);
    switch_on(0, 0, 100, PIPE_IDLE_MODE_NOTIFY + 1);
    EXPECT_EQ(after(1000), Handles());
    switch_on(0, 0, 100);
    ASSERT_EQ(pipe_mgr_idle_tmo_set_enable(session, 3, hosts, 0), VL_MODEL_OK);
    EXPECT_EQ(after(1000), Handles());
    switch_on(0, 0, 100);
    EXPECT_EQ(after(99), Handles());
    EXPECT_EQ(after(1), Handles{entry});
    // Time-outs wait for a callback.
    vl_model_entry_hit(3, hosts, entry);
    name_with(nullptr);
    EXPECT_EQ(after(1000), Handles());
    name_with([](uint32_t, uint32_t, uint32_t handle, void*) { named.push_back(handle + 1000); });
    EXPECT_EQ(after(0), Handles{entry + 1000});
}

TEST_F(IdleTest, ACallbackMayRemoveWhatIsStillToBeNamed) {
    switch_on(0, 0, 100);
    const Handles entries{add(1), add(2), add(3), add(4)};
    for (const size_t i : {3U, 1U, 2U, 0U}) // entries with the same deadline are named by handle
        set_ttl(entries[i], 50);
    name_with(
        [](uint32_t dev, uint32_t table, uint32_t entry, void* cookie) {
            const pipe_sess_hdl of_callback = *static_cast<pipe_sess_hdl*>(cookie);
            named.push_back(entry);
            EXPECT_EQ(pipe_mgr_mat_ent_del(of_callback, dev, table, entry, 0), VL_MODEL_OK);
            pipe_mgr_mat_ent_del(of_callback, dev, table, entry + 1, 0);
            pipe_mgr_mat_ent_reset_idle_ttl(of_callback, dev, table, entry + 2);
        },
        &session);
    EXPECT_EQ(after(50), (Handles{entries[0], entries[3]}));
    EXPECT_EQ(after(50), Handles{entries[2]});
}

TEST_F(IdleTest, TimeOutsWaitForTheNextCallback) {
    switch_on(0, 0, 10);
    const uint32_t first = add(1), second = add(2), third = add(3);
    const pipe_idle_tmo_cb end_after_one = [](uint32_t, uint32_t, uint32_t entry, void* idle_session) {
        named.push_back(entry);
        EXPECT_EQ(pipe_mgr_idle_register_tmo_cb(*static_cast<pipe_sess_hdl*>(idle_session), 3, hosts, nullptr, nullptr),
                  VL_MODEL_OK);
    };
    for (const uint32_t entry : {first, second, third}) {
        name_with(end_after_one, &session);
        EXPECT_EQ(after(10), Handles{entry});
    }
    name_with(end_after_one, &session);
    EXPECT_EQ(after(10), Handles());
}

TEST_F(IdleTest, HitStatesAreThoseBetweenTwoUpdates) {
    switch_on(0, 0, 0, 0);
    const uint32_t entry = add(1);
    vl_model_entry_hit(3, hosts, entry);
    EXPECT_EQ(hit_state(entry), uint32_t{PIPE_IDLE_NOT_HIT});
    bool came = false;
    update_hit_states([](uint32_t, void* cookie) { *static_cast<bool*>(cookie) = true; }, &came);
    EXPECT_TRUE(came);
    EXPECT_EQ(hit_state(entry), uint32_t{PIPE_IDLE_HIT});
    update_hit_states();
    EXPECT_EQ(hit_state(entry), uint32_t{PIPE_IDLE_NOT_HIT});
}

TEST_F(IdleTest, RefusalsAndRecords) {
    pipe_idle_params params{};
    EXPECT_EQ(pipe_mgr_idle_get_params(session, 3, hosts, &params), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(pipe_mgr_idle_tmo_set_enable(session, 3, hosts, 1), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(pipe_mgr_idle_set_params(session, 3, fixed, params), VL_MODEL_NOT_SUPPORTED);
    EXPECT_EQ(vl_model_entry_hit(3, hosts, 1), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(pipe_mgr_mat_ent_reset_idle_ttl(session, 3, hosts, 1), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(pipe_mgr_mat_ent_set_idle_ttl(session, 3, hosts, default_entry(hosts), 5, 0, 0), VL_MODEL_NOT_FOUND);

    params = {7, 0, 1, 2, 3, 4, 5, 6, 7};
    const auto calls = recorded([&] { EXPECT_EQ(pipe_mgr_idle_set_params(session, 3, hosts, params), VL_MODEL_OK); });
    EXPECT_EQ(calls.at(0).args, (std::vector<uint64_t>{session, 3, hosts, 7, 1, UINT64_C(3) << 32 | 2, 4, 5, 6, 7}));
    const pipe_idle_params read = output_of(pipe_mgr_idle_get_params, session, 3, hosts).value();
    EXPECT_EQ(std::memcmp(&read, &params, sizeof(read)), 0);
}

// The cost of a hit or of a clock step must not grow with the table. Quadratic work would take minutes here.
TEST_F(IdleTest, ManyEntriesAndManySteps) {
    switch_on(0, 0, 60000);
    constexpr uint32_t count = 100000;
    Handles entries;
    for (uint32_t i = 0; i < count; ++i)
        entries.push_back(add(i));
    for (uint32_t i = 0; i < count; ++i) {
        ASSERT_EQ(remove(add(count + i, 1 + i % 1000)), VL_MODEL_OK);
    }
    for (uint32_t i = 0; i < count; ++i) {
        vl_model_entry_hit(3, hosts, entries[i % 10]);
        EXPECT_EQ(vl_model_clock_advance(i < 50000 ? 1 : 0), VL_MODEL_OK);
    }
    EXPECT_EQ(std::exchange(named, {}), Handles());
    EXPECT_EQ(after(10000).size(), count - 10);
    EXPECT_EQ(after(50000).size(), 10U);
}

} // namespace
