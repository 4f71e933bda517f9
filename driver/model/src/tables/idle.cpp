// Idle time at the boundary, and the clock that it runs on.
#include <algorithm>
#include <tuple>

#include <vl_driver/idle.h>

#include "core/boundary.h"
#include "core/model.h"

using namespace vl_model;

namespace {

template <class Body>
pipe_status with_ageing(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, Body&& body) {
    return with_table(sess_hdl, dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
        return table.ageing == nullptr ? pipe_status{VL_MODEL_NOT_SUPPORTED} : body(table, *table.ageing);
    });
}

// The default entry doesn't age.
template <class Body>
pipe_status with_ageing_entry(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, pipe_ent_hdl ent_hdl,
                              Body&& body) {
    return with_ageing(sess_hdl, dev_id, tbl_hdl, [&](const Table& table, Ageing& ageing) -> pipe_status {
        if (!table.entries.has(ent_hdl)) return VL_MODEL_NOT_FOUND;
        body(ageing);
        return VL_MODEL_OK;
    });
}

// An entry whose time-out is to be told.
struct TimeOut {
    uint64_t deadline;
    pipe_dev_id dev_id;
    pipe_tbl_hdl tbl_hdl;
    pipe_ent_hdl ent_hdl;

    bool operator<(const TimeOut& other) const {
        return std::tie(deadline, dev_id, tbl_hdl, ent_hdl) <
               std::tie(other.deadline, other.dev_id, other.tbl_hdl, other.ent_hdl);
    }
};

// Tables without a callback keep theirs until they get one. The mutex must be held.
std::vector<TimeOut> take_time_outs(const Model& m) {
    std::vector<TimeOut> time_outs;
    std::vector<IdleEntry> expired;
    for (const auto& [dev_id, device] : m.devices) {
        for (const auto& [tbl_hdl, table] : device->tables) {
            Ageing* ageing = table->ageing.get();
            if (ageing == nullptr || !ageing->is_on() || ageing->time_outs.callback == nullptr) continue;
            expired.clear();
            ageing->expire(m.now, expired);
            for (const IdleEntry& entry : expired)
                time_outs.push_back({entry.deadline, dev_id, tbl_hdl, entry.ent_hdl});
        }
    }
    std::sort(time_outs.begin(), time_outs.end());
    return time_outs;
}

// Tells nobody if an earlier callback removed or renewed the entry. If the registration has ended meanwhile, the entry
// waits for the next one.
void tell(const TimeOut& time_out) {
    Subscriber<pipe_idle_tmo_cb> subscriber;
    std::optional<RunningCall> running;
    {
        const std::lock_guard lock(model().mutex);
        pipe_status status = VL_MODEL_OK;
        Table* table = find_table(time_out.dev_id, time_out.tbl_hdl, status);
        if (table == nullptr || table->ageing == nullptr || !table->ageing->is_expired(time_out.ent_hdl)) return;
        subscriber = table->ageing->time_outs;
        running.emplace(subscriber.registration);
        if (!*running) {
            table->ageing->take_back(time_out.ent_hdl);
            return;
        }
    }
    subscriber.callback(time_out.dev_id, time_out.tbl_hdl, time_out.ent_hdl, subscriber.cookie);
}

} // namespace

