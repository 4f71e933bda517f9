// Records as lines for people, on a file descriptor: one formatted write for each line.
//
// The result is that of the last write: the length of its line, or negative if it failed. Earlier failures don't show.
#pragma once

#include <span>

#include "pd_velmar/columns.h"

namespace vl_pd::print {

struct ParamLine {
    const char* name;
    std::uint32_t digits;
    std::uint32_t mask;
    std::uint32_t record_offset;
    std::uint32_t record_bytes;
};

template <catalog::ActionRef A>
inline constexpr auto param_lines = [] {
    constexpr catalog::ActionLayout layout = encoding::action_layout<A>;
    std::array<ParamLine, layout.param_count> lines{};
    for (std::size_t i = 0; i < lines.size(); ++i)
        lines[i] = {.name = A->params.begin()[i].name,
                    .digits = (layout.params[i].bits + 3) / 4,
                    .mask = encoding::width_mask(layout.params[i].bits),
                    .record_offset = layout.params[i].record_offset,
                    .record_bytes = layout.params[i].record_bytes};
    return lines;
}();

int match_lines(int fd, std::uint32_t indent, const char* table, std::span<const Column> columns,
                const void* record) noexcept;
int param_lines_of(int fd, std::uint32_t indent, std::span<const ParamLine> lines, const void* record) noexcept;

template <catalog::TableRef T>
int match_spec(int fd, std::uint32_t indent, const void* record) noexcept {
    return match_lines(fd, indent, T->name, columns<T>, record);
}

template <catalog::ActionRef A>
int action(int fd, std::uint32_t indent, const void* record) noexcept {
    return param_lines_of(fd, indent, param_lines<A>, record);
}

} // namespace vl_pd::print
