// Walks the entries of a table, by the functions that take the table's handle as data.
#pragma once

#include <array>

#include "pd_show/library.h"
#include "pd_show/pipeline.h"
#include "pd_show/problem.h"

namespace pd_show {

class Walk {
public:
    Walk(const Place& place, Complaints& complaints);

    // How many entries the table has; a keyless one has none. A refusal is a complaint, and counts as none.
    std::uint32_t count(const Table& table) const;
    // The default entry, or PD_HDL_END if there is none.
    pd_entry default_entry(const Table& table) const;

    // Calls `visit(handle)` for all entries but the default one.
    template <class Visit>
    void entries(const Table& table, Visit&& visit) const {
        if (count(table) == 0) return; // drivers differ in what they say of the first entry of an empty table
        std::array<pd_entry, handles_per_call> handles{};
        std::size_t listed = first(table, handles);
        while (listed != 0) {
            for (std::size_t i = 0; i < listed; ++i)
                visit(handles[i]);
            listed = next(table, handles[listed - 1], handles);
        }
    }

private:
    static constexpr std::size_t handles_per_call = 256;
    using Handles = std::array<pd_entry, handles_per_call>;

    std::size_t first(const Table& table, Handles& handles) const;
    std::size_t next(const Table& table, pd_entry last, Handles& handles) const;
    // Whether the call was done.
    bool done(const Table& table, const char* what, pd_status status) const;

    const Place& place_;
    Complaints& complaints_;
    decltype(&p4_pd_velmar_switch_entry_hdl_first) first_;
    decltype(&p4_pd_velmar_switch_entry_hdl_next) next_;
    decltype(&p4_pd_velmar_switch_entry_hdl_default) default_;
};

} // namespace pd_show
