// The idle time of one table's entries. A queue holds them by deadline. An entry that a packet hit moves in the queue
// only when its old deadline comes: a hit looks at no other entry, a step of the clock only at those whose time has
// come. A table whose idle time was never used costs nothing. Callers hold the model's mutex.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include <vl_driver/idle.h>

#include "core/callbacks.h"
#include "tables/table_store.h"

namespace vl_model {

class Ageing {
public:
    using Deadline = std::pair<uint64_t, pipe_ent_hdl>; // and its entry

    std::optional<pipe_idle_params> params; // take effect when idle time is switched on
    Subscriber<pipe_idle_tmo_cb> time_outs;

    bool is_on() const {
        return on_;
    }
    // Starts the time of all entries.
    void switch_on(uint64_t now, const TableStore& entries);
    void switch_off();

    // Starts a new entry. A ttl of 0 means the table's default.
    void start(pipe_ent_hdl ent_hdl, uint32_t ttl, uint64_t now);
    void forget(pipe_ent_hdl ent_hdl);

    // A ttl of 0 means never.
    void set_ttl(pipe_ent_hdl ent_hdl, uint32_t ttl, uint64_t now);
    uint32_t ttl(pipe_ent_hdl ent_hdl) const;

    // Both start the entry's time again.
    void restart(pipe_ent_hdl ent_hdl, uint64_t now);
    void hit(pipe_ent_hdl ent_hdl, uint64_t now);

    void update_hit_states();
    bool hit_state(pipe_ent_hdl ent_hdl) const;

    // The entries that have run out of time since the last call.
    std::vector<Deadline> expire(uint64_t now);
    // The next `expire` will give the entry again.
    void take_back(pipe_ent_hdl ent_hdl);
    // False once the entry's time has started again.
    bool is_expired(pipe_ent_hdl ent_hdl) const;

private:
    struct Record {
        uint64_t started = 0;
        uint64_t queued = never; // the entry's deadline in the queue
        uint32_t ttl = 0;
        bool has_own_ttl = false;
        bool expired = false;
        bool hit = false;       // in hardware
        bool hit_state = false; // as last read from there
    };
    static constexpr uint64_t never = UINT64_MAX;

    Record& record(pipe_ent_hdl ent_hdl);
    Record copy(pipe_ent_hdl ent_hdl) const;
    template <class Change>
    void renew(pipe_ent_hdl ent_hdl, uint64_t now, Change change);
    uint32_t effective_ttl(const Record& entry) const;
    void enqueue(pipe_ent_hdl ent_hdl, Record& entry);
    void dequeue(pipe_ent_hdl ent_hdl, Record& entry);

    bool on_ = false;
    pipe_idle_params active_{};
    uint64_t on_since_ = 0;
    std::vector<Record> records_; // by handle, as far as needed
    std::set<Deadline> queue_;
};

} // namespace vl_model
