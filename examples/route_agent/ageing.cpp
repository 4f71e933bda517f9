// Idle time on the host routes. The driver's clock moves and packets hit entries only as the agent says: on a real
// switch both just happen.
#include <deque>

#include "route_agent/phases.h"
#include "route_agent/work.h"
#include "vl_model/control.h"

namespace route_agent {
namespace {

// The driver's mode in which it tells of entries that ran out of time. Its times are milliseconds.
constexpr uint32_t notify_mode = 1;
constexpr uint32_t look_interval = 1'000;
constexpr uint32_t time_to_live = 10'000;
// One step is less than a time to live, two are more.
constexpr uint32_t clock_step = 9'000;

// What a table that ages its entries has for it.
struct HostTable {
    TableId id;
    decltype(&p4_pd_velmar_switch_ipv4Host_get_mat_table_handle) handle;
    decltype(&p4_pd_velmar_switch_ipv4Host_idle_tmo_enable) enable;
    decltype(&p4_pd_velmar_switch_ipv4Host_idle_tmo_disable) disable;
    decltype(&p4_pd_velmar_switch_ipv4Host_idle_register_tmo_cb) register_callback;
    decltype(&p4_pd_velmar_switch_ipv4Host_update_hit_state) update_hit_state;
    decltype(&p4_pd_velmar_switch_ipv4Host_get_hit_state) get_hit_state;
    decltype(&p4_pd_velmar_switch_ipv4Host_table_delete) remove; // by handle
};

constexpr HostTable host_tables[] = {
    {.id = TableId::ipv4Host,
     .handle = p4_pd_velmar_switch_ipv4Host_get_mat_table_handle,
     .enable = p4_pd_velmar_switch_ipv4Host_idle_tmo_enable,
     .disable = p4_pd_velmar_switch_ipv4Host_idle_tmo_disable,
     .register_callback = p4_pd_velmar_switch_ipv4Host_idle_register_tmo_cb,
     .update_hit_state = p4_pd_velmar_switch_ipv4Host_update_hit_state,
     .get_hit_state = p4_pd_velmar_switch_ipv4Host_get_hit_state,
     .remove = p4_pd_velmar_switch_ipv4Host_table_delete},
    {.id = TableId::ipv6Host,
     .handle = p4_pd_velmar_switch_ipv6Host_get_mat_table_handle,
     .enable = p4_pd_velmar_switch_ipv6Host_idle_tmo_enable,
     .disable = p4_pd_velmar_switch_ipv6Host_idle_tmo_disable,
     .register_callback = p4_pd_velmar_switch_ipv6Host_idle_register_tmo_cb,
     .update_hit_state = p4_pd_velmar_switch_ipv6Host_update_hit_state,
     .get_hit_state = p4_pd_velmar_switch_ipv6Host_get_hit_state,
     .remove = p4_pd_velmar_switch_ipv6Host_table_delete},
};

// Every fourth route gets no packets.
bool gets_packets(size_t row) {
    return row % 4 != 2;
}

// The driver calls this in the middle of its own work: it only takes down the handle.
void on_time_out(pd_device, uint32_t, pd_entry handle, void* cookie) noexcept {
    static_cast<std::vector<pd_entry>*>(cookie)->push_back(handle);
}

// A table that ages, and the entries that its callback named. The driver keeps a pointer to them until this goes away.
class Ageing {
public:
    Ageing(Run& run, const HostTable& host_table) : run_(run), host_(host_table) {}
    ~Ageing() {
        const Device& device = run_.device;
        static_cast<void>(host_.register_callback(device.session, device.target.dev_id, nullptr, nullptr));
    }
    Ageing(const Ageing&) = delete;
    Ageing& operator=(const Ageing&) = delete;

    void switch_on();
    void expect_none_named();
    void send_packets();
    void check_hits();
    void remove_named();
    void switch_off();

private:
    Work work() {
        return Work(run_, index_of(host_.id));
    }

    Run& run_;
    const HostTable& host_;
    std::vector<pd_entry> named_;
};

void Ageing::switch_on() {
    Work rows = work();
    const Device& device = run_.device;
    named_.reserve(rows.placed.size());
    rows.done(host_.register_callback(device.session, device.target.dev_id,
                                      reinterpret_cast<pd_driver_callback>(on_time_out), &named_),
              "registering for time-outs");
    const pd_idle_params params = {.mode = notify_mode,
                                   .params_a = look_interval,
                                   .params_b = 0, // no upper limit
                                   .params_c = time_to_live,
                                   .params_d = 0,
                                   .params_flag = 0};
    rows.done(host_.enable(device.session, device.target.dev_id, params), "switching idle time on");
}

void Ageing::expect_none_named() {
    if (!named_.empty()) work().differs(grouped(named_.size()) + " entries timed out before their time");
}

// Packets are no calls of the agent, and count for nothing.
void Ageing::send_packets() {
    const size_t table = index_of(host_.id);
    uint32_t table_handle = 0;
    check(host_.handle(&table_handle), "asking for a table's handle");
    for (const Placed& placed : run_.placed[table])
        if (gets_packets(placed.row))
            check(vl_model_entry_hit(run_.device.target.dev_id, table_handle, placed.handle), "sending a packet");
}

void Ageing::check_hits() {
    Work rows = work();
    const Device& device = run_.device;
    rows.done(host_.update_hit_state(device.session, device.target.dev_id, nullptr, nullptr), "updating hit states");
    for (const Placed& placed : rows.placed) {
        const Entry& entry = rows.entries[placed.row];
        uint32_t hit = 0;
        rows.done(host_.get_hit_state(device.session, device.target.dev_id, placed.handle, &hit),
                  "reading the hit state of", entry);
        if ((hit != 0) != gets_packets(placed.row))
            rows.differs("the hit state of " + to_text(entry.prefix) + " is " + std::to_string(hit));
    }
}

void Ageing::remove_named() {
    Work rows = work();
    const Device& device = run_.device;
    for (const pd_entry handle : named_) {
        const Placed* placed = rows.row_of(handle);
        if (placed == nullptr || rows.rows[placed->row] != RowState::standing) {
            rows.differs("handle " + std::to_string(handle) + " timed out, which no entry has any more");
            continue;
        }
        const Entry& entry = rows.entries[placed->row];
        if (gets_packets(placed->row)) rows.differs(to_text(entry.prefix) + " timed out, though a packet hit it");
        rows.done(host_.remove(device.session, device.target.dev_id, handle), "removing", entry);
        rows.rows[placed->row] = RowState::aged;
        ++rows.tally.aged;
    }
    for (size_t row = 0; row < rows.entries.size(); ++row)
        if (!gets_packets(row) && rows.rows[row] == RowState::standing)
            rows.differs(to_text(rows.entries[row].prefix) + " got no packet and didn't time out");
}

void Ageing::switch_off() {
    work().done(host_.disable(run_.device.session, run_.device.target.dev_id), "switching idle time off");
}

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
        table.expect_none_named();
        table.send_packets();
    }
    move_clock();
    for (Ageing& table : tables) {
        table.check_hits();
        table.remove_named();
        table.switch_off();
    }
}

} // namespace route_agent