pipe_status pipe_mgr_idle_set_params(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                     pipe_idle_params params) {
    const auto body = [&]() -> pipe_status {
        return with_ageing(sess_hdl, dev_id, tbl_hdl, [&](const Table&, Ageing& ageing) -> pipe_status {
            ageing.params = params;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_idle_set_params", body, sess_hdl, dev_id, tbl_hdl, params);
}

pipe_status pipe_mgr_idle_get_params(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                     pipe_idle_params* params) {
    const auto body = [&]() -> pipe_status {
        if (params == nullptr) return VL_MODEL_INVALID;
        return with_ageing(sess_hdl, dev_id, tbl_hdl, [&](const Table&, const Ageing& ageing) -> pipe_status {
            if (!ageing.params) return VL_MODEL_NOT_FOUND;
            *params = *ageing.params;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_idle_get_params", body, sess_hdl, dev_id, tbl_hdl, params);
}

pipe_status pipe_mgr_idle_tmo_set_enable(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                         uint32_t enable) {
    const auto body = [&]() -> pipe_status {
        return with_ageing(sess_hdl, dev_id, tbl_hdl, [&](const Table& table, Ageing& ageing) -> pipe_status {
            if (enable > 1) return VL_MODEL_INVALID;
            if (enable == 0) {
                ageing.switch_off();
                return VL_MODEL_OK;
            }
            if (!ageing.params) return VL_MODEL_NOT_FOUND;
            ageing.switch_on(model().now, table.entries);
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_idle_tmo_set_enable", body, sess_hdl, dev_id, tbl_hdl, enable);
}

pipe_status pipe_mgr_idle_register_tmo_cb(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_idle_tmo_cb callback, void* cookie) {
    const auto body = [&]() -> pipe_status {
        std::shared_ptr<Registration> replaced;
        const pipe_status status =
            with_ageing(sess_hdl, dev_id, tbl_hdl, [&](const Table&, Ageing& ageing) -> pipe_status {
                replaced = ageing.time_outs.replace(callback, cookie);
                return VL_MODEL_OK;
            });
        end(replaced);
        return status;
    };
    return boundary("pipe_mgr_idle_register_tmo_cb", body, sess_hdl, dev_id, tbl_hdl, callback, cookie);
}

pipe_status pipe_mgr_mat_ent_set_idle_ttl(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_ent_hdl ent_hdl, uint32_t ttl, uint32_t flags, uint32_t always_0) {
    const auto body = [&]() -> pipe_status {
        return with_ageing_entry(sess_hdl, dev_id, tbl_hdl, ent_hdl,
                                 [&](Ageing& ageing) { ageing.set_ttl(ent_hdl, ttl, model().now); });
    };
    return boundary("pipe_mgr_mat_ent_set_idle_ttl", body, sess_hdl, dev_id, tbl_hdl, ent_hdl, ttl, flags, always_0);
}

pipe_status pipe_mgr_mat_ent_get_idle_ttl(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_ent_hdl ent_hdl, uint32_t* ttl) {
    const auto body = [&]() -> pipe_status {
        if (ttl == nullptr) return VL_MODEL_INVALID;
        return with_ageing_entry(sess_hdl, dev_id, tbl_hdl, ent_hdl,
                                 [&](const Ageing& ageing) { *ttl = ageing.ttl(ent_hdl); });
    };
    return boundary("pipe_mgr_mat_ent_get_idle_ttl", body, sess_hdl, dev_id, tbl_hdl, ent_hdl, ttl);
}

pipe_status pipe_mgr_mat_ent_reset_idle_ttl(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                            pipe_ent_hdl ent_hdl) {
    const auto body = [&]() -> pipe_status {
        return with_ageing_entry(sess_hdl, dev_id, tbl_hdl, ent_hdl,
                                 [&](Ageing& ageing) { ageing.restart(ent_hdl, model().now); });
    };
    return boundary("pipe_mgr_mat_ent_reset_idle_ttl", body, sess_hdl, dev_id, tbl_hdl, ent_hdl);
}

pipe_status pipe_mgr_idle_time_update_hit_state(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                                pipe_idle_hit_state_cb callback, void* cookie) {
    const auto body = [&]() -> pipe_status {
        const pipe_status status =
            with_ageing(sess_hdl, dev_id, tbl_hdl, [&](const Table&, Ageing& ageing) -> pipe_status {
                ageing.update_hit_states();
                return VL_MODEL_OK;
            });
        if (status == VL_MODEL_OK && callback != nullptr) {
            const WithinCallback within;
            callback(dev_id, cookie);
        }
        return status;
    };
    return boundary("pipe_mgr_idle_time_update_hit_state", body, sess_hdl, dev_id, tbl_hdl, callback, cookie);
}

pipe_status pipe_mgr_idle_time_get_hit_state(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                             pipe_ent_hdl ent_hdl, uint32_t* hit_state) {
    const auto body = [&]() -> pipe_status {
        if (hit_state == nullptr) return VL_MODEL_INVALID;
        return with_ageing_entry(sess_hdl, dev_id, tbl_hdl, ent_hdl, [&](const Ageing& ageing) {
            *hit_state = ageing.hit_state(ent_hdl) ? PIPE_IDLE_HIT : PIPE_IDLE_NOT_HIT;
        });
    };
    return boundary("pipe_mgr_idle_time_get_hit_state", body, sess_hdl, dev_id, tbl_hdl, ent_hdl, hit_state);
}

uint32_t vl_model_entry_hit(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl) {
    const auto body = [&]() -> pipe_status {
        const std::lock_guard lock(model().mutex);
        pipe_status status = VL_MODEL_OK;
        Table* table = find_table(dev_id, tbl_hdl, status);
        if (table == nullptr) return status;
        if (table->ageing == nullptr) return VL_MODEL_NOT_SUPPORTED;
        if (!table->entries.has(ent_hdl)) return VL_MODEL_NOT_FOUND;
        table->ageing->hit(ent_hdl, model().now);
        return VL_MODEL_OK;
    };
    return run_guarded(body);
}

uint32_t vl_model_clock_advance(uint32_t milliseconds) {
    const auto body = [&]() -> pipe_status {
        std::vector<TimeOut> time_outs;
        {
            Model& m = model();
            const std::lock_guard lock(m.mutex);
            m.now += milliseconds;
            time_outs = take_time_outs(m);
        }
        for (const TimeOut& time_out : time_outs)
            tell(time_out);
        return VL_MODEL_OK;
    };
    return run_guarded(body);
}
