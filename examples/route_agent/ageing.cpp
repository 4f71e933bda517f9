// Idle time on the host routes. The agent itself moves the driver's clock and sends packets. On a real switch both
// happen by themselves.
#include <deque>

#include "route_agent/phases.h"
#include "vl_driver/idle.h"
#include "vl_model/control.h"
#include "vl_model/traffic.h"

namespace route_agent {
namespace {

// In milliseconds. One step of the clock is less than a time to live, two are more.
constexpr uint32_t look_interval = 1'000;
constexpr uint32_t time_to_live = 10'000;
constexpr uint32_t clock_step = 9'000;

// The functions of a table that ages its entries.
struct HostTable {
    TableId id;
    decltype(&PD(ipv4Host, idle_tmo_enable)) enable;
    decltype(&PD(ipv4Host, idle_tmo_disable)) disable;
    decltype(&PD(ipv4Host, idle_register_tmo_cb)) register_callback;
    decltype(&PD(ipv4Host, update_hit_state)) update_hit_state;
    decltype(&PD(ipv4Host, get_hit_state)) get_hit_state;
    decltype(&PD(ipv4Host, table_delete)) remove; // by handle
};

#define HOST_TABLE(table)                                                                                              \
    {                                                                                                                  \
        table, PD(table, idle_tmo_enable), PD(table, idle_tmo_disable), PD(table, idle_register_tmo_cb),               \
            PD(table, update_hit_state), PD(table, get_hit_state), PD(table, table_delete)                             \
    }
constexpr HostTable host_tables[] = {HOST_TABLE(ipv4Host), HOST_TABLE(ipv6Host)};

// Every fourth route gets no packets.
bool gets_packets(size_t row) {
    return row % 4 != 2;
}

// The driver calls this in the middle of its own work, so it only notes the handle.
void on_time_out(pd_device, uint32_t, pd_entry handle, void* cookie) noexcept {
    static_cast<std::vector<pd_entry>*>(cookie)->push_back(handle);
}

// A table that ages, and the entries that timed out. The driver has a pointer to them until this is destroyed.
class Ageing {
public:
    Ageing(Run& run, const HostTable& host_table) : run_(run), host_(host_table) {}
    ~Ageing() {
        static_cast<void>(host_.register_callback(session_, device_, nullptr, nullptr));
    }
    Ageing(const Ageing&) = delete;
    Ageing& operator=(const Ageing&) = delete;

    void switch_on() {
        Work work(run_, host_.id);
        timed_out_.reserve(work.placed.size());
        work.done(
            host_.register_callback(session_, device_, reinterpret_cast<pd_driver_callback>(on_time_out), &timed_out_),
            "registering for time-outs");
        const pd_idle_params params = {.mode = PIPE_IDLE_MODE_NOTIFY,
                                       .params_a = look_interval,
                                       .params_b = 0, // no upper limit
                                       .params_c = time_to_live,
                                       .params_d = 0,
                                       .params_flag = 0};
        work.done(host_.enable(session_, device_, params), "switching idle time on");
    }

    void expect_no_time_out() {
        if (!timed_out_.empty())
            Work(run_, host_.id).differs(grouped(timed_out_.size()), " entries timed out before their time");
    }

    // Packets are no calls of the agent, so they aren't counted.
    void hit_hosts() {
        constexpr unsigned vrf_bytes = 1;
        constexpr uint32_t packet_bytes = 64;
        uint32_t table_handle = 0;
        check(route_tables[host_.id].handle(&table_handle), "asking for a table's handle");
        for (const auto& [handle, row] : run_.placed[host_.id]) {
            if (!gets_packets(row)) continue;
            const Prefix& host = run_.plan.tables[host_.id][row].prefix;
            const PacketKey key = packet_key(vrf_bytes, run_.device.vrf, host.family, host.address);
            pd_entry taken = PD_HDL_END;
            const pd_status status =
                vl_model_packet(device_, table_handle, key.bytes.data(), key.length, 0, packet_bytes, &taken);
            if (status != VL_MODEL_NOT_FOUND) check(status, "sending a packet");
            if (taken == handle) continue;
            Work(run_, host_.id)
                .differs("a packet to ", address_text(host.family, host.address), " took ",
                         status == VL_MODEL_NOT_FOUND ? "no entry" : text_of("handle ", taken), ", expected handle ",
                         handle);
        }
    }

    void check_hits() {
        Work work(run_, host_.id);
        work.done(host_.update_hit_state(session_, device_, nullptr, nullptr), "updating hit states");
        for (const auto& [handle, row] : work.placed) {
            const Entry& entry = work.entries[row];
            uint32_t hit = 0;
            work.done(host_.get_hit_state(session_, device_, handle, &hit), "reading the hit state of ", entry.prefix);
            if ((hit != 0) != gets_packets(row)) work.differs("the hit state of ", entry.prefix, " is ", hit);
        }
    }

    void remove_timed_out() {
        Work work(run_, host_.id);
        for (const pd_entry handle : timed_out_) {
            const Placed* placed = work.row_of(handle);
            if (placed == nullptr || work.rows[placed->row] != RowState::standing) {
                work.differs("handle ", handle, " timed out, which no entry has any more");
                continue;
            }
            const Entry& entry = work.entries[placed->row];
            if (gets_packets(placed->row)) work.differs(entry.prefix, " timed out, though a packet hit it");
            work.done(host_.remove(session_, device_, handle), "removing ", entry.prefix);
            work.rows[placed->row] = RowState::aged;
            ++work.tally.aged;
        }
        for (size_t row = 0; row < work.entries.size(); ++row)
            if (!gets_packets(row) && work.rows[row] == RowState::standing)
                work.differs(work.entries[row].prefix, " got no packet and didn't time out");
    }

    void switch_off() {
        Work(run_, host_.id).done(host_.disable(session_, device_), "switching idle time off");
    }

private:
    Run& run_;
    const HostTable& host_;
    const pd_session session_ = run_.device.session;
    const pd_device device_ = run_.device.target.dev_id;
    std::vector<pd_entry> timed_out_;
};

void move_clock() {
    check(vl_model_clock_advance(clock_step), "moving the clock");
}

} // namespace

void age_hosts(Run& run) {
    run.progress.begin_phase("ageing host routes");
    std::deque<Ageing> tables;
    for (const HostTable& host : host_tables)
        tables.emplace_back(run, host).switch_on();
    move_clock();
    for (Ageing& table : tables) {
        table.expect_no_time_out();
        table.hit_hosts();
    }
    move_clock();
    for (Ageing& table : tables) {
        table.check_hits();
        table.remove_timed_out();
        table.switch_off();
    }
}

} // namespace route_agent
