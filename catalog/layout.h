// What follows from the rows: table classes, and the place of each value in keys, action data and records.
//
// Key bytes have the key order, and action data has the order of the parameters. Each value fills whole bytes. Records
// are C structs: their fields have the record order, each at the next multiple of its size. A 128-bit field is an array
// of bytes that begins at the next even offset.
#pragma once

#include <array>
#include <cstddef>

#include "catalog/row_types.h"

namespace catalog {

enum class KeyShape : uint8_t { keyless, exact, masked, prefix };

constexpr bool has_match(const Table& table, Match match) {
    for (const KeyField& field : table.key)
        if (field.match == match) return true;
    return false;
}

constexpr KeyShape key_shape(const Table& table) {
    if (table.key.size() == 0) return KeyShape::keyless;
    if (has_match(table, Match::lpm)) return KeyShape::prefix;
    return has_match(table, Match::ternary) ? KeyShape::masked : KeyShape::exact;
}

// Whether the caller gives an entry its priority, as in masked tables only.
constexpr bool has_priority(const Table& table) {
    return key_shape(table) == KeyShape::masked;
}

constexpr bool for_entries(const Binding& binding) {
    return binding.use != Use::default_only;
}

constexpr bool for_default(const Binding& binding) {
    return binding.use != Use::entry;
}

constexpr unsigned whole_bytes(unsigned bits) {
    return (bits + 7) / 8;
}

// Bytes of a value in a record. For integers it is a power of two.
constexpr unsigned record_bytes(unsigned bits) {
    if (bits > 32) return whole_bytes(bits);
    return bits > 16 ? 4 : bits > 8 ? 2 : 1;
}

constexpr unsigned record_bytes(const KeyField& field) {
    return record_bytes(field.record_bits != 0 ? field.record_bits : field.bits);
}

constexpr unsigned record_alignment(unsigned bytes) {
    return bytes > 4 ? 2 : bytes;
}

inline constexpr unsigned prefix_length_bytes = 2;

// Bytes of a field's partner: the mask or prefix length that follows the field in the record. 0 if there is none.
constexpr unsigned partner_bytes(const KeyField& field) {
    switch (field.match) {
    case Match::ternary:
        return record_bytes(field);
    case Match::lpm:
        return prefix_length_bytes;
    case Match::exact:
        break;
    }
    return 0;
}

// The bits that the table matches in a byte of a field. The lowest byte has the number 0.
constexpr uint32_t matched_byte(const KeyField& field, unsigned number) {
    const uint64_t word = number < 8 ? field.mask.low : field.mask.high;
    const unsigned bits = field.bits - 8 * number;
    const uint32_t width = bits < 8 ? (1u << bits) - 1 : 0xFF;
    return static_cast<uint32_t>(word >> number % 8 * 8) & width;
}

// A record that grows field by field.
struct RecordEnd {
    unsigned size = 0;
    unsigned alignment = 1;

    constexpr unsigned append(unsigned bytes) {
        const unsigned step = record_alignment(bytes);
        const unsigned offset = (size + step - 1) / step * step;
        size = offset + bytes;
        if (step > alignment) alignment = step;
        return offset;
    }
    constexpr unsigned padded_size() const {
        return (size + alignment - 1) / alignment * alignment;
    }
};

struct FieldLayout {
    unsigned bits = 0;
    unsigned key_position = 0;
    unsigned key_bytes = 0;
    unsigned record_offset = 0;
    unsigned record_bytes = 0;
    unsigned partner_offset = 0;
    unsigned partner_bytes = 0; // 0: no partner
};

inline constexpr size_t max_key_fields = 32;
inline constexpr size_t max_params = 16;

struct KeyLayout {
    std::array<FieldLayout, max_key_fields> fields{};  // in key order
    std::array<size_t, max_key_fields> record_order{}; // indices into fields, in the record's order
    size_t field_count = 0;
    unsigned bits = 0;
    unsigned bytes = 0;
    unsigned record_size = 0;
};

constexpr KeyLayout key_layout(const Table& table) {
    KeyLayout layout;
    for (const KeyField& field : table.key) {
        FieldLayout& place = layout.fields[layout.field_count];
        layout.record_order[layout.field_count] = layout.field_count;
        place = {.bits = field.bits,
                 .key_position = layout.bytes,
                 .key_bytes = whole_bytes(field.bits),
                 .record_bytes = record_bytes(field),
                 .partner_bytes = partner_bytes(field)};
        layout.bits += field.bits;
        layout.bytes += place.key_bytes;
        ++layout.field_count;
    }
    size_t position = 0;
    for (const char* name : table.record_order)
        for (size_t i = 0; i < layout.field_count; ++i)
            if (same(table.key.begin()[i].pd_name, name)) layout.record_order[position++] = i;

    RecordEnd record;
    for (size_t i = 0; i < layout.field_count; ++i) {
        FieldLayout& place = layout.fields[layout.record_order[i]];
        place.record_offset = record.append(place.record_bytes);
        if (place.partner_bytes != 0) place.partner_offset = record.append(place.partner_bytes);
    }
    layout.record_size = record.padded_size();
    return layout;
}

struct ParamLayout {
    unsigned bits = 0;
    unsigned data_position = 0;
    unsigned data_bytes = 0;
    unsigned record_offset = 0;
    unsigned record_bytes = 0;
    Role role = Role::data;
};

struct ActionLayout {
    std::array<ParamLayout, max_params> params{};
    size_t param_count = 0;
    unsigned bits = 0;
    unsigned bytes = 0;
    unsigned record_size = 0; // 0: the action has no parameters and no record
};

constexpr ActionLayout action_layout(const Action& action) {
    ActionLayout layout;
    RecordEnd record;
    for (const Param& param : action.params) {
        ParamLayout& place = layout.params[layout.param_count++];
        place = {.bits = param.bits,
                 .data_position = layout.bytes,
                 .data_bytes = whole_bytes(param.bits),
                 .record_offset = record.append(record_bytes(param.bits)),
                 .record_bytes = record_bytes(param.bits),
                 .role = param.role};
        layout.bits += param.bits;
        layout.bytes += place.data_bytes;
    }
    layout.record_size = record.size == 0 ? 0 : record.padded_size();
    return layout;
}

constexpr bool takes_slot_index(const Param& param) {
    return param.role != Role::data;
}

} // namespace catalog
