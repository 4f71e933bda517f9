// Encodes the agent's records into the driver's. All operations share this encoding of keys and actions.
//
// The encoders are templates over rows. Each compiles to the straight-line code that one would write by hand for its
// table: loads at constant offsets, masks applied in registers, stores at constant positions. No encoder fails, and
// only the prefix length is checked.
#pragma once

#include "catalog/layout.h"
#include "catalog/rows.h"
#include "codec/bytes.h"
#include "codec/meter_specs.h"
#include "codec/unroll.h"
#include "vl_driver/types.h"
#include "vl_pd/types.h"

namespace vl_pd::encoding {

using bytes::Byte;
using catalog::ActionRef;
using catalog::TableRef;

template <TableRef T>
inline constexpr catalog::KeyLayout key_layout = catalog::key_layout(*T);

template <ActionRef A>
inline constexpr catalog::ActionLayout action_layout = catalog::action_layout(*A);

// A driver match record with its key and mask buffers. The record points at the buffers, so it can't move.
template <TableRef T>
struct MatchRecord {
    Byte key[key_layout<T>.bytes];
    Byte mask[key_layout<T>.bytes];
    pipe_match_record record;

    MatchRecord() = default;
    MatchRecord(const MatchRecord&) = delete;
    MatchRecord& operator=(const MatchRecord&) = delete;
};

// A driver action record with its data, which is never null, even for an action without parameters.
template <ActionRef A>
struct ActionRecord {
    Byte data[action_layout<A>.bytes == 0 ? 1 : action_layout<A>.bytes];
    alignas(bytes::Vector) pipe_action_record record;

