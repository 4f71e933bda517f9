// Compares the software's view of an entry with the hardware. The software's side is placement data; the hardware's
// side is a read of the same entry. The answer is 1, or 0 with a line of text that names the first difference.
//
// Fields are compared in key order, each through its field mask. Priority and attached resources aren't compared. In
// messages the software's value comes first. An answer of 1 leaves the message as it was.
#pragma once

#include <cstring>
#include <span>

#include "pd_velmar/entry.h"

namespace vl_pd::comparison {

using bytes::Byte;
using catalog::TableRef;

int match_columns(std::span<const Column> columns, const void* pd, const void* hw, char* message) noexcept;
int action_specs(uint32_t action, const void* pd, const void* hw, char* message) noexcept;

// Writes a message without values, and returns 0.
int differ(char* message, const char* before, const char* name = "", const char* after = "") noexcept;

int actions_differ(uint32_t pd, uint32_t hw, char* message) noexcept;

// Compares a member by its handle, and a group only by its presence. A handle of 0 from the hardware passes.
int targets(const PointedAt& pd, bool pd_is_default, const PointedAt& hw, char* message) noexcept;

template <TableRef T>
int match_specs(const void* pd, const void* hw, char* message) noexcept {
    return match_columns(columns<T>, pd, hw, message);
}

template <TableRef T>
int keys_equal(const Entry<T>& pd, const Entry<T>& hw, char* message) {
    if constexpr (T->key.size() == 0) return 1;
    if (pd.is_default == 0) {
        // Readers clear whole records, so one look is enough for most equal entries.
        if (std::memcmp(pd.match_spec, hw.match_spec, encoding::key_layout<T>.record_size) == 0) return 1;
        return match_specs<T>(pd.match_spec, hw.match_spec, message);
    }
    return hw.is_default != 0 ? 1 : differ(message, "pd entry is default but not hw");
}

template <TableRef T>
int entry(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, const void* plcmt_data, char* message) noexcept {
    Entry<T> pd;
    if (pd.decode(plcmt_data) != PD_STATUS_OK) return differ(message, "Failed to decode plcmt_data in table ", T->name);
    Entry<T> hw;
    if (hw.read(sess_hdl, dev_id, entry_hdl, 1) != PD_STATUS_OK)
        return differ(message, catalog::program.prefix, T->name, "_get_entry failed");
    if (!keys_equal<T>(pd, hw, message)) return 0;
    if constexpr (catalog::is_indirect(*T)) return targets(pd.target, pd.is_default != 0, hw.target, message);
    if (pd.action.number != hw.action.number) return actions_differ(pd.action.number, hw.action.number, message);
    return action_specs(pd.action.number, pd.action.spec, hw.action.spec, message);
}

} // namespace vl_pd::comparison
