// Makes the lines in loops over columns, with the C library's formats, because speed doesn't matter here.
#include "pd_velmar/print.h"

#include <cstdio>

#include "pd_velmar/text_writer.h"

namespace vl_pd::print {

namespace {

using bytes::Byte;

int print_column(int fd, int indent, const Column& column, const Byte* record) {
    if (column.wide()) {
        text::WideText digits;
        return dprintf(fd, "%*c %s%s: 0x%s\n", indent, ' ', column.pd_name, column.pd_suffix,
                       text::decode(digits, record + column.record_offset));
    }
    const uint32_t value = load_word(record, column) & column.word_mask();
    const int digits = static_cast<int>(column.digits);
    if (column.narrowed)
        return dprintf(fd, "%*c %s%s mask 0x%x: 0x%0*x\n", indent, ' ', column.pd_name, column.pd_suffix,
                       column.word_mask(), digits, value);
    return dprintf(fd, "%*c %s%s: 0x%0*x\n", indent, ' ', column.pd_name, column.pd_suffix, digits, value);
}

} // namespace

int match_lines(int fd, uint32_t indent, const char* table, std::span<const Column> columns,
                const void* record) noexcept {
    const int width = static_cast<int>(indent);
    int result = dprintf(fd, "%*s%s%s_match_spec_t:\n", width, "", catalog::program.prefix, table);
    for (const Column& column : columns)
        result = print_column(fd, width, column, static_cast<const Byte*>(record));
    return result;
}

int param_lines(int fd, uint32_t indent, uint32_t action, const void* record) noexcept {
    int result = 0;
    for (const ParamColumn& param : param_columns(action))
        result =
            dprintf(fd, "%*c action_%s: 0x%0*x\n", static_cast<int>(indent), ' ', param.name,
                    static_cast<int>(param.digits), load_word(static_cast<const Byte*>(record), param) & param.mask);
    return result;
}

void action_lines(int fd, uint32_t indent, uint32_t action, const void* record) noexcept {
    dprintf(fd, "%*s%s:\n", static_cast<int>(indent), "", action_names::to_string(action));
    param_lines(fd, indent, action, record);
}

void keyless_title(int fd, uint32_t indent, const char* table) noexcept {
    dprintf(fd, "%*s%s%s:\n", static_cast<int>(indent), "", catalog::program.prefix, table);
}

void decoder_failure(int fd, const char* name, const char* suffix) noexcept {
    dprintf(fd, "cannot decode plcmt_data for %s%s%s\n", catalog::program.prefix, name, suffix);
}

} // namespace vl_pd::print
