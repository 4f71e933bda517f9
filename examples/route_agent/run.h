// The state of a run: the plan, what is on the switch by now, and the counts for the report. Also the tools that the
// phases share: they count calls and differences, demand success, and walk lists of handles.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "route_agent/progress.h"
#include "route_agent/route_tables.h"
#include "vl_model/control.h"

namespace route_agent {

using Clock = std::chrono::steady_clock;

// The counts for one table, or for the groups or members of the ECMP profile.
struct Tally {
    size_t added = 0;
    size_t read_equal = 0; // after the last load
    size_t aged = 0;       // removed because no packet hit them
    size_t deleted = 0;
    size_t left = 0;        // entries that the driver counts at the end
    size_t in_hardware = 0; // entries that the hardware holds as placed, at the end
    size_t differences = 0; // in all phases
    size_t calls = 0;
    Clock::duration busy{}; // the time that the phases spent on it
};

enum class RowState : uint8_t { to_come, standing, aged, deleted };

// Where the driver put an entry of the plan.
struct Placed {
    pd_entry handle;
    uint32_t row;
};

// Packets that were sent at one time.
struct Sent {
    std::string when; // "after ageing"
    size_t addresses = 0;
    size_t in_list = 0; // that have a route in the list, which stands
    size_t astray = 0;
    Clock::duration busy{};
};

// A group of the plan on the switch.
struct GroupState {
    RowState state = RowState::to_come;
    unsigned path_count = 0;
    // A restarted agent doesn't know these.
    pd_group handle = 0;
    std::vector<pd_member> members; // in the order of the paths
};

struct Run {
    Run(const Device& on_device, const Plan& of_plan, Progress& shown_on)
        : device(on_device),
          plan(of_plan),
          progress(shown_on),
          groups(of_plan.groups.size()) {
        for (size_t i = 0; i < table_count; ++i)
            rows[i].assign(plan.tables[i].size(), RowState::to_come);
    }

    const Device& device;
    const Plan& plan;
    Progress& progress;
    PerTable<Tally> tallies{};
    PerTable<std::vector<RowState>> rows{};
    PerTable<std::vector<Placed>> placed{}; // sorted by handle
    Tally ecmp_entries, ecmp_groups, ecmp_members;
    std::vector<GroupState> groups; // as in the plan
    std::vector<Route> routes;      // the list, sorted by prefix; only send_packets() reads it
    size_t packets = 0;             // the least number that send_packets() sends
    std::vector<Sent> sent;
};

// Counts calls and differences for one tally, and the time while this exists.
class Account {
public:
    Account(Run& of_run, const char* of_name, Tally& into) : run(of_run), name(of_name), tally(into) {}
    ~Account() {
        tally.busy += Clock::now() - start_;
    }
    Account(const Account&) = delete;
    Account& operator=(const Account&) = delete;

    // Counts the call and demands that it succeeded. `what` says what was tried: "adding ", prefix.
    template <class... What>
    void done(pd_status status, const What&... what) {
        ++tally.calls;
        if (status != PD_STATUS_OK) throw Refused(text_of(name, ": ", what...), status);
    }
    // Counts a call that may fail with `other`; true if it did.
    template <class... What>
    bool done_unless(pd_status other, pd_status status, const What&... what) {
        done(status == other ? pd_status{PD_STATUS_OK} : status, what...);
        return status == other;
    }
    // Counts a difference. Only the first ones of a tally are shown.
    template <class... How>
    void differs(const How&... how) {
        constexpr size_t most_shown = 10;
        if (++tally.differences <= most_shown)
            run.progress.message(text_of(name, ": ", how...));
        else if (tally.differences == most_shown + 1)
            run.progress.message(text_of(name, ": more differences, which are only counted"));
    }
    // Takes the result of compare_placement().
    template <class... Subject>
    void compared(const std::string& difference, const Subject&... subject) {
        if (difference.empty())
            ++tally.in_hardware;
        else
            differs(subject..., " in hardware: ", difference);
    }

    Run& run;
    const char* name;
    Tally& tally;

private:
    Clock::time_point start_ = Clock::now();
};

// A phase's work on a route table.
struct Work : Account {
    Work(Run& of_run, size_t index)
        : Account(of_run, route_tables[index].name, of_run.tallies[index]),
          table(route_tables[index]),
          entries(of_run.plan.tables[index]),
          rows(of_run.rows[index]),
          placed(of_run.placed[index]) {}

    // The row that has the handle, or null.
    const Placed* row_of(pd_entry handle) const {
        const auto found = std::ranges::lower_bound(placed, handle, {}, &Placed::handle);
        return found != placed.end() && found->handle == handle ? &*found : nullptr;
    }

    const RouteTable& table;
    const std::vector<Entry>& entries;
    std::vector<RowState>& rows;
    std::vector<Placed>& placed;
};

// Calls `visit(handle)` for all handles that the driver lists, but for no more than `most`. `first` and `next` are the
// library's functions for the list, with their leading arguments bound.
template <class First, class Next, class Visit>
void walk(Account& account, size_t most, const First& first, const Next& next, Visit&& visit) {
    uint32_t handle = 0;
    if (account.done_unless(VL_MODEL_NOT_FOUND, first(&handle), "asking for the first handle"))
        return; // the list is empty
    std::array<uint32_t, 512> batch{};
    batch.front() = handle;
    std::span<const uint32_t> handles(batch.data(), 1);
    for (size_t walked = 0;;) {
        for (const uint32_t listed : handles) {
            if (listed == PD_HDL_END) return;
            if (walked++ == most) {
                account.differs("the walk goes on after ", grouped(most), " handles; stopped");
                return;
            }
            visit(listed);
            handle = listed;
        }
        account.done(next(handle, uint32_t{batch.size()}, batch.data()), "asking for the next handles");
        handles = batch;
    }
}

} // namespace route_agent
