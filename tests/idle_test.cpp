// Idle time: the record in its two forms, what each operation sends, and ageing from end to end on the driver's clock.
#include "support/library.h"

#include <cstring>

#include "vl_driver/idle.h"

namespace {

using namespace support;
using vl_model::Call;

using Idle = LibraryTest;

pd_idle_params some_params(uint32_t mode) {
    pd_idle_params params;
    std::memset(&params, 0xEE, sizeof params); // the gaps hold garbage
    params.mode = mode;
    params.params_a = 1000;
    params.params_b = 0x1B1B1B1B;
    params.params_c = 5000;
    params.params_d = 0x1D1D1D1D1D1D1D1D;
    params.params_flag = 1;
    return params;
}

TEST_F(Idle, EnableSendsTheParametersAndThenSwitchesOn) {
    for (const uint32_t mode : {0u, 1u}) {
        p4_pd_velmar_switch_ipv4Host_idle_tmo_enable(session, device, some_params(mode));
        const std::vector<Call> made = calls();
        ASSERT_EQ(made.size(), 2u);
        EXPECT_EQ(made[0].function, "pipe_mgr_idle_set_params");
        EXPECT_EQ(made[0].args, (std::vector<uint64_t>{session, device, 0x1000023, mode, 1000, 0x1B1B1B1B, 5000, 0,
                                                       0x1D1D1D1D1D1D1D1D, 0}))
            << "gaps and reserved words are zero, the flag isn't sent, and the fourth parameter moves";
        EXPECT_EQ(made[1].function, "pipe_mgr_idle_tmo_set_enable");
        EXPECT_EQ(made[1].args, (std::vector<uint64_t>{session, device, 0x1000023, 1}));
    }
    vl_model::fail_call("pipe_mgr_idle_set_params", 1, 66);
    EXPECT_EQ(p4_pd_velmar_switch_ipv4Host_idle_tmo_enable(session, device, some_params(1)), 66u);
    EXPECT_EQ(calls().size(), 1u) << "a refused set isn't followed by the switch";
    vl_model::fail_call("pipe_mgr_idle_tmo_set_enable", 1, 67);
    EXPECT_EQ(p4_pd_velmar_switch_ipv4Host_idle_tmo_enable(session, device, some_params(1)), 67u);
    calls();
    p4_pd_velmar_switch_ipv4Host_idle_tmo_disable(session, device);
    EXPECT_EQ(only_call().args, (std::vector<uint64_t>{session, device, 0x1000023, 0}));
}

TEST_F(Idle, ParametersComeBackInTheModeThatHasThem) {
    ASSERT_EQ(p4_pd_velmar_switch_ipv6Host_idle_tmo_enable(session, device, some_params(1)), 0u);
    pd_idle_params read;
    std::memset(&read, 0xA5, sizeof read);
    ASSERT_EQ(p4_pd_velmar_switch_ipv6Host_idle_params_get(session, device, &read), 0u);
    EXPECT_EQ(read.mode, 1u);
    EXPECT_EQ(read.params_a, 1000u);
    EXPECT_EQ(read.params_b, 0x1B1B1B1Bu);
    EXPECT_EQ(read.params_c, 5000u);
    EXPECT_EQ(read.params_d, 0x1D1D1D1D1D1D1D1Du);
    EXPECT_EQ(read.params_flag, 0);

    pd_idle_params fresh;
    std::memset(&fresh, 0xA5, sizeof fresh);
    ASSERT_EQ(p4_pd_velmar_switch_ipv6Host_idle_tmo_enable(session, device, some_params(0)), 0u);
    read = fresh;
    ASSERT_EQ(p4_pd_velmar_switch_ipv6Host_idle_params_get(session, device, &read), 0u);
    fresh.mode = 0;
    EXPECT_EQ(std::memcmp(&read, &fresh, sizeof read), 0) << "only the mode is written";
    vl_model::fail_call("pipe_mgr_idle_get_params", 1, 68);
    read.mode = fresh.mode = 0xA5A5A5A5;
    EXPECT_EQ(p4_pd_velmar_switch_ipv6Host_idle_params_get(session, device, &read), 68u);
    EXPECT_EQ(std::memcmp(&read, &fresh, sizeof read), 0);
}

TEST_F(Idle, WhatTheThirteenTablesSend) {
    size_t tables = 0;
    for (const catalog::Table* table : all_tables()) {
        if (!table->idle_time) continue;
        ++tables;
        SCOPED_TRACE(table->name);
        const std::string base = exported(table->name) + "_";
        const uint64_t handle = table->handle;
        uint32_t out = 0;
        using Words = std::vector<uint64_t>;
        call(base + "set_ttl", {dirty(session), dirty(device), dirty(9), dirty(30)});
        EXPECT_EQ(only_call().args, (Words{session, device, handle, 9, 30, 0, 0}));
        call(base + "get_ttl", {session, device, 9, word(&out)});
        EXPECT_EQ(only_call().args, (Words{session, device, handle, 9, word(&out)}));
        call(base + "reset_ttl", {session, device, 9});
        EXPECT_EQ(only_call().args, (Words{session, device, handle, 9}));
        call(base + "idle_register_tmo_cb", {session, device, 0x1234567890, 0x42});
        EXPECT_EQ(only_call().args, (Words{session, device, handle, 0x1234567890, 0x42}));
        call(base + "idle_register_tmo_cb", {session, device, 0, 0});
        calls();
        call(base + "update_hit_state", {session, device, 0, 0x42});
        EXPECT_EQ(only_call().args, (Words{session, device, handle, 0, 0x42}));
        call(base + "get_hit_state", {session, device, 9, word(&out)});
        const Call hit = only_call();
        EXPECT_EQ(Words(hit.args.begin(), hit.args.begin() + 4), (Words{session, device, handle, 9}));
        EXPECT_NE(hit.args[4], word(&out)) << "the driver writes a local";
    }
    EXPECT_EQ(tables, 13u);
}

} // namespace
