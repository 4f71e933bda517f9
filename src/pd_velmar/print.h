// Records as lines for people, on a file descriptor: one formatted write for each line.
//
// The result is that of the last write: the length of its line, or negative if it failed. Earlier failures don't show.
#pragma once

#include <span>

#include "pd_velmar/columns.h"

namespace vl_pd::print {

int match_lines(int fd, uint32_t indent, const char* table, std::span<const Column> columns,
                const void* record) noexcept;

// The lines of an action's parameters, by the action's number.
int param_lines(int fd, uint32_t indent, uint32_t action, const void* record) noexcept;

template <catalog::TableRef T>
int match_spec(int fd, uint32_t indent, const void* record) noexcept {
    return match_lines(fd, indent, T->name, columns<T>, record);
}

} // namespace vl_pd::print
