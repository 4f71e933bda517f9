// Walks the entries of a table, by the functions that take the table's handle as data, and reads their value strings.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "pd_show/library.h"
#include "pd_show/pipeline.h"
#include "pd_show/problem.h"

namespace pd_show {

constexpr size_t longest_text = 4096; // far more than the library has, of any text or record of an entry

class Walk {
public:
    Walk(const Place& place, Complaints& complaints);

    // How many entries the table has; a keyless one has none. A refusal is a complaint.
    std::optional<uint32_t> count(const Table& table) const;
    // The default entry, or PD_HDL_END if there is none.
    pd_entry default_entry(const Table& table) const;

    // Calls `visit(handle)` for all entries but the default one. That they aren't as many as were counted is a
    // complaint.
    template <class Visit>
    void entries(const Table& table, std::optional<uint32_t> counted, Visit&& visit) const {
        if (counted.value_or(0) == 0) return; // drivers differ in what they say of the first entry of an empty table
        Handles handles{};
        size_t visited = 0;
        for (size_t listed = first(table, handles); listed != 0;) {
            for (size_t i = 0; i < listed; ++i)
                visit(handles[i]);
            visited += listed;
            listed = next(table, handles[listed - 1], handles);
        }
        if (visited != *counted)
            complaints_.add(table.name + ": of its entries the driver counts " + std::to_string(*counted) +
                            ", but lists " + std::to_string(visited));
    }

private:
    static constexpr size_t handles_per_call = 256;
    using Handles = std::array<pd_entry, handles_per_call>;

    size_t first(const Table& table, Handles& handles) const;
    size_t next(const Table& table, pd_entry last, Handles& handles) const;
    // Whether the call was done.
    bool done(const Table& table, const char* what, pd_status status) const;

    const Place& place_;
    Complaints& complaints_;
    decltype(&p4_pd_velmar_switch_entry_hdl_first) first_;
    decltype(&p4_pd_velmar_switch_entry_hdl_next) next_;
    decltype(&p4_pd_velmar_switch_entry_hdl_default) default_;
};

// Reads value strings, one after the other.
class Values {
public:
    explicit Values(const Place& place);

    // Empty if the entry can't be read. Stands until the next one is read.
    std::string_view read(const Table& table, pd_entry handle, bool from_hw) {
        const int length =
            entry_value_(place_.session, place_.target.dev_id, table.handle, handle, from_hw, text_.data());
        return length > 0 ? std::string_view(text_.data(), static_cast<size_t>(length)) : std::string_view();
    }

private:
    const Place& place_;
    decltype(&p4_pd_velmar_switch_entry_value) entry_value_;
    std::array<char, longest_text> text_;
};

} // namespace pd_show
