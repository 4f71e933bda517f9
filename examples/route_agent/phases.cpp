// The phases that are loops over all tables, and the report.
#include "route_agent/phases.h"

#include <iomanip>

namespace route_agent {
namespace {

size_t count_rows(const Run& run, auto&& has_state) {
    size_t count = 0;
    for (const std::vector<RowState>& rows : run.rows)
        count += static_cast<size_t>(std::ranges::count_if(rows, has_state));
    return count;
}

bool is_standing(RowState state) {
    return state == RowState::standing;
}

uint32_t driver_count(Work& work) {
    uint32_t count = 0;
    work.done(work.table.count(work.run.device.session, work.run.device.target, &count), "counting the entries");
    return count;
}

// Reads one entry. True if it is as planned.
bool reads_equal(Work& work, pd_entry handle, const Entry& entry) {
    Content content;
    work.done(work.table.read(work.run.device, handle, content), "reading ", entry.prefix);
    const Content meant = work.table.meant(work.run.device, entry);
    if (content == meant) return true;
    work.differs("expected ", meant, ", read ", content);
    return false;
}

// The walk must give every standing entry once, and the entry must read as planned. Returns how many do.
size_t check_standing(Work& work) {
    const Device& device = work.run.device;
    const auto meant_count = static_cast<size_t>(std::ranges::count(work.rows, RowState::standing));
    if (const uint32_t count = driver_count(work); count != meant_count)
        work.differs("the driver counts ", grouped(count), " entries, expected ", grouped(meant_count));
    std::vector<bool> seen(work.entries.size(), false);
    size_t equal = 0;
    walk(work, work.entries.size(), std::bind_front(work.table.first, device.session, device.target),
         std::bind_front(work.table.next, device.session, device.target), [&](pd_entry handle) {
             const Placed* placed = work.row_of(handle);
             if (placed == nullptr) {
                 work.differs("the walk gives handle ", handle, ", which no entry has");
                 return;
             }
             const Entry& entry = work.entries[placed->row];
             if (seen[placed->row]) {
                 work.differs("the walk gives ", entry.prefix, " again");
                 return;
             }
             seen[placed->row] = true;
             if (work.rows[placed->row] != RowState::standing)
                 work.differs(entry.prefix, " was deleted and still exists");
             else if (reads_equal(work, handle, entry))
                 ++equal;
             work.run.progress.step();
         });
    for (size_t row = 0; row < seen.size(); ++row)
        if (!seen[row] && work.rows[row] == RowState::standing)
            work.differs("the walk leaves out ", work.entries[row].prefix);
    return equal;
}

void check_gone(Work& work) {
    for (size_t row = 0; row < work.entries.size(); ++row) {
        if (work.rows[row] == RowState::standing) continue;
        const Entry& entry = work.entries[row];
        pd_entry handle = 0;
        const pd_status status = work.table.find(work.run.device, entry, handle);
        if (!work.done_unless(VL_MODEL_NOT_FOUND, status, "looking for ", entry.prefix))
            work.differs(entry.prefix, " was deleted and is still found");
        work.run.progress.step();
    }
}

std::string rate(size_t count, Clock::duration busy) {
    const double seconds = std::chrono::duration<double>(busy).count();
    return count != 0 && seconds > 0 ? grouped(static_cast<size_t>(static_cast<double>(count) / seconds)) : "-";
}

void print_row(std::ostream& out, const std::string& name, const std::vector<std::string>& columns) {
    out << std::left << std::setw(24) << name << std::right;
    for (size_t i = 0; i < columns.size(); ++i)
        out << std::setw(i < 6 ? 12 : 14) << columns[i];
    out << '\n';
}

void print_row(std::ostream& out, const char* name, const Tally& tally) {
    print_row(out, name,
              {grouped(tally.added), grouped(tally.read_equal), grouped(tally.aged), grouped(tally.deleted),
               grouped(tally.left), tally.calls != 0 ? grouped(tally.in_hardware) : "-",
               rate(tally.calls, tally.busy)});
}

void add(Tally& total, const Tally& tally) {
    for (const auto count : {&Tally::added, &Tally::read_equal, &Tally::aged, &Tally::deleted, &Tally::left,
                             &Tally::in_hardware, &Tally::calls})
        total.*count += tally.*count;
    total.busy += tally.busy;
}

Tally without_calls(Tally tally) {
    tally.calls = 0;
    return tally;
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
            work.done(work.table.add(run.device, entry, handle), "adding ", entry.prefix);
            work.placed.push_back({handle, row});
            work.rows[row] = RowState::standing;
            ++work.tally.added;
            run.progress.step();
        }
        std::ranges::sort(work.placed, {}, &Placed::handle);
    }
}

