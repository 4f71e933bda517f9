// Lays the report out in columns of fixed width, which a device's worth of entries doesn't exceed.
#include "route_agent/report.h"

#include <iomanip>

#include "route_agent/route_tables.h"

namespace route_agent {
namespace {

std::string rate(const Tally& tally) {
    const double seconds = std::chrono::duration<double>(tally.busy).count();
    return tally.calls == 0 || seconds <= 0
               ? "-"
               : grouped(static_cast<std::size_t>(static_cast<double>(tally.calls) / seconds));
}

void print_row(std::ostream& out, const char* name, const std::string& added, const std::string& read_equal,
               const std::string& deleted, const std::string& left, const std::string& rate_text) {
    out << std::left << std::setw(24) << name << std::right << std::setw(12) << added << std::setw(12) << read_equal
        << std::setw(12) << deleted << std::setw(12) << left << std::setw(14) << rate_text << '\n';
}

void print_row(std::ostream& out, const char* name, const Tally& tally) {
    print_row(out, name, grouped(tally.added), grouped(tally.read_equal), grouped(tally.deleted), grouped(tally.left),
              rate(tally));
}

} // namespace

void print_report(std::ostream& out, const PerTable<Tally>& tallies) {
    print_row(out, "table", "added", "read equal", "deleted", "left", "calls/s");
    Tally total;
    for (std::size_t i = 0; i < table_count; ++i) {
        const Tally& tally = tallies[i];
        print_row(out, route_table(static_cast<TableId>(i)).name, tally);
        total.added += tally.added;
        total.read_equal += tally.read_equal;
        total.deleted += tally.deleted;
        total.left += tally.left;
        total.calls += tally.calls;
        total.busy += tally.busy;
    }
    print_row(out, "total", total);
}

} // namespace route_agent
