// The part of the phases' common tools that is no template.
#include "route_agent/work.h"

#include <algorithm>

namespace route_agent {
namespace {

constexpr size_t most_differences_told = 10; // per tally

} // namespace

void Account::differs(const std::string& how) {
    if (++tally.differences <= most_differences_told)
        run.progress.message(std::string(name) + ": " + how);
    else if (tally.differences == most_differences_told + 1)
        run.progress.message(std::string(name) + ": more differences, which are only counted");
}

const Placed* Work::row_of(pd_entry handle) const {
    const auto found = std::ranges::lower_bound(placed, handle, {}, &Placed::handle);
    return found != placed.end() && found->handle == handle ? &*found : nullptr;
}

size_t Work::count(RowState state) const {
    return static_cast<size_t>(std::ranges::count(rows, state));
}

} // namespace route_agent
