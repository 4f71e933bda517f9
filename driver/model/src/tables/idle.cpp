// Idle time at the boundary, and the clock that it runs on.
#include <algorithm>
#include <compare>

#include <vl_driver/idle.h>
#include <vl_model/traffic.h>

#include "core/model.h"

using namespace vl_model;

namespace {

// An entry that has run out of time.
struct TimeOut {
    uint64_t deadline;
    pipe_dev_id dev_id;
    pipe_tbl_hdl tbl_hdl;
    pipe_ent_hdl ent_hdl;
    auto operator<=>(const TimeOut&) const = default;
};

// In the order of the calls. Tables without a callback keep their time-outs until they get one. The mutex must be held.
std::vector<TimeOut> take_time_outs(const Model& m) {
    std::vector<TimeOut> time_outs;
    for (const auto& [dev_id, device] : m.devices) {
        for (const auto& [tbl_hdl, table] : device->tables) {
            Ageing* ageing = table->ageing.get();
            if (ageing == nullptr || !ageing->is_on() || ageing->time_outs.callback == nullptr) continue;
            for (const auto& [deadline, ent_hdl] : ageing->expire(m.now))
                time_outs.push_back({deadline, dev_id, tbl_hdl, ent_hdl});
        }
    }
    std::sort(time_outs.begin(), time_outs.end());
    return time_outs;
}

// Calls the callback, unless an earlier callback removed or renewed the entry. If the registration has ended meanwhile,
// the entry waits for the next one.
void tell(const TimeOut& time_out) {
    Subscriber<pipe_idle_tmo_cb> subscriber;
    std::optional<RunningCall> running;
    {
        const std::lock_guard lock(model().mutex);
        const auto device = model().devices.find(time_out.dev_id);
        if (device == model().devices.end()) return;
        const auto table = device->second->tables.find(time_out.tbl_hdl);
        if (table == device->second->tables.end()) return;
        Ageing* ageing = table->second->ageing.get();
        if (ageing == nullptr || !ageing->is_expired(time_out.ent_hdl)) return;
        subscriber = ageing->time_outs;
        running.emplace(subscriber.registration);
        if (!*running) return ageing->take_back(time_out.ent_hdl);
    }
    subscriber.callback(time_out.dev_id, time_out.tbl_hdl, time_out.ent_hdl, subscriber.cookie);
}

} // namespace

pipe_status pipe_mgr_idle_set_params(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                     pipe_idle_params params) {
    return device_call(__func__, sess_hdl, dev_id, tbl_hdl,
                       params)([&](Device& device) { device.table(tbl_hdl).ageing_entries().params = params; });
}

pipe_status pipe_mgr_idle_get_params(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                     pipe_idle_params* params) {
    return device_call(__func__, sess_hdl, dev_id, tbl_hdl, params)([&](Device& device) {
        const Ageing& ageing = device.table(tbl_hdl).ageing_entries();
        refuse_if(!ageing.params, VL_MODEL_NOT_FOUND);
        *params = *ageing.params;
    });
}

pipe_status pipe_mgr_idle_tmo_set_enable(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                         uint32_t enable) {
    return device_call(__func__, sess_hdl, dev_id, tbl_hdl, enable)([&](Device& device) {
        const Table& table = device.table(tbl_hdl);
        Ageing& ageing = table.ageing_entries();
        refuse_if(enable > 1, VL_MODEL_INVALID);
        if (enable == 0) return ageing.switch_off();
        refuse_if(!ageing.params, VL_MODEL_NOT_FOUND);
        ageing.switch_on(model().now, table.entries);
    });
}

pipe_status pipe_mgr_idle_register_tmo_cb(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_idle_tmo_cb callback, void* cookie) {
    return Boundary(__func__, sess_hdl, dev_id, tbl_hdl, callback, cookie)([&] {
        const auto replaced =
            lock_device(sess_hdl, dev_id)->table(tbl_hdl).ageing_entries().time_outs.replace(callback, cookie);
        end(replaced);
    });
}

pipe_status pipe_mgr_mat_ent_set_idle_ttl(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_ent_hdl ent_hdl, uint32_t ttl, uint32_t flags, uint32_t always_0) {
    return device_call(__func__, sess_hdl, dev_id, tbl_hdl, ent_hdl, ttl, flags, always_0)(
        [&](Device& device) { device.table(tbl_hdl).ageing_of(ent_hdl).set_ttl(ent_hdl, ttl, model().now); });
}

pipe_status pipe_mgr_mat_ent_get_idle_ttl(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_ent_hdl ent_hdl, uint32_t* ttl) {
    return device_call(__func__, sess_hdl, dev_id, tbl_hdl, ent_hdl,
                       ttl)([&](Device& device) { *ttl = device.table(tbl_hdl).ageing_of(ent_hdl).ttl(ent_hdl); });
}

pipe_status pipe_mgr_mat_ent_reset_idle_ttl(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                            pipe_ent_hdl ent_hdl) {
    return device_call(__func__, sess_hdl, dev_id, tbl_hdl, ent_hdl)(
        [&](Device& device) { device.table(tbl_hdl).ageing_of(ent_hdl).restart(ent_hdl, model().now); });
}

pipe_status pipe_mgr_idle_time_update_hit_state(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                                pipe_idle_hit_state_cb callback, void* cookie) {
    return Boundary(__func__, sess_hdl, dev_id, tbl_hdl, callback, cookie)([&] {
        lock_device(sess_hdl, dev_id)->table(tbl_hdl).ageing_entries().update_hit_states();
        call_once(callback, dev_id, cookie);
    });
}

pipe_status pipe_mgr_idle_time_get_hit_state(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                             pipe_ent_hdl ent_hdl, uint32_t* hit_state) {
    return device_call(__func__, sess_hdl, dev_id, tbl_hdl, ent_hdl, hit_state)([&](Device& device) {
        const bool was_hit = device.table(tbl_hdl).ageing_of(ent_hdl).hit_state(ent_hdl);
        *hit_state = was_hit ? PIPE_IDLE_HIT : PIPE_IDLE_NOT_HIT;
    });
}

uint32_t vl_model_entry_hit(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl) {
    return guarded([&] { lock_device(dev_id)->table(tbl_hdl).ageing_of(ent_hdl).hit(ent_hdl, model().now); });
}

uint32_t vl_model_clock_advance(uint32_t milliseconds) {
    return guarded([&] {
        std::vector<TimeOut> time_outs;
        {
            const auto m = lock_model();
            m->now += milliseconds;
            time_outs = take_time_outs(*m);
        }
        for (const TimeOut& time_out : time_outs)
            tell(time_out);
    });
}