void read_back(Run& run) {
    run.progress.begin_phase("reading back", count_rows(run, is_standing));
    const EcmpCounts equal = learn_groups(run);
    run.ecmp_entries.read_equal = equal.entries;
    run.ecmp_groups.read_equal = equal.groups;
    run.ecmp_members.read_equal = equal.members;
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
            if (!selection[i][row] || work.rows[row] != RowState::standing) continue;
            work.done(work.table.remove(run.device, work.entries[row]), "deleting ", work.entries[row].prefix);
            work.rows[row] = RowState::deleted;
            ++work.tally.deleted;
            run.progress.step();
        }
    }
    remove_groups_without_routes(run); // after the routes that led to them
}

void verify_rest(Run& run) {
    run.progress.begin_phase("verifying", count_rows(run, [](RowState state) { return state != RowState::to_come; }));
    learn_groups(run);
    check_groups_gone(run);
    for (size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        check_standing(work);
        check_gone(work);
    }
}

void compare_with_hardware(Run& run) {
    run.progress.begin_phase("comparing with the hardware", count_rows(run, is_standing));
    compare_groups_with_hardware(run);
    for (size_t i = 0; i < table_count; ++i) {
        Work work(run, i);
        std::string difference;
        for (const auto& [handle, row] : work.placed) {
            if (work.rows[row] != RowState::standing) continue;
            const Entry& entry = work.entries[row];
            work.done(
                compare_placement(run.device, work.table.placement, work.table.equal_to_hardware, handle, difference),
                "comparing ", entry.prefix);
            work.compared(difference, entry.prefix);
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
    const auto as_meant = [](const Tally& tally, size_t planned) {
        return tally.differences == 0 && tally.added == planned && tally.read_equal == planned &&
               tally.left + tally.deleted + tally.aged == planned;
    };
    for (size_t i = 0; i < table_count; ++i)
        if (!as_meant(run.tallies[i], run.plan.tables[i].size()) || run.tallies[i].in_hardware != run.tallies[i].left)
            return false;
    size_t members = 0;
    for (size_t row = 0; row < run.groups.size(); ++row)
        members += path_count(run.plan.groups[row], run.plan.first_group + row, load_count - 1);
    return std::ranges::all_of(run.sent, [](const Sent& sent) { return sent.astray == 0; }) &&
           as_meant(run.ecmp_entries, run.groups.size()) && run.ecmp_entries.in_hardware == run.ecmp_entries.left &&
           as_meant(run.ecmp_groups, run.groups.size()) && as_meant(run.ecmp_members, members);
}

void print_report(std::ostream& out, const Run& run) {
    print_row(out, "table", {"added", "read equal", "aged", "deleted", "left", "in hardware", "calls/s"});
    Tally total;
    for (size_t i = 0; i < table_count; ++i) {
        print_row(out, route_tables[i].name, run.tallies[i]);
        add(total, run.tallies[i]);
    }
    Tally ecmp_group = run.ecmp_entries;
    ecmp_group.calls += run.ecmp_groups.calls + run.ecmp_members.calls;
    print_row(out, "ecmpGroup", ecmp_group);
    add(total, ecmp_group);
    print_row(out, "total", total);
    print_row(out, "ECMP groups", without_calls(run.ecmp_groups));
    print_row(out, "ECMP members", without_calls(run.ecmp_members));
    print_row(out, "packets sent", {"addresses", "with route", "astray", "addresses/s"});
    for (const Sent& sent : run.sent)
        print_row(
            out, sent.when,
            {grouped(sent.addresses), grouped(sent.in_list), grouped(sent.astray), rate(sent.addresses, sent.busy)});
}

} // namespace route_agent
