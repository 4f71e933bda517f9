// Decodes the driver's records into the agent's: the inverse of encoding.h.
#pragma once

#include "codec/encoding.h"

namespace vl_pd::decoding {

using bytes::Byte;
using catalog::ActionRef;
using catalog::TableRef;
using encoding::action_layout;
using encoding::key_layout;

// Room for the action data of every action.
inline constexpr size_t data_capacity = 32;

// Clears the whole record, padding included, and sets the fields of the key. Values are not cut to their width.
template <TableRef T>
VL_INLINE void unbuild_key(const pipe_match_record& match, void* match_spec) {
    constexpr catalog::KeyLayout layout = key_layout<T>;
    Byte* const record = static_cast<Byte*>(match_spec);
    std::memset(record, 0, layout.record_size);
    const Byte* const key_bytes = match.key_bytes; // one load: the stores below could change the match record
    unroll<layout.field_count>([&](auto i) VL_INLINE_LAMBDA {
        constexpr catalog::FieldLayout field = layout.fields[i];
        const Byte* const key = key_bytes + field.key_position;
        Byte* const place = record + field.record_offset;
        if constexpr (T->partitioned && i.value == 0)
            bytes::store<field.record_bytes>(place, match.partition_index);
        else if constexpr (field.bits > 32)
            std::memcpy(place, key, field.key_bytes);
        else
            bytes::store<field.record_bytes>(place, bytes::load_big_endian<field.key_bytes>(key));
    });
}

// The number of bits before the trailing zeros of a prefix mask of 32 or 128 bits.
template <unsigned bits>
uint32_t prefix_length(const Byte* mask) {
    if constexpr (bits == 32) {
        const uint32_t word = bytes::load_big_endian<4>(mask);
        return 32 - static_cast<uint32_t>(std::countr_zero(word));
    } else {
        static_assert(bits == 128);
        const bytes::Wide words = bytes::load_wide(mask);
        const int zeros = words.low != 0 ? std::countr_zero(words.low) : 64 + std::countr_zero(words.high);
        return 128 - static_cast<uint32_t>(zeros);
    }
}

// Adds the masks or the prefix length to a record that unbuild_key() has filled.
template <TableRef T>
VL_INLINE void unbuild_mask(const pipe_match_record& match, void* match_spec) {
    constexpr catalog::KeyLayout layout = key_layout<T>;
    Byte* const record = static_cast<Byte*>(match_spec);
    const Byte* const mask_bytes = match.mask_bytes;
    unroll<layout.field_count>([&](auto i) VL_INLINE_LAMBDA {
        constexpr catalog::FieldLayout field = layout.fields[i];
        const Byte* const mask = mask_bytes + field.key_position;
        Byte* const place = record + field.partner_offset;
        if constexpr (field.partner_bytes == 0)
            return;
        else if constexpr (catalog::key_shape(*T) == catalog::KeyShape::prefix)
            bytes::store<field.partner_bytes>(place, prefix_length<field.bits>(mask));
        else if constexpr (field.bits > 32)
            std::memcpy(place, mask, field.key_bytes);
        else
            bytes::store<field.partner_bytes>(place, bytes::load_big_endian<field.key_bytes>(mask));
    });
}

// The index of an attached resource. The last pair of that resource counts.
inline uint32_t find_index(uint32_t resource_hdl, const pd_resource_index* resources, uint32_t count) {
    uint32_t index = count == 0 ? PD_NO_INDEX : 0;
    for (uint32_t i = 0; i < count; ++i)
        if (resources[i].resource_hdl == resource_hdl) index = resources[i].index;
    return index;
}

template <ActionRef A>
VL_INLINE void unbuild_action_spec(const pipe_action_data& action, const pd_resource_index* resources, uint32_t count,
                                   void* action_spec) {
    constexpr catalog::ActionLayout layout = action_layout<A>;
    Byte* const record = static_cast<Byte*>(action_spec);
    std::memset(record, 0, layout.record_size);
    [[maybe_unused]] const Byte* const data = action.data;
    unroll<layout.param_count>([&](auto i) VL_INLINE_LAMBDA {
        constexpr catalog::ParamLayout param = layout.params[i];
        Byte* const place = record + param.record_offset;
        if constexpr (param.role == catalog::Role::slot_index) {
            constexpr catalog::AttachedResource resource = catalog::resource_of(catalog::program, *A);
            bytes::store<param.record_bytes>(place, find_index(resource.handle, resources, count));
        } else {
            bytes::store<param.record_bytes>(place,
                                             bytes::load_big_endian<param.data_bytes>(data + param.data_position));
        }
    });
}

// Where an action record has its parameters: after the action's number.
inline void* spec_of(void* action_record) {
    return static_cast<Byte*>(action_record) + sizeof(uint32_t);
}

// Decodes an action: its number, and its parameters if it has some.
template <ActionRef A>
VL_INLINE void unbuild_action(const pipe_action_data& action, const pd_resource_index* resources,
                              uint32_t resource_count, void* action_number, void* action_spec) {
    static_assert(action_layout<A>.bytes <= data_capacity &&
                  action_layout<A>.record_size <= sizeof(pd_action_record::spec));
    constexpr uint32_t number = A.number;
    std::memcpy(action_number, &number, sizeof number);
    if constexpr (action_layout<A>.param_count != 0)
        unbuild_action_spec<A>(action, resources, resource_count, action_spec);
}

} // namespace vl_pd::decoding
