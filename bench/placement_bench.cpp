// The cost of checking an entry against the hardware: the library decodes the entry's placement data, reads the entry
// back and compares the two. The embedded driver's decoding and reading are also measured alone. The difference is the
// library's share, which should stay below the cost of one read. The driver gives and takes back the memory for lists
// of an entry's resources; the share is printed with and without it.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "medians.h"
#include "vl_driver/placement.h"
#include "vl_driver/system.h"
#include "vl_driver/tables.h"
#include "vl_model/control.h"
#include "vl_pd/velmar_switch.h"
#include "vl_pd/velmar_switch_pipeline.h"

namespace bench {
namespace {

constexpr pd_device device = 0;
constexpr pd_dev_tgt target = {.dev_id = device, .pipe_id = PD_ALL_PIPES, .reserved = 0};

pd_session session;

struct Host {
    static constexpr const char* name = "ipv4Host, 2 fields";
    static constexpr uint32_t handle = 0x1000023;
    static constexpr uint16_t key_len = 5;
    static constexpr bool has_resource = false;
    static constexpr auto* fetch = p4_pd_velmar_switch_ipv4Host_get_plcmt_data;
    static constexpr auto* compare = p4_pd_velmar_switch_ipv4Host_plcmt_data_eq_to_hw;
    using Key = p4_pd_velmar_switch_ipv4Host_match_spec_t;
    using Action = p4_pd_velmar_switch_setNextHop_action_spec_t;

    static pd_status add(const Key& key, const Action& action, pd_entry* entry) {
        return p4_pd_velmar_switch_ipv4Host_table_add_with_setNextHop(session, target, &key, &action, entry);
    }
};

struct Trap {
    static constexpr const char* name = "trapToCpu, 20 fields";
    static constexpr uint32_t handle = 0x1000040;
    static constexpr uint16_t key_len = 44;
    static constexpr bool has_resource = true; // a counter
    static constexpr auto* fetch = p4_pd_velmar_switch_trapToCpu_get_plcmt_data;
    static constexpr auto* compare = p4_pd_velmar_switch_trapToCpu_plcmt_data_eq_to_hw;
    using Key = p4_pd_velmar_switch_trapToCpu_match_spec_t;
    using Action = p4_pd_velmar_switch_copyPacket_action_spec_t;

    static pd_status add(const Key& key, const Action& action, pd_entry* entry) {
        return p4_pd_velmar_switch_trapToCpu_table_add_with_copyPacket(session, target, &key, 1, &action, entry);
    }
};

struct Placed {
    pd_entry entry = 0;
    const void* data = nullptr;
};

// Random entries of the table, made at the first use.
template <class Table>
const std::array<Placed, ring_size>& ring() {
    static const auto entries = [] {
        std::mt19937 random;
        const auto fill = [&](auto& record) {
            uint8_t bytes[sizeof record];
            for (uint8_t& byte : bytes)
                byte = static_cast<uint8_t>(random());
            std::memcpy(&record, bytes, sizeof record);
        };
        std::array<Placed, ring_size> made;
        for (Placed& each : made) {
            typename Table::Key key;
            typename Table::Action action;
            fill(key);
            fill(action);
            if (Table::add(key, action, &each.entry) != PD_STATUS_OK ||
                Table::fetch(session, target, 0, each.entry, &each.data) != PD_STATUS_OK)
                each = {};
        }
        return made;
    }();
    return entries;
}

// An answer of the driver, in buffers that are used again for the next one.
struct Reading {
    uint8_t key[48]{}, mask[48]{}, data[32]{};
    pipe_match_record match{};
    pipe_action_record action{};
    pipe_act_hdl action_hdl = 0;

