// From the agent's records to the driver's: the one encoding of keys and actions that all operations share.
//
// The encoders are templates over rows, so that each compiles to the straight-line code that one would write by hand
// for its table: loads at constant offsets, masks applied to values in registers, stores at constant positions. Nothing
// here can fail, and nothing is validated but the prefix length.
#pragma once

#include "catalog/catalog.h"
#include "catalog/layout.h"
#include "pd/bytes.h"
#include "pd/meters.h"
#include "pd/unroll.h"
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

// The flags word of the driver's calls.
inline constexpr uint32_t no_flags = 0;

// A driver match record with the buffers that it names. It is filled in place and can't move.
template <TableRef T>
struct MatchRecord {
    Byte key[key_layout<T>.bytes];
    Byte mask[key_layout<T>.bytes];
    pipe_match_record record;

    MatchRecord() = default;
    MatchRecord(const MatchRecord&) = delete;
    MatchRecord& operator=(const MatchRecord&) = delete;
};

// A driver action record with its data. Actions without parameters have data that isn't null all the same.
template <ActionRef A>
struct ActionRecord {
    Byte data[action_layout<A>.bytes == 0 ? 1 : action_layout<A>.bytes];
    alignas(bytes::Vector) pipe_action_record record;

    ActionRecord() = default;
    ActionRecord(const ActionRecord&) = delete;
    ActionRecord& operator=(const ActionRecord&) = delete;
};

// Key bytes carry the bits above a field's width, if the caller set them; mask bytes of masked tables never do.
constexpr uint32_t width_mask(unsigned bits) {
    return bits == 32 ? ~uint32_t{0} : (uint32_t{1} << bits) - 1;
}

// One field of a masked table. The key is cut by the mask as the caller gave it, before the mask itself is cut to the
// field's width; values stay in registers until both are.
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
        // In a byte's own type the compiler sees that neighbours can be masked and stored together.
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

// A mask of the first `length` bits; length is at most the width.
inline uint32_t prefix_mask(uint32_t length) {
    return static_cast<uint32_t>(~uint64_t{0} << (32 - length));
}

inline bytes::Wide wide_prefix_mask(uint32_t length) {
    return {.high = length < 64 ? ~(~uint64_t{0} >> length) : ~uint64_t{0},
            .low = length > 64 ? ~uint64_t{0} << (128 - length) : 0};
}

// The prefix field, under a mask of `length` bits.
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

// A prefix table's prefix is its last field; the fields before it are exact, or name a partition, which travels beside
// the key and isn't matched. Returns the entry's priority: the count of bits that the prefix leaves open, so that
// longer prefixes come first. A length beyond the field leaves key and mask whole, and is told by a priority that no
// prefix has.
template <TableRef T>
VL_INLINE uint32_t build_prefix_key(const Byte* match_spec, Byte* key, Byte* mask) {
    static constexpr catalog::KeyLayout layout = key_layout<T>;
    static constexpr catalog::FieldLayout prefix = layout.fields[layout.field_count - 1];
    const uint32_t length = bytes::load<prefix.partner_bytes>(match_spec + prefix.partner_offset);
    if constexpr (T->partitioned)
        std::memset(key, 0, prefix.key_position);
    else
        unroll<layout.field_count - 1>([&]<size_t i>() VL_INLINE_LAMBDA { build_exact_field<T, i>(match_spec, key); });

    // Out of range is the rare case and a branch of its own, so that the masks of the others need no clamping.
    if (length > prefix.bits) [[unlikely]] {
        std::memset(mask, 0xFF, layout.bytes);
        build_exact_field<T, layout.field_count - 1>(match_spec, key);
        return layout.bits + 1;
    }
    std::memset(mask, T->partitioned ? 0 : 0xFF, prefix.key_position);
    build_prefix_field<prefix>(match_spec, length, key, mask);
    return prefix.bits - length;
}

// Fills key and mask bytes and returns the entry's priority. `priority` is the caller's, and counts in masked tables.
template <TableRef T>
VL_INLINE uint32_t build_key_and_mask(const Byte* match_spec, [[maybe_unused]] uint32_t priority, Byte* key,
                                      Byte* mask) {
    constexpr catalog::KeyLayout layout = key_layout<T>;
    constexpr catalog::KeyShape shape = catalog::key_shape(*T);
    if constexpr (shape == catalog::KeyShape::prefix) {
        return build_prefix_key<T>(match_spec, key, mask);
    } else if constexpr (shape == catalog::KeyShape::masked) {
        unroll<layout.field_count>([&]<size_t i>()
                                       VL_INLINE_LAMBDA { build_masked_field<T, i>(match_spec, key, mask); });
        return priority;
    } else {
        // All ones, also above the width of a narrow field.
        std::memset(mask, 0xFF, layout.bytes);
        unroll<layout.field_count>([&]<size_t i>() VL_INLINE_LAMBDA { build_exact_field<T, i>(match_spec, key); });
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

// Which operation sends an action. They differ in how they read a missing meter and an index parameter.
enum class Operation { add, modify, set_default };

template <ActionRef A>
VL_INLINE void build_action_data([[maybe_unused]] const Byte* action_spec, [[maybe_unused]] Byte* data) {
    constexpr catalog::ActionLayout layout = action_layout<A>;
    unroll<layout.param_count>([&]<size_t i>() VL_INLINE_LAMBDA {
        constexpr catalog::ParamLayout param = layout.params[i];
        uint32_t value = 0; // an index that isn't data leaves its bytes zero
        if constexpr (param.role != catalog::Role::slot_index)
            value = bytes::load<param.record_bytes>(action_spec + param.record_offset);
        bytes::store_big_endian<param.data_bytes>(data + param.data_position, value);
    });
}

// The place of the parameter that is an index into the table's resource, or the parameter count.
template <ActionRef A>
consteval size_t index_param() {
    size_t i = 0;
    while (i < action_layout<A>.param_count && action_layout<A>.params[i].role == catalog::Role::data)
        ++i;
    return i;
}

// The slot of the table's attached resource. `slot` is zero.
template <TableRef T, ActionRef A, Operation operation>
VL_INLINE void build_slot(const Byte* action_spec, const pd_meter_spec* meter_spec, pipe_resource_slot& slot) {
    constexpr catalog::AttachedResource resource = catalog::resource_of(catalog::velmar_switch, *T);
    constexpr const catalog::Binding* binding = catalog::find_binding(T->actions, A->name);
    constexpr size_t index = index_param<A>();
    slot.resource_hdl = resource.handle;
    if constexpr (resource.addressing == catalog::direct && resource.kind == catalog::ResourceKind::meter) {
        if (meter_spec == nullptr) {
            slot.tag = operation == Operation::set_default ? PIPE_SLOT_DETACHED : PIPE_SLOT_UNCHANGED;
            return;
        }
        const pipe_meter_spec driver_spec = meters::bytes_meter(*meter_spec);
        std::memcpy(slot.spec, &driver_spec, sizeof driver_spec);
        slot.tag = PIPE_SLOT_ATTACHED;
    } else if constexpr (resource.addressing == catalog::direct) {
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

// The part that entries and members have in common: a cleared record with the action data.
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
    if constexpr (catalog::resource_of(catalog::velmar_switch, *T)) {
        out.record.resource_count = 1;
        build_slot<T, A, operation>(spec, meter_spec, out.record.slots[0]);
    }
}

} // namespace vl_pd::encoding
