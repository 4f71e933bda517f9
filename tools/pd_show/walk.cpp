// Asks the library for handles and counts, and makes complaints of refusals. Relies on PD_HDL_END behind the last
// handle of a list.
#include "pd_show/walk.h"

#include <algorithm>

namespace pd_show {

Walk::Walk(const Place& place, Complaints& complaints)
    : place_(place),
      complaints_(complaints),
      first_(place.library.function<decltype(p4_pd_velmar_switch_entry_hdl_first)>("entry_hdl_first")),
      next_(place.library.function<decltype(p4_pd_velmar_switch_entry_hdl_next)>("entry_hdl_next")),
      default_(place.library.function<decltype(p4_pd_velmar_switch_entry_hdl_default)>("entry_hdl_default")) {}

std::optional<uint32_t> Walk::count(const Table& table) const {
    if (table.key.all.empty()) return 0;
    // All tables' functions are of one type.
    const auto get_count = place_.library.function<decltype(p4_pd_velmar_switch_ipv4Host_get_entry_count)>(
        table.name + "_get_entry_count");
    uint32_t count = 0;
    if (!done(table, "counting the entries", get_count(place_.session, place_.target, &count))) return {};
    return count;
}

pd_entry Walk::default_entry(const Table& table) const {
    pd_entry handle = PD_HDL_END;
    const pd_status status = default_(place_.session, place_.target, table.handle, &handle);
    if (place_.library.says_not_found(status)) return PD_HDL_END;
    return done(table, "asking for the default entry", status) ? handle : PD_HDL_END;
}

size_t Walk::first(const Table& table, Handles& handles) const {
    const pd_status status = first_(place_.session, place_.target, table.handle, handles.data());
    return done(table, "asking for the first entry", status) && handles[0] != PD_HDL_END ? 1 : 0;
}

size_t Walk::next(const Table& table, pd_entry last, Handles& handles) const {
    const pd_status status =
        next_(place_.session, place_.target, table.handle, last, static_cast<uint32_t>(handles.size()), handles.data());
    if (!done(table, "asking for the next entries", status)) return 0;
    return static_cast<size_t>(std::ranges::find(handles, PD_HDL_END) - handles.begin());
}

bool Walk::done(const Table& table, const char* what, pd_status status) const {
    if (status == PD_STATUS_OK) return true;
    complaints_.add(table.name + ": " + what + " was refused with status " + place_.library.status_text(status));
    return false;
}

Values::Values(const Place& place)
    : place_(place),
      entry_value_(place.library.function<decltype(p4_pd_velmar_switch_entry_value)>("entry_value")) {}

} // namespace pd_show