    Reading() {
        match.key_bytes = key;
        match.mask_bytes = mask;
        action.action.data = data;
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
};

template <class Table>
bool read_alone(const Placed& placed, Reading& out) {
    out.match.key_len = Table::key_len;
    out.action.action.data_len = sizeof out.data;
    return pipe_mgr_get_entry(session, Table::handle, {device, PIPE_ALL_PIPES, 0}, placed.entry, &out.match,
                              &out.action, &out.action_hdl, 1, 1, 0) == 0;
}

// The arms. Each returns true if all calls succeed and both views are equal.

template <class Table>
bool check(const Placed& placed) {
    char message[66];
    return Table::compare(session, device, Table::handle, placed.entry, placed.data, message) == 1;
}

template <class Table>
bool both_reads(const Placed& placed) {
    static Reading software, hardware;
    return pipe_mgr_plcmt_mat_data_get_entry(placed.data, &software.match, &software.action, &software.action_hdl) ==
               0 &&
           read_alone<Table>(placed, hardware);
}

template <class Table>
bool one_read(const Placed& placed) {
    static Reading hardware;
    return read_alone<Table>(placed, hardware);
}

// The lists of one check, if entries have a resource: one for the decoded entry, and one for the entry read.
template <class Table>
bool lists(const Placed&) {
    bool made = true;
    for (int i = 0; i < (Table::has_resource ? 2 : 0); ++i) {
        void* const list = bf_sys_calloc(1, sizeof(pd_resource_index));
        made = made && list != nullptr;
        bf_sys_free(list);
    }
    return made;
}

using Arm = bool(const Placed& placed);

[[gnu::noinline]] void measure(benchmark::State& state, Arm* arm, const std::array<Placed, ring_size>& entries) {
    go_round(state, [&](size_t i) {
        const bool done = arm(entries[i]);
        benchmark::ClobberMemory();
        return done;
    });
}

template <class Table>
std::string benchmark_name(const char* arm) {
    return std::string(Table::name) + "/" + arm;
}

template <class Table>
bool prepare() {
    for (const Placed& placed : ring<Table>())
        if (!check<Table>(placed) || !both_reads<Table>(placed) || !one_read<Table>(placed)) {
            std::fprintf(stderr, "%s: entry %u can't be checked\n", Table::name, placed.entry);
            return false;
        }
    const auto add = [](const char* arm_name, Arm* arm) {
        benchmark::RegisterBenchmark(benchmark_name<Table>(arm_name).c_str(), measure, arm, ring<Table>());
    };
    add("check", check<Table>);
    add("both reads", both_reads<Table>);
    add("one read", one_read<Table>);
    add("lists", lists<Table>);
    return true;
}

template <class Table>
void print_share(const Medians& medians) {
    const double *const whole = find(medians, benchmark_name<Table>("check")),
                        *const reads = find(medians, benchmark_name<Table>("both reads")),
                        *const read = find(medians, benchmark_name<Table>("one read")),
                        *const memory = find(medians, benchmark_name<Table>("lists"));
    if (whole == nullptr || reads == nullptr || read == nullptr || memory == nullptr) return;
    const double share = *whole - *reads, code = share - (Table::has_resource ? *memory : 0);
    std::printf("%-22s %8.1f %11.1f %9.1f %8.1f %7.2f %15.1f %7.2f\n", Table::name, *whole, *reads, *read, share,
                share / *read, code, code / *read);
}

bool start() {
    p4_pd_velmar_switch_init();
    return vl_model_device_add(device, &velmar_switch_pipeline) == VL_MODEL_OK &&
           vl_model_session_open(&session) == VL_MODEL_OK;
}

} // namespace
} // namespace bench

int main(int argc, char** argv) {
    using namespace bench;
    if (!start() || !initialize(argc, argv) || !prepare<Host>() || !prepare<Trap>()) return 1;
    const Medians medians = run();
    std::printf("\n%-22s %8s %11s %9s %8s %7s %15s %7s\n", "nanoseconds", "check", "both reads", "one read", "share",
                "/ read", "without lists", "/ read");
    print_share<Host>(medians);
    print_share<Trap>(medians);
    benchmark::Shutdown();
}
