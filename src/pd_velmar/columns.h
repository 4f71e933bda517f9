// Columns: the parts of a key or an action that texts show and comparisons walk. The columns of a key are its fields in
// key order, each followed by its mask or prefix length. The columns of an action are its parameters.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "codec/encoding.h"

namespace vl_pd {

struct Column {
    const char* name; // of the field, in schemas
    const char* name_suffix;
    const char* pd_name; // of the field, in the record
    const char* pd_suffix;
    uint32_t bits;
    uint32_t digits;         // hexadecimal, of a value
    catalog::FieldMask mask; // the bits that the table really matches
    bool narrowed;           // fewer bits than the field has
    catalog::Tag tag;
    uint32_t record_offset;
    uint32_t record_bytes;

    constexpr bool wide() const {
        return bits > 32;
    }
    // Only for a column that isn't wide.
    constexpr uint32_t word_mask() const {
        return static_cast<uint32_t>(mask.low);
    }
};

namespace columns_detail {

constexpr catalog::FieldMask whole_field(unsigned bits) {
    if (bits == 128) return {};
    return encoding::width_mask(bits);
}

constexpr Column of_field(const catalog::KeyField& field, const catalog::FieldLayout& place) {
    const catalog::FieldMask whole = whole_field(field.bits);
    const catalog::FieldMask mask{field.mask.high & whole.high, field.mask.low & whole.low};
    return {.name = field.name,
            .name_suffix = "",
            .pd_name = field.pd_name,
            .pd_suffix = "",
            .bits = field.bits,
            .digits = (field.bits + 3) / 4,
            .mask = mask,
            .narrowed = mask.high != whole.high || mask.low != whole.low,
            .tag = field.tag,
            .record_offset = place.record_offset,
            .record_bytes = place.record_bytes};
}

// A mask or prefix length has no tag, even if its field has one.
constexpr Column of_partner(const catalog::KeyField& field, const catalog::FieldLayout& place) {
    Column column = of_field(field, place);
    const bool prefix = field.match == catalog::Match::lpm;
    column.name_suffix = prefix ? "PrefixLength" : "Mask";
    column.pd_suffix = prefix ? "_prefix_length" : "_mask";
    column.tag = catalog::Tag::untagged;
    column.record_offset = place.partner_offset;
    column.record_bytes = place.partner_bytes;
    if (prefix) {
        column.bits = 8 * catalog::prefix_length_bytes;
        column.digits = column.bits / 4;
        column.mask = whole_field(column.bits);
        column.narrowed = false;
    }
    return column;
}

constexpr size_t count(const catalog::Table& table) {
    size_t sum = table.key.size();
    for (const catalog::KeyField& field : table.key)
        sum += field.match != catalog::Match::exact;
    return sum;
}

} // namespace columns_detail

// The value of a column, or of a parameter, that isn't wide.
inline uint32_t load_word(const bytes::Byte* record, const auto& column) {
    const bytes::Byte* const from = record + column.record_offset;
    switch (column.record_bytes) {
    case 1:
        return bytes::load<1>(from);
    case 2:
        return bytes::load<2>(from);
    default:
        return bytes::load<4>(from);
    }
}

template <catalog::TableRef T>
inline constexpr auto columns = [] {
    std::array<Column, columns_detail::count(*T)> all{};
    size_t end = 0;
    for (size_t i = 0; i < T->key.size(); ++i) {
        const catalog::KeyField& field = T->key.begin()[i];
        const catalog::FieldLayout& place = encoding::key_layout<T>.fields[i];
        all[end++] = columns_detail::of_field(field, place);
        if (field.match != catalog::Match::exact) all[end++] = columns_detail::of_partner(field, place);
    }
    return all;
}();

struct ParamColumn {
    const char* name;
    uint32_t digits; // hexadecimal
    uint32_t mask;   // the bits of its width
    uint32_t record_offset;
    uint32_t record_bytes;
};

// The parameters of an action, by its number. Callers walk them in a loop where code for each action isn't worth its
// size.
std::span<const ParamColumn> param_columns(uint32_t action) noexcept;

} // namespace vl_pd
