// Placement data as text: print lines on a descriptor, and value strings. The decoders and the texts of entries do the
// work; the outer punctuation is of their own.
#pragma once

#include "pd_velmar/print.h"
#include "pd_velmar/value.h"

namespace vl_pd::placement_text {

using catalog::ProfileRef;
using catalog::TableRef;

// "cannot decode plcmt_data for p4_pd_velmar_switch_<name><suffix>"
void print_failure(int fd, const char* name, const char* suffix) noexcept;
void print_keyless_title(int fd, uint32_t indent, const char* table) noexcept;
// The action's full name, and its parameters.
void print_action(int fd, uint32_t indent, uint32_t action, const void* action_spec) noexcept;

// The decoder's status. What the writes give is dropped.
template <TableRef T>
pd_status print(auto decode, int fd, uint32_t indent, const void* plcmt_data) noexcept {
    Entry<T> entry;
    if (const pd_status refused = decode_entry<T>(decode, plcmt_data, entry); refused != PD_STATUS_OK) {
        print_failure(fd, T->name, "");
        return refused;
    }
    if constexpr (T->key.size() == 0)
        print_keyless_title(fd, indent, T->name);
    else if (entry.has_key())
        print::match_spec<T>(fd, indent, entry.match_spec);
    if constexpr (!is_indirect<T>) print_action(fd, indent, entry.action.number, entry.action.spec);
    return PD_STATUS_OK;
}

// 0, with nothing written, if the decoder fails.
template <TableRef T>
int value(auto decode, const void* plcmt_data, char* buffer) noexcept {
    Entry<T> entry;
    if (decode_entry<T>(decode, plcmt_data, entry) != PD_STATUS_OK) return 0;
    char* const out = value::put_key_and_action<T>(text::put(buffer, "("), entry);
    return text::finish(buffer, text::put(out, ")"));
}

template <ProfileRef P>
pd_status print_member(auto decode, int fd, uint32_t indent, const void* plcmt_data) noexcept {
    NumberedAction<P> action;
    if (const pd_status refused = decode(plcmt_data, &action); refused != PD_STATUS_OK) {
        print_failure(fd, P->name, "_adt_plcmt_data_print");
        return refused;
    }
    print_action(fd, indent, action.number, action.spec);
    return PD_STATUS_OK;
}

template <ProfileRef P>
int member_value(auto decode, const void* plcmt_data, char* buffer) noexcept {
    NumberedAction<P> action;
    if (decode(plcmt_data, &action) != PD_STATUS_OK) return 0;
    return text::finish(buffer, value::put_numbered_action<P>(buffer, action.number, action.spec));
}

} // namespace vl_pd::placement_text