    ActionRecord() = default;
    ActionRecord(const ActionRecord&) = delete;
    ActionRecord& operator=(const ActionRecord&) = delete;
};

// The bits of a field's width. Masks of masked tables are cut to the width; key bytes keep what the caller set above.
constexpr uint32_t width_mask(unsigned bits) {
    return bits == 32 ? ~uint32_t{0} : (uint32_t{1} << bits) - 1;
}

// Encodes one field of a masked table. The caller's mask is first applied to the key, and then cut to the field's
// width. Both values stay in registers until they are complete.
template <TableRef T, size_t i>
VL_INLINE void build_masked_field(const Byte* match_spec, Byte* key, Byte* mask) {
    constexpr catalog::FieldLayout field = key_layout<T>.fields[i];
    constexpr bool has_mask = field.partner_bytes != 0;
    Byte* const field_key = key + field.key_position;
    Byte* const field_mask = mask + field.key_position;
    if constexpr (field.bits > 32) {
        const bytes::Block value = bytes::load_block(match_spec + field.record_offset);
        bytes::Block value_mask{{~uint64_t{0}, ~uint64_t{0}}};
        if constexpr (has_mask) value_mask = bytes::load_block(match_spec + field.partner_offset);
        bytes::store_block(field_key, value & value_mask);
        bytes::store_block(field_mask, value_mask);
    } else if constexpr (field.key_bytes == 1) {
        // Written with bytes, so that the compiler sees that it can mask and store neighbours together.
        const Byte value = match_spec[field.record_offset];
        Byte value_mask = 0xFF;
        if constexpr (has_mask) value_mask = match_spec[field.partner_offset];
        *field_key = value & value_mask;
        *field_mask = value_mask & static_cast<Byte>(width_mask(field.bits));
    } else {
        const uint32_t value = bytes::load<field.record_bytes>(match_spec + field.record_offset);
        uint32_t value_mask = ~uint32_t{0};
        if constexpr (has_mask) value_mask = bytes::load<field.partner_bytes>(match_spec + field.partner_offset);
        bytes::store_big_endian<field.key_bytes>(field_key, value & value_mask);
        bytes::store_big_endian<field.key_bytes>(field_mask, value_mask & width_mask(field.bits));
    }
}

template <TableRef T, size_t i>
VL_INLINE void build_exact_field(const Byte* match_spec, Byte* key) {
    constexpr catalog::FieldLayout field = key_layout<T>.fields[i];
    if constexpr (field.bits > 32)
        std::memcpy(key + field.key_position, match_spec + field.record_offset, field.key_bytes);
    else
        bytes::store_big_endian<field.key_bytes>(key + field.key_position,
                                                 bytes::load<field.record_bytes>(match_spec + field.record_offset));
}

// A mask of the first `length` bits. `length` must not exceed the field's width.
inline uint32_t prefix_mask(uint32_t length) {
    return static_cast<uint32_t>(~uint64_t{0} << (32 - length));
}

inline bytes::Wide wide_prefix_mask(uint32_t length) {
    return {.high = length < 64 ? ~(~uint64_t{0} >> length) : ~uint64_t{0},
            .low = length > 64 ? ~uint64_t{0} << (128 - length) : 0};
}

// Encodes the prefix field under a mask of `length` bits.
template <const catalog::FieldLayout& field>
VL_INLINE void build_prefix_field(const Byte* match_spec, uint32_t length, Byte* key, Byte* mask) {
    static_assert(field.bits == 32 || field.bits == 128);
    const Byte* const value = match_spec + field.record_offset;
    if constexpr (field.bits == 32) {
        bytes::store_big_endian<4>(key + field.key_position, bytes::load<4>(value) & prefix_mask(length));
        bytes::store_big_endian<4>(mask + field.key_position, prefix_mask(length));
    } else {
        bytes::store_wide(key + field.key_position, bytes::load_wide(value) & wide_prefix_mask(length));
        bytes::store_wide(mask + field.key_position, wide_prefix_mask(length));
    }
}

// Encodes the key of a prefix table. The prefix is the last field. The fields before it are exact, or name a partition,
// which is sent beside the key and isn't matched. Returns the entry's priority: the number of bits after the prefix, so
// that longer prefixes come first. If the length exceeds the field's width, key and mask keep all bits, and the
// priority is one that no prefix has.
template <TableRef T>
VL_INLINE uint32_t build_prefix_key(const Byte* match_spec, Byte* key, Byte* mask) {
    static constexpr catalog::KeyLayout layout = key_layout<T>;
    static constexpr catalog::FieldLayout prefix = layout.fields[layout.field_count - 1];
    const uint32_t length = bytes::load<prefix.partner_bytes>(match_spec + prefix.partner_offset);
    if constexpr (T->partitioned)
        std::memset(key, 0, prefix.key_position);
    else
        unroll<layout.field_count - 1>([&](auto i) { build_exact_field<T, i>(match_spec, key); });

    // A branch for the rare length that is out of range saves the others a clamp.
    if (length > prefix.bits) [[unlikely]] {
        std::memset(mask, 0xFF, layout.bytes);
        build_exact_field<T, layout.field_count - 1>(match_spec, key);
        return layout.bits + 1;
    }
    std::memset(mask, T->partitioned ? 0 : 0xFF, prefix.key_position);
    build_prefix_field<prefix>(match_spec, length, key, mask);
    return prefix.bits - length;
}

// Fills key and mask bytes and returns the entry's priority. `priority` is the caller's; only masked tables use it.
template <TableRef T>
VL_INLINE uint32_t build_key_and_mask(const Byte* match_spec, [[maybe_unused]] uint32_t priority, Byte* key,
                                      Byte* mask) {
    constexpr catalog::KeyLayout layout = key_layout<T>;
    constexpr catalog::KeyShape shape = catalog::key_shape(*T);
    if constexpr (shape == catalog::KeyShape::prefix) {
        return build_prefix_key<T>(match_spec, key, mask);
    } else if constexpr (shape == catalog::KeyShape::masked) {
        unroll<layout.field_count>([&](auto i) VL_INLINE_LAMBDA { build_masked_field<T, i>(match_spec, key, mask); });
        return priority;
    } else {
        // All ones, even above the width of a narrow field.
        std::memset(mask, 0xFF, layout.bytes);
        unroll<layout.field_count>([&](auto i) { build_exact_field<T, i>(match_spec, key); });
        return 0;
    }
}

template <TableRef T>
VL_INLINE void build_match_spec(const void* match_spec, uint32_t priority, MatchRecord<T>& out) {
    constexpr catalog::KeyLayout layout = key_layout<T>;
    const Byte* const record = static_cast<const Byte*>(match_spec);
    uint32_t partition = 0;
    if constexpr (T->partitioned) partition = bytes::load<2>(record + layout.fields[0].record_offset);
    out.record = {.key_bytes = out.key,
                  .mask_bytes = out.mask,
                  .partition_index = partition,
                  .priority = build_key_and_mask<T>(record, priority, out.key, out.mask),
                  .key_bits = layout.bits,
                  .key_len = layout.bytes,
                  .reserved = 0};
}

// The operation that sends an action. Operations differ in what a missing meter means and in how many bits of an index
// they send.
enum class Operation { add, modify, set_default };

template <ActionRef A>
VL_INLINE void build_action_data([[maybe_unused]] const Byte* action_spec, [[maybe_unused]] Byte* data) {
    constexpr catalog::ActionLayout layout = action_layout<A>;
    unroll<layout.param_count>([&](auto i) VL_INLINE_LAMBDA {
        constexpr catalog::ParamLayout param = layout.params[i];
        uint32_t value = 0; // in the data of a parameter that is only a slot index
        if constexpr (param.role != catalog::Role::slot_index)
            value = bytes::load<param.record_bytes>(action_spec + param.record_offset);
        bytes::store_big_endian<param.data_bytes>(data + param.data_position, value);
    });
}

// The place of the parameter that is a slot index, or the parameter count if there is none.
template <ActionRef A>
consteval size_t index_param() {
    size_t i = 0;
    while (i < action_layout<A>.param_count && action_layout<A>.params[i].role == catalog::Role::data)
        ++i;
    return i;
}

// Fills the slot of the table's attached resource, which is zero on entry.
template <TableRef T, ActionRef A, Operation operation>
void build_slot(const Byte* action_spec, const pd_meter_spec* meter_spec, pipe_resource_slot& slot) {
    using enum catalog::Addressing;
    constexpr catalog::AttachedResource resource = catalog::resource_of(catalog::program, *T);
    constexpr const catalog::Binding* binding = catalog::find_binding(T->actions, A->name);
    constexpr size_t index = index_param<A>();
    slot.resource_hdl = resource.handle;
    if constexpr (resource.addressing == direct && resource.kind == catalog::ResourceKind::meter) {
        if (meter_spec == nullptr) {
            slot.tag = operation == Operation::set_default ? PIPE_SLOT_DETACHED : PIPE_SLOT_UNCHANGED;
            return;
        }
        const pipe_meter_spec driver_spec = meters::bytes_meter(*meter_spec);
        std::memcpy(slot.spec, &driver_spec, sizeof driver_spec);
        slot.tag = PIPE_SLOT_ATTACHED;
    } else if constexpr (resource.addressing == direct) {
        slot.tag = PIPE_SLOT_ATTACHED;
    } else if constexpr (index < action_layout<A>.param_count) {
        constexpr catalog::ParamLayout param = action_layout<A>.params[index];
        const uint32_t value = bytes::load<param.record_bytes>(action_spec + param.record_offset);
        slot.index = operation == Operation::modify ? value : value & 0xFFFF;
        slot.tag = PIPE_SLOT_ATTACHED;
    } else if constexpr (binding->constant_index != 0) {
        slot.index = binding->constant_index;
        slot.tag = PIPE_SLOT_ATTACHED;
    } else {
        slot.tag = PIPE_SLOT_DETACHED;
    }
}

// Clears the record and fills in the action data. Entries and members have this in common.
template <ActionRef A>
VL_INLINE void build_data_record(const Byte* action_spec, ActionRecord<A>& out) {
    constexpr catalog::ActionLayout layout = action_layout<A>;
    bytes::clear(out.record);
    build_action_data<A>(action_spec, out.data);
    out.record.action = {.data_bits = layout.bits, .data_len = layout.bytes, .reserved = 0, .data = out.data};
}

template <TableRef T, ActionRef A, Operation operation>
VL_INLINE void build_action_record(const void* action_spec, const pd_meter_spec* meter_spec, ActionRecord<A>& out) {
    const Byte* const spec = static_cast<const Byte*>(action_spec);
    build_data_record<A>(spec, out);
    out.record.kind = PIPE_KIND_ACTION_DATA;
    if constexpr (catalog::resource_of(catalog::program, *T)) {
        out.record.resource_count = 1;
        build_slot<T, A, operation>(spec, meter_spec, out.record.slots[0]);
    }
}

} // namespace vl_pd::encoding
