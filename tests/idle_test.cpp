// Idle time: the record in its two forms, and what each operation sends.
#include <cstring>

#include "support/forwarding.h"
#include "vl_driver/idle.h"

namespace {

using namespace support;

class Idle : public ForwardingTest {
protected:
    static pd_idle_params some_params(uint32_t mode) {
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

    const Words ipv4_host = {session, device, table_named("ipv4Host").handle};
};

TEST_F(Idle, EnableSendsTheParametersAndThenSwitchesOn) {
    const auto enable = [&](uint32_t mode) {
        return p4_pd_velmar_switch_ipv4Host_idle_tmo_enable(session, device, some_params(mode));
    };
    const std::string set_params = "pipe_mgr_idle_set_params", set_enable = "pipe_mgr_idle_tmo_set_enable";
    for (const uint32_t mode : {0u, 1u}) {
        // Gaps and reserved words are zero, the flag isn't sent, and the fourth parameter has another place.
        const Words params = {mode, 1000, 0x1B1B1B1B, 5000, 0, 0x1D1D1D1D1D1D1D1D, 0};
        EXPECT_EQ(enable(mode), 0u);
        expect_calls({{set_params, ipv4_host + params}, {set_enable, ipv4_host + Words{1}}});
    }
    expect_forwarded("ipv4Host_idle_tmo_disable", {session, device}, set_enable, ipv4_host + Words{0});
}

TEST_F(Idle, ParametersComeBackInTheModeThatHasThem) {
    vl_model::answer_calls("pipe_*", {}); // the embedded driver keeps the parameters
    pd_idle_params read, unread;
    const auto expect_read = [&] {
        std::memset(&read, 0xA5, sizeof read);
        std::memset(&unread, 0xA5, sizeof unread);
        EXPECT_EQ(p4_pd_velmar_switch_ipv4Host_idle_params_get(session, device, &read), 0u);
    };
    ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_idle_tmo_enable(session, device, some_params(1)), 0u);
    expect_read();
    EXPECT_EQ(read.mode, 1u);
    EXPECT_EQ(read.params_a, 1000u);
    EXPECT_EQ(read.params_b, 0x1B1B1B1Bu);
    EXPECT_EQ(read.params_c, 5000u);
    EXPECT_EQ(read.params_d, 0x1D1D1D1D1D1D1D1Du);
    EXPECT_EQ(read.params_flag, 0);

    ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_idle_tmo_enable(session, device, some_params(0)), 0u);
    expect_read();
    unread.mode = 0;
    EXPECT_EQ(bytes_of(read), bytes_of(unread)) << "the mode alone is written";
}

TEST_F(Idle, OperationsOfAllTables) {
    uint32_t out = 0;
    const std::vector<Operation> operations = {
        {"set_ttl", {dirty(9), dirty(30)}, "mat_ent_set_idle_ttl", {9, 30, 0, 0}},
        {"get_ttl", {9, word(&out)}, "mat_ent_get_idle_ttl", {9, word(&out)}},
        {"reset_ttl", {9}, "mat_ent_reset_idle_ttl", {9}},
        {"idle_register_tmo_cb", {0x1234567890, 0x42}, "idle_register_tmo_cb", {0x1234567890, 0x42}},
        {"update_hit_state", {0, 0x42}, "idle_time_update_hit_state", {0, 0x42}},
        {"get_hit_state", {9, word(&out)}, "idle_time_get_hit_state", {9, some_address}},
    };
    for (const catalog::Table* table : all_tables()) {
        if (!table->idle_time) continue;
        const std::vector<Call> made =
            expect_operations(operations, table->name + std::string("_"), {dirty(session), dirty(device)}, "pipe_mgr_",
                              {session, device, table->handle});
        EXPECT_NE(made.back().args[4], word(&out)) << "the driver writes a local";
    }
}

} // namespace
