// Descriptions: what an entry of a counted table counts, in words for people. The words are rows of the catalog.
//
// Values are cut to the width of their field. Masks are compared and shown whole.
#pragma once

#include <bit>
#include <span>

#include "pd_velmar/addresses.h"
#include "pd_velmar/entry.h"
#include "pd_velmar/text_writer.h"

namespace vl_pd::descriptions {

using bytes::Byte;
using catalog::Form;
using catalog::Piece;
using catalog::TableRef;

// The pieces of a table's description. A rule of the catalog: a counted table has words for each key field.
template <TableRef T>
consteval std::span<const Piece> pieces_of() {
    for (const catalog::CounterWords& words : catalog::program.counter_words)
        if (catalog::same(words.table, T->name)) return {words.pieces.begin(), words.pieces.size()};
    return {};
}

template <TableRef T>
consteval size_t field_number(const char* pd_name) {
    size_t number = 0;
    while (!catalog::same(T->key.begin()[number].pd_name, pd_name))
        ++number;
    return number;
}

consteval unsigned digits_of(uint32_t ones) {
    return (static_cast<unsigned>(std::bit_width(ones)) + 3) / 4;
}

// The value and mask of a field in the record. A field without a mask has one of all ones.
struct Matched {
    uint32_t value;
    uint32_t mask;
};

template <TableRef T, size_t number>
Matched load_field(const Byte* record) {
    constexpr catalog::FieldLayout field = encoding::key_layout<T>.fields[number];
    Matched loaded{bytes::load<field.record_bytes>(record + field.record_offset), ~uint32_t{0}};
    if constexpr (field.partner_bytes != 0)
        loaded.mask = bytes::load<field.partner_bytes>(record + field.partner_offset);
    return loaded;
}

inline char* put_label(char* out, const char* label) {
    return text::put(out, std::string_view(label));
}

// "Ttl 0x40 "
template <uint32_t ones>
char* put_exact(char* out, const char* label, uint32_t value) {
    out = text::put(put_label(out, label), " 0x");
    return text::put(text::put_hex<digits_of(ones)>(out, value & ones), " ");
}

// "Ttl & 0xf0 0x40 "
template <uint32_t ones>
char* put_under_mask(char* out, const char* label, Matched field) {
    out = text::put_hex(text::put(put_label(out, label), " & 0x"), field.mask);
    out = text::put_hex<digits_of(ones)>(text::put(out, " 0x"), field.value & ones);
    return text::put(out, " ");
}

template <uint32_t ones>
char* put_number(char* out, const char* label, Matched field) {
    if (field.mask == 0) return out;
    if (field.mask == ones) return put_exact<ones>(out, label, field.value);
    return put_under_mask<ones>(out, label, field);
}

inline char* put_flag(char* out, const char* label, Matched field) {
    if ((field.mask & 1) == 0) return out;
    if ((field.value & 1) == 0) out = text::put(out, "!");
    return text::put(put_label(out, label), " ");
}

template <uint32_t ones>
char* put_mapped(char* out, const char* label, catalog::List<catalog::ValueWord> words, Matched field) {
    if ((field.mask & ones) != 0)
        for (const catalog::ValueWord& word : words)
            if (word.value == (field.mask & field.value & ones)) return put_label(out, word.text);
    return put_number<ones>(out, label, field);
}

// The three bits of the ACL's verdict. A drop with log has a name; the verdict 0 is a blank.
template <uint32_t verdict>
char* put_acl_result(char* out, const char* label, Matched field) {
    if (field.mask == 0) return out;
    if ((field.mask & verdict) != 0) {
        const uint32_t matched = field.mask & field.value & verdict;
        if (matched == 0) return text::put(out, " ");
        if (matched == verdict) return text::put(out, "PACL/RACL Drop+/Log  ");
    } else if (field.mask == 7) {
        return put_exact<verdict>(out, label, field.value);
    }
    return put_under_mask<verdict>(out, label, field);
}

inline constexpr uint32_t flood_interface = 0x10000; // belongs to no port, and is shown as a blank
inline constexpr uint32_t invalid_port = 0x1ff;

template <uint32_t ones>
char* put_egress_interface(char* out, const char* label, Matched field) {
    if ((field.mask & ones) != 0) {
        const uint32_t matched = field.mask & field.value & ones;
        if (matched == 0 || matched == flood_interface) return text::put(out, " ");
        if (matched == invalid_port) return text::put(out, "Invalid Port  ");
    }
    return put_number<ones>(out, label, field);
}

template <uint32_t ones>
char* put_multicast_group(char* out, const char* label, Matched field) {
    if (field.mask != 0 && (field.mask & field.value) == 0) return text::put(out, " ");
    return put_number<ones>(out, label, field);
}

template <TableRef T, size_t i>
char* put_piece(char* out, [[maybe_unused]] const Byte* record) {
    constexpr const Piece& piece = pieces_of<T>()[i];
    constexpr size_t number = field_number<T>(piece.field);
    constexpr catalog::FieldLayout place = encoding::key_layout<T>.fields[number];
    if constexpr (piece.form == Form::silent) {
        return out;
    } else if constexpr (piece.form == Form::v6addr) {
        return out + addresses::print_v6addr_ternary(out, piece.label, record + place.record_offset,
                                                     record + place.partner_offset);
    } else {
        const Matched field = load_field<T, number>(record);
        if constexpr (piece.form == Form::exact) {
            return put_exact<piece.ones>(out, piece.label, field.value);
        } else if constexpr (piece.form == Form::number) {
            return put_number<piece.ones>(out, piece.label, field);
        } else if constexpr (piece.form == Form::flag) {
            return put_flag(out, piece.label, field);
        } else if constexpr (piece.form == Form::mapped) {
            return put_mapped<piece.ones>(out, piece.label, piece.words, field);
        } else if constexpr (piece.form == Form::mac) {
            const Matched station = load_field<T, number + 1>(record);
            return out +
                   addresses::print_mac_ternary(out, piece.label, field.value, field.mask, station.value, station.mask);
        } else if constexpr (piece.form == Form::v4addr) {
            return out + addresses::print_v4addr_ternary(out, piece.label, field.value, field.mask);
        } else if constexpr (piece.form == Form::acl_result) {
            return put_acl_result<piece.ones>(out, piece.label, field);
        } else if constexpr (piece.form == Form::egress_interface) {
            return put_egress_interface<piece.ones>(out, piece.label, field);
        } else {
            static_assert(piece.form == Form::multicast_group);
            return put_multicast_group<piece.ones>(out, piece.label, field);
        }
    }
}

// If the description is empty, the buffer stays as it was, without a terminator.
template <TableRef T>
int match_spec(const void* record, char* buffer) noexcept {
    char* out = buffer;
    unroll<pieces_of<T>().size()>([&](auto i) { out = put_piece<T, i>(out, static_cast<const Byte*>(record)); });
    return out == buffer ? 0 : text::finish(buffer, out);
}

// Reads the entry from the hardware, where packets are counted. 0 if that fails.
template <TableRef T>
int entry(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, char* buffer) noexcept {
    Entry<T> entry;
    if (entry.read(sess_hdl, dev_id, entry_hdl, 1) != PD_STATUS_OK) return 0;
    return match_spec<T>(entry.match_spec, buffer);
}

} // namespace vl_pd::descriptions
