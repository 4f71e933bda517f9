// A table's key as texts show it and comparisons walk it: each field in key order, its mask or prefix length behind it.
#pragma once

#include <array>
#include <cstdint>

#include "pd/encoding.h"

namespace vl_pd {

// Whether the table's entries point into an action profile.
template <catalog::TableRef T>
inline constexpr bool is_indirect = catalog::is_indirect(*T);

struct Column {
    const char* name; // of the field, as schemas have it
    const char* name_suffix;
    const char* pd_name; // of the field, as the record has it
    const char* pd_suffix;
    uint32_t bits;
    uint32_t digits;         // hexadecimal, of a value
    catalog::FieldMask mask; // the bits that the table really matches
    bool narrowed;           // whether they are fewer than the field has
    catalog::Tag tag;
    uint32_t record_offset;
    uint32_t record_bytes;

    constexpr bool wide() const {
        return bits > 32;
    }
    // Of columns that aren't wide.
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

// Partners have no tag, whatever their field has.
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

} // namespace vl_pd
