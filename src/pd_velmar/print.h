// Records and placement data as lines for people, on a file descriptor: one formatted write for each line.
//
// The result of a record's print is that of the last write: the length of its line, or negative if it failed. Earlier
// failures don't show. Prints of placement data return the status of the decoder.
#pragma once

#include <span>

#include "pd/placement.h"
#include "pd_velmar/entry.h"

namespace vl_pd::print {

using catalog::ProfileRef;
using catalog::TableRef;

int match_lines(int fd, uint32_t indent, const char* table, std::span<const Column> columns,
                const void* record) noexcept;

// The lines of an action's parameters, by the action's number.
int param_lines(int fd, uint32_t indent, uint32_t action, const void* record) noexcept;

// The action's full name, and its parameters.
void action_lines(int fd, uint32_t indent, uint32_t action, const void* record) noexcept;

void keyless_title(int fd, uint32_t indent, const char* table) noexcept;

// "cannot decode plcmt_data for p4_pd_..._<name><suffix>"
void decoder_failure(int fd, const char* name, const char* suffix) noexcept;

template <TableRef T>
int match_spec(int fd, uint32_t indent, const void* record) noexcept {
    return match_lines(fd, indent, T->name, columns<T>, record);
}

template <TableRef T>
pd_status placed_entry(int fd, uint32_t indent, const void* plcmt_data) noexcept {
    Entry<T> entry;
    if (const pd_status refused = entry.decode(plcmt_data); refused != PD_STATUS_OK) {
        decoder_failure(fd, T->name, "");
        return refused;
    }
    if constexpr (T->key.size() == 0)
        keyless_title(fd, indent, T->name);
    else if (entry.has_key())
        match_spec<T>(fd, indent, entry.match_spec);
    if constexpr (!catalog::is_indirect(*T)) action_lines(fd, indent, entry.action.number, entry.action.spec);
    return PD_STATUS_OK;
}

template <ProfileRef P>
pd_status placed_member(int fd, uint32_t indent, const void* plcmt_data) noexcept {
    NumberedAction<P> action;
    if (const pd_status refused = placement::decode_member<P>(plcmt_data, &action); refused != PD_STATUS_OK) {
        decoder_failure(fd, P->name, "_adt_plcmt_data_print");
        return refused;
    }
    action_lines(fd, indent, action.number, action.spec);
    return PD_STATUS_OK;
}

} // namespace vl_pd::print
