// What the phases share: they count calls and differences per table, demand success, and walk lists of handles.
#pragma once

#include <array>
#include <span>
#include <string>

#include "route_agent/route_tables.h"
#include "route_agent/run.h"
#include "vl_model/control.h"

namespace route_agent {

inline std::string subject_text(const Entry& entry) {
    return to_text(entry.prefix);
}

inline std::string subject_text(const char* text) {
    return text;
}

inline std::string subject_text(size_t number) {
    return std::to_string(number);
}

// Calls and differences that count for one tally.
class Account {
public:
    Account(Run& of_run, const char* of_name, Tally& into) : run(of_run), name(of_name), tally(into) {}

    // Counts the call and demands that it succeeded.
    void done(pd_status status, const char* what) {
        ++tally.calls;
        if (status != PD_STATUS_OK) throw Refused(std::string(name) + ": " + what, status);
    }
    // The same for a call that concerns something: an entry, or what a text or a number says.
    template <class Subject>
    void done(pd_status status, const char* what, const Subject& subject) {
        ++tally.calls;
        if (status != PD_STATUS_OK)
            throw Refused(std::string(name) + ": " + what + " " + subject_text(subject), status);
    }
    // Counts a call that may fail with `other`; true if it did.
    template <class Subject>
    bool done_unless(pd_status other, pd_status status, const char* what, const Subject& subject) {
        if (status != other) {
            done(status, what, subject);
            return false;
        }
        ++tally.calls;
        return true;
    }
    void differs(const std::string& how);

    Run& run;
    const char* name;
    Tally& tally;
};

// Time that counts for a tally while this lives.
class Stopwatch {
public:
    explicit Stopwatch(Tally& tally) : tally_(tally) {}
    ~Stopwatch() {
        tally_.busy += std::chrono::steady_clock::now() - start_;
    }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

private:
    Tally& tally_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// A route table in the hands of a phase.
class Work : public Account {
public:
    Work(Run& of_run, size_t index)
        : Account(of_run, route_table(static_cast<TableId>(index)).name, of_run.tallies[index]),
          table(route_table(static_cast<TableId>(index))),
          entries(of_run.plan.tables[index]),
          rows(of_run.rows[index]),
          placed(of_run.placed[index]),
          stopwatch_(of_run.tallies[index]) {}

    // The row that has the handle, or null.
    const Placed* row_of(pd_entry handle) const;
    // How many rows are in a state.
    size_t count(RowState state) const;

    const RouteTable& table;
    const std::vector<Entry>& entries;
    std::vector<RowState>& rows;
    std::vector<Placed>& placed;

private:
    Stopwatch stopwatch_;
};

inline constexpr size_t handles_per_walk_call = 512;

// Calls `visit(handle)` for all handles that the driver lists, but no more than `most`. `first(handle)` and
// `next(handle, handles)` are the calls that ask for them.
template <class First, class Next, class Visit>
void walk(Account& account, size_t most, First&& first, Next&& next, Visit&& visit) {
    uint32_t handle = 0;
    if (account.done_unless(VL_MODEL_NOT_FOUND, first(handle), "asking for", "the first handle"))
        return; // the list is empty
    std::array<uint32_t, handles_per_walk_call> batch{};
    batch.front() = handle;
    std::span<const uint32_t> handles(batch.data(), 1);
    for (size_t walked = 0;;) {
        for (const uint32_t listed : handles) {
            if (listed == PD_HDL_END) return;
            if (walked++ == most) {
                account.differs("the walk goes on after " + grouped(most) + " handles; not followed");
                return;
            }
            visit(listed);
            handle = listed;
        }
        account.done(next(handle, std::span(batch)), "asking for the next handles");
        handles = batch;
    }
}

} // namespace route_agent
