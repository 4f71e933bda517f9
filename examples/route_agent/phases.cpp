// The phases that are loops over all tables.
#include "route_agent/phases.h"

#include <algorithm>
#include <span>

#include "route_agent/ecmp.h"
#include "route_agent/work.h"

namespace route_agent {
namespace {

uint32_t driver_count(Work& work) {
    uint32_t count = 0;
    work.done(work.table.count(work.run.device, count), "counting the entries");
    return count;
}

// Reads one entry and says if it is as meant.
bool reads_equal(Work& work, pd_entry handle, const Entry& entry) {
    Content content;
    work.done(work.table.read(work.run.device, handle, content), "reading", entry);
    const Content meant = work.table.meant(work.run.device, entry);
    if (content == meant) return true;
    work.differs("meant " + to_text(meant) + ", read " + to_text(content));
    return false;
}

// Every entry that stands must come up in the walk, once, and read as meant. Returns how many did.
size_t check_standing(Work& work) {
    const Device& device = work.run.device;
    const size_t meant_count = work.count(RowState::standing);
    if (const uint32_t count = driver_count(work); count != meant_count)
        work.differs("the driver counts " + grouped(count) + " entries, meant are " + grouped(meant_count));
    std::vector<bool> seen(work.entries.size(), false);
    size_t equal = 0;
    const auto first = [&](pd_entry& handle) { return work.table.first(device, handle); };
    const auto next = [&](pd_entry handle, std::span<pd_entry> handles) {
        return work.table.next(device, handle, handles);
    };
    walk(work, work.entries.size(), first, next, [&](pd_entry handle) {
        const Placed* placed = work.row_of(handle);
        if (placed == nullptr) {
            work.differs("the walk gives handle " + std::to_string(handle) + ", which no entry has");
            return;
        }
        const Entry& entry = work.entries[placed->row];
        if (seen[placed->row]) {
            work.differs("the walk gives " + to_text(entry.prefix) + " again");
            return;
        }
        seen[placed->row] = true;
        if (work.rows[placed->row] != RowState::standing) {
            work.differs(to_text(entry.prefix) + " was deleted and still stands");
        } else if (reads_equal(work, handle, entry)) {
            ++equal;
        }
        work.run.progress.step();
    });
    for (size_t row = 0; row < seen.size(); ++row)
        if (!seen[row] && work.rows[row] == RowState::standing)
            work.differs("the walk leaves out " + to_text(work.entries[row].prefix));
    return equal;
}

void check_gone(Work& work) {
    for (size_t row = 0; row < work.entries.size(); ++row) {
        if (work.rows[row] == RowState::standing) continue;
        const Entry& entry = work.entries[row];
        pd_entry handle = 0;
        const pd_status status = work.table.find(work.run.device, entry, handle);
        if (!work.done_unless(VL_MODEL_NOT_FOUND, status, "looking for", entry))
            work.differs(to_text(entry.prefix) + " was deleted and is still found");
        work.run.progress.step();
    }
}

size_t count_rows(const Run& run, RowState state) {
    size_t count = 0;
    for (const std::vector<RowState>& rows : run.rows)
        count += static_cast<size_t>(std::ranges::count(rows, state));
    return count;
}

} // namespace

void program(Run& run, unsigned load) {
    size_t count = 0;
    for (const std::vector<Entry>& entries : run.plan.tables)
        count += static_cast<size_t>(std::ranges::count(entries, load, &Entry::load));
    run.progress.begin_phase(load == 0 ? "programming" : "going on programming", count);
    add_groups(run, load); // before the routes that lead to them
    for (size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        work.placed.reserve(work.entries.size());
        for (uint32_t row = 0; row < work.entries.size(); ++row) {
            const Entry& entry = work.entries[row];
            if (entry.load != load) continue;
            pd_entry handle = 0;
            work.done(work.table.add(run.device, entry, handle), "adding", entry);
            work.placed.push_back({handle, row});
            work.rows[row] = RowState::standing;
            ++work.tally.added;
            run.progress.step();
        }
        std::ranges::sort(work.placed, {}, &Placed::handle);
    }
}

void read_back(Run& run) {
    run.progress.begin_phase("reading back", count_rows(run, RowState::standing));
    const EcmpTallies equal = learn_groups(run);
    run.ecmp.entries.read_equal = equal.entries.read_equal;
    run.ecmp.groups.read_equal = equal.groups.read_equal;
    run.ecmp.members.read_equal = equal.members.read_equal;
    for (size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        work.tally.read_equal = check_standing(work);
    }
}

void remove_every_second(Run& run) {
    const Selection selection = select_every_second(run.plan);
    size_t count = 0;
    for (const std::vector<bool>& marks : selection)
        count += static_cast<size_t>(std::ranges::count(marks, true));
    run.progress.begin_phase("removing", count);
    for (size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        for (size_t row = 0; row < work.entries.size(); ++row) {
            if (selection[i][row] && work.rows[row] == RowState::standing) {
                work.done(work.table.remove(run.device, work.entries[row]), "deleting", work.entries[row]);
                work.rows[row] = RowState::deleted;
                ++work.tally.deleted;
                run.progress.step();
            }
        }
    }
    remove_groups_without_routes(run); // behind the routes that led to them
}

void verify_rest(Run& run) {
    run.progress.begin_phase("verifying", count_rows(run, RowState::standing) + count_rows(run, RowState::aged) +
                                              count_rows(run, RowState::deleted));
    learn_groups(run);
    check_groups_gone(run);
    for (size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        check_standing(work);
        check_gone(work);
    }
}

void compare_with_hardware(Run& run) {
    run.progress.begin_phase("comparing with the hardware", count_rows(run, RowState::standing));
    compare_groups_with_hardware(run);
    for (size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        work.tally.in_hardware = 0;
        std::string difference;
        for (const Placed& placed : work.placed) {
            if (work.rows[placed.row] != RowState::standing) continue;
            const Entry& entry = work.entries[placed.row];
            work.done(work.table.compare_with_hardware(run.device, placed.handle, difference), "comparing", entry);
            if (difference.empty())
                ++work.tally.in_hardware;
            else
                work.differs(to_text(entry.prefix) + " in hardware: " + difference);
            run.progress.step();
        }
    }
}

void count_left(Run& run) {
    count_groups_left(run);
    for (size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        work.tally.left = driver_count(work);
    }
}

bool all_as_meant(const Run& run) {
    for (size_t i = 0; i < table_count; ++i) {
        const Tally& tally = run.tallies[i];
        const size_t planned = run.plan.tables[i].size();
        if (tally.differences != 0 || tally.added != planned || tally.read_equal != planned ||
            tally.left + tally.deleted + tally.aged != planned || tally.in_hardware != tally.left)
            return false;
    }
    return groups_as_meant(run);
}

} // namespace route_agent
