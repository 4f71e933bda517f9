// See ageing.h. Relies on a clock that never goes back.
#include "tables/ageing.h"

#include <algorithm>
#include <utility>

namespace vl_model {

Ageing::Record& Ageing::record(pipe_ent_hdl ent_hdl) {
    if (records_.size() <= ent_hdl) records_.resize(size_t{ent_hdl} + 1);
    return records_[ent_hdl];
}

Ageing::Record Ageing::copy(pipe_ent_hdl ent_hdl) const {
    return ent_hdl < records_.size() ? records_[ent_hdl] : Record{};
}

uint32_t Ageing::effective_ttl(const Record& entry) const {
    if (!on_ || active_.mode != PIPE_IDLE_MODE_NOTIFY) return entry.ttl;
    const uint64_t ttl = entry.has_own_ttl ? entry.ttl : active_.params_c;
    const uint32_t longest = active_.params_b != 0 ? active_.params_b : UINT32_MAX;
    return static_cast<uint32_t>(std::min<uint64_t>(ttl, longest));
}

// An entry that is queued with an earlier deadline keeps its place, and moves when that deadline comes.
void Ageing::enqueue(pipe_ent_hdl ent_hdl, Record& entry) {
    const uint32_t ttl = on_ && active_.mode == PIPE_IDLE_MODE_NOTIFY ? effective_ttl(entry) : 0;
    if (ttl == 0) return dequeue(ent_hdl, entry);
    const uint64_t deadline = entry.started + ttl;
    if (entry.queued <= deadline) return;
    queue_.emplace(deadline, ent_hdl); // may fail, so it comes first
    dequeue(ent_hdl, entry);
    entry.queued = deadline;
}

void Ageing::dequeue(pipe_ent_hdl ent_hdl, Record& entry) {
    if (entry.queued != never) queue_.erase({std::exchange(entry.queued, never), ent_hdl});
}

void Ageing::switch_on(uint64_t now, const TableStore& entries) {
    switch_off();
    active_ = *params;
    on_since_ = now;
    on_ = true;
    for (pipe_ent_hdl ent_hdl = entries.first(); ent_hdl != 0; ent_hdl = entries.next(ent_hdl)) {
        Record& entry = record(ent_hdl);
        entry.started = now;
        enqueue(ent_hdl, entry);
    }
}

void Ageing::switch_off() {
    on_ = false;
    queue_.clear();
    for (Record& entry : records_) {
        entry.queued = never;
        entry.expired = false;
        entry.hit = false;
        entry.hit_state = false;
    }
}

void Ageing::start(pipe_ent_hdl ent_hdl, uint32_t ttl, uint64_t now) {
    if (!on_ && ttl == 0) return;
    Record& entry = record(ent_hdl);
    entry.started = now;
    entry.ttl = ttl;
    entry.has_own_ttl = ttl != 0;
    enqueue(ent_hdl, entry);
}

void Ageing::forget(pipe_ent_hdl ent_hdl) {
    if (ent_hdl < records_.size()) {
        dequeue(ent_hdl, records_[ent_hdl]);
        records_[ent_hdl] = {};
    }
}

// Changes an entry and starts its time again. If memory runs out, nothing has changed.
template <class Change>
void Ageing::renew(pipe_ent_hdl ent_hdl, uint64_t now, Change change) {
    Record renewed = record(ent_hdl);
    change(renewed);
    renewed.started = now;
    renewed.expired = false;
    enqueue(ent_hdl, renewed);
    records_[ent_hdl] = renewed;
}

void Ageing::set_ttl(pipe_ent_hdl ent_hdl, uint32_t ttl, uint64_t now) {
    renew(ent_hdl, now, [&](Record& entry) {
        entry.ttl = ttl;
        entry.has_own_ttl = true;
    });
}

uint32_t Ageing::ttl(pipe_ent_hdl ent_hdl) const {
    return effective_ttl(copy(ent_hdl));
}

void Ageing::restart(pipe_ent_hdl ent_hdl, uint64_t now) {
    renew(ent_hdl, now, [](Record&) {});
}

void Ageing::hit(pipe_ent_hdl ent_hdl, uint64_t now) {
    if (on_) renew(ent_hdl, now, [](Record& entry) { entry.hit = true; });
}

void Ageing::update_hit_states() {
    for (Record& entry : records_)
        entry.hit_state = std::exchange(entry.hit, false);
}

bool Ageing::hit_state(pipe_ent_hdl ent_hdl) const {
    return copy(ent_hdl).hit_state;
}

std::vector<Ageing::Deadline> Ageing::expire(uint64_t now) {
    std::vector<Deadline> expired;
    const uint64_t interval = active_.params_a;
    const uint64_t looked_at = interval != 0 ? now - (now - on_since_) % interval : now;
    while (!queue_.empty() && queue_.begin()->first <= looked_at) {
        const pipe_ent_hdl ent_hdl = queue_.begin()->second;
        Record& entry = records_[ent_hdl];
        dequeue(ent_hdl, entry);
        const uint64_t deadline = entry.started + effective_ttl(entry);
        if (deadline > looked_at) {
            enqueue(ent_hdl, entry);
        } else {
            expired.emplace_back(deadline, ent_hdl);
            entry.expired = true;
        }
    }
    return expired;
}

void Ageing::take_back(pipe_ent_hdl ent_hdl) {
    Record& entry = record(ent_hdl);
    entry.expired = false;
    enqueue(ent_hdl, entry);
}

bool Ageing::is_expired(pipe_ent_hdl ent_hdl) const {
    return copy(ent_hdl).expired;
}

} // namespace vl_model
