// Lays the report out in columns of fixed width, which a device's worth of entries doesn't exceed.
#include "route_agent/report.h"

#include <array>
#include <iomanip>

#include "route_agent/route_tables.h"

namespace route_agent {
namespace {

std::string rate(const Tally& tally) {
    const double seconds = std::chrono::duration<double>(tally.busy).count();
    return tally.calls == 0 || seconds <= 0 ? "-"
                                            : grouped(static_cast<size_t>(static_cast<double>(tally.calls) / seconds));
}

void print_row(std::ostream& out, const char* name, const std::array<std::string, 6>& counts,
               const std::string& rate_text) {
    out << std::left << std::setw(24) << name << std::right;
    for (const std::string& count : counts)
        out << std::setw(12) << count;
    out << std::setw(14) << rate_text << '\n';
}

void print_row(std::ostream& out, const char* name, const Tally& tally) {
    print_row(out, name,
              {grouped(tally.added), grouped(tally.read_equal), grouped(tally.aged), grouped(tally.deleted),
               grouped(tally.left), tally.calls == 0 ? "-" : grouped(tally.in_hardware)},
              rate(tally));
}

void add(Tally& total, const Tally& tally) {
    total.added += tally.added;
    total.read_equal += tally.read_equal;
    total.aged += tally.aged;
    total.deleted += tally.deleted;
    total.left += tally.left;
    total.in_hardware += tally.in_hardware;
    total.calls += tally.calls;
    total.busy += tally.busy;
}

Tally without_calls(Tally tally) {
    tally.calls = 0;
    return tally;
}

} // namespace

void print_report(std::ostream& out, const Run& run) {
    print_row(out, "table", {"added", "read equal", "aged", "deleted", "left", "in hardware"}, "calls/s");
    Tally total;
    for (size_t i = 0; i < table_count; ++i) {
        print_row(out, route_table(static_cast<TableId>(i)).name, run.tallies[i]);
        add(total, run.tallies[i]);
    }
    Tally ecmp_group = run.ecmp.entries;
    ecmp_group.calls += run.ecmp.groups.calls + run.ecmp.members.calls;
    print_row(out, "ecmpGroup", ecmp_group);
    add(total, ecmp_group);
    print_row(out, "total", total);
    print_row(out, "ECMP groups", without_calls(run.ecmp.groups));
    print_row(out, "ECMP members", without_calls(run.ecmp.members));
}

} // namespace route_agent
