// The phases, each a loop over the tables. All calls to the driver that work on entries are made here.
#include "route_agent/phases.h"

#include <algorithm>

#include "route_agent/route_tables.h"
#include "vl_model/control.h"

namespace route_agent {
namespace {

constexpr std::size_t handles_per_walk_call = 512;
constexpr std::size_t most_differences_told = 10; // per table

// A table in the hands of a phase. Its time counts for the table while it lives.
class Work {
public:
    Work(Run& of_run, std::size_t index)
        : run(of_run),
          table(route_table(static_cast<TableId>(index))),
          entries(of_run.plan[index]),
          removed(of_run.removed[index]),
          placed(of_run.placed[index]),
          tally(of_run.tallies[index]) {}
    ~Work() {
        tally.busy += std::chrono::steady_clock::now() - start_;
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    // Counts the call and demands that it succeeded.
    void done(pd_status status, const char* what) {
        ++tally.calls;
        if (status != PD_STATUS_OK) {
            throw Refused(std::string(table.name) + ": " + what, status);
        }
    }
    void done(pd_status status, const char* what, const Entry& entry) {
        ++tally.calls;
        if (status != PD_STATUS_OK) {
            throw Refused(std::string(table.name) + ": " + what + " " + to_text(entry.prefix), status);
        }
    }
    void differs(const std::string& how) {
        if (++tally.differences <= most_differences_told) {
            run.progress.message(std::string(table.name) + ": " + how);
        } else if (tally.differences == most_differences_told + 1) {
            run.progress.message(std::string(table.name) + ": more differences, which are only counted");
        }
    }

    Run& run;
    const RouteTable& table;
    const std::vector<Entry>& entries;
    std::vector<bool>& removed;
    std::vector<Placed>& placed;
    Tally& tally;

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// Calls `visit(handle)` for every entry that the driver lists, until it returns false.
template <class Visit>
void walk(Work& work, Visit&& visit) {
    const Device& device = work.run.device;
    pd_entry handle = 0;
    const pd_status status = work.table.first(device, handle);
    if (status == VL_MODEL_NOT_FOUND) {
        ++work.tally.calls; // an empty table has no first entry
        return;
    }
    work.done(status, "asking for the first entry");
    if (!visit(handle)) {
        return;
    }
    std::array<pd_entry, handles_per_walk_call> batch{};
    for (;;) {
        work.done(work.table.next(device, handle, batch), "asking for the next entries");
        for (const pd_entry next : batch) {
            if (next == PD_HDL_END || !visit(next)) {
                return;
            }
            handle = next;
        }
    }
}

std::uint32_t driver_count(Work& work) {
    std::uint32_t count = 0;
    work.done(work.table.count(work.run.device, count), "counting the entries");
    return count;
}

// Reads one entry and says if it is as meant.
bool reads_equal(Work& work, pd_entry handle, const Entry& entry) {
    Content content;
    work.done(work.table.read(work.run.device, handle, content), "reading", entry);
    const Content meant = work.table.meant(work.run.device, entry);
    if (content == meant) {
        return true;
    }
    work.differs("meant " + to_text(meant) + ", read " + to_text(content));
    return false;
}

// Every entry that was placed and not removed must come up in the walk, once, and read as meant. Returns how many did.
std::size_t check_standing(Work& work) {
    const std::size_t meant_count =
        work.entries.size() - static_cast<std::size_t>(std::ranges::count(work.removed, true));
    if (const std::uint32_t count = driver_count(work); count != meant_count) {
        work.differs("the driver counts " + grouped(count) + " entries, meant are " + grouped(meant_count));
    }
    std::vector<bool> seen(work.entries.size(), false);
    std::size_t walked = 0;
    std::size_t equal = 0;
    walk(work, [&](pd_entry handle) {
        if (++walked > work.entries.size()) {
            work.differs("the walk goes on after " + grouped(work.entries.size()) + " entries; not followed");
            return false;
        }
        const auto found = std::ranges::lower_bound(work.placed, handle, {}, &Placed::handle);
        if (found == work.placed.end() || found->handle != handle) {
            work.differs("the walk gives handle " + std::to_string(handle) + ", which no entry has");
            return true;
        }
        const Entry& entry = work.entries[found->row];
        if (seen[found->row]) {
            work.differs("the walk gives " + to_text(entry.prefix) + " again");
            return true;
        }
        seen[found->row] = true;
        if (work.removed[found->row]) {
            work.differs(to_text(entry.prefix) + " was deleted and still stands");
        } else if (reads_equal(work, handle, entry)) {
            ++equal;
        }
        work.run.progress.step();
        return true;
    });
    for (std::size_t row = 0; row < seen.size(); ++row) {
        if (!seen[row] && !work.removed[row]) {
            work.differs("the walk leaves out " + to_text(work.entries[row].prefix));
        }
    }
    return equal;
}

void check_gone(Work& work) {
    for (std::size_t row = 0; row < work.entries.size(); ++row) {
        if (!work.removed[row]) {
            continue;
        }
        const Entry& entry = work.entries[row];
        pd_entry handle = 0;
        const pd_status status = work.table.find(work.run.device, entry, handle);
        if (status == PD_STATUS_OK) {
            ++work.tally.calls;
            work.differs(to_text(entry.prefix) + " was deleted and is still found");
        } else if (status == VL_MODEL_NOT_FOUND) {
            ++work.tally.calls;
        } else {
            work.done(status, "looking for", entry);
        }
        work.run.progress.step();
    }
}

} // namespace

void program(Run& run) {
    run.progress.begin_phase("programming", entry_count(run.plan));
    for (std::size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        work.placed.reserve(work.entries.size());
        for (std::uint32_t row = 0; row < work.entries.size(); ++row) {
            pd_entry handle = 0;
            work.done(work.table.add(run.device, work.entries[row], handle), "adding", work.entries[row]);
            work.placed.push_back({handle, row});
            ++work.tally.added;
            run.progress.step();
        }
        std::ranges::sort(work.placed, {}, &Placed::handle);
    }
}

void read_back(Run& run) {
    run.progress.begin_phase("reading back", entry_count(run.plan));
    for (std::size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        work.tally.read_equal = check_standing(work);
    }
}

void remove_every_second(Run& run) {
    run.removed = select_every_second(run.plan);
    std::size_t count = 0;
    for (const std::vector<bool>& marks : run.removed) {
        count += static_cast<std::size_t>(std::ranges::count(marks, true));
    }
    run.progress.begin_phase("removing", count);
    for (std::size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        for (std::size_t row = 0; row < work.entries.size(); ++row) {
            if (work.removed[row]) {
                work.done(work.table.remove(run.device, work.entries[row]), "deleting", work.entries[row]);
                ++work.tally.deleted;
                run.progress.step();
            }
        }
    }
}

void verify_rest(Run& run) {
    run.progress.begin_phase("verifying", entry_count(run.plan));
    for (std::size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        check_standing(work);
        check_gone(work);
    }
}

void count_left(Run& run) {
    for (std::size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        work.tally.left = driver_count(work);
    }
}

bool all_as_meant(const Run& run) {
    for (std::size_t i = 0; i < table_count; ++i) {
        const Tally& tally = run.tallies[i];
        const std::size_t planned = run.plan[i].size();
        if (tally.differences != 0 || tally.added != planned || tally.read_equal != planned ||
            tally.deleted != static_cast<std::size_t>(std::ranges::count(run.removed[i], true)) ||
            tally.left != planned - tally.deleted) {
            return false;
        }
    }
    return true;
}

} // namespace route_agent
