// Value strings: entries, keys and actions as Python literals, in the columns that the schemas describe.
//
// The numbers of digits and the punctuation are known at compile time, so the writing code has no branches.
#pragma once

#include <cassert>

#include "codec/actions.h"
#include "pd/placement.h"
#include "pd_velmar/entry.h"
#include "pd_velmar/text_writer.h"

namespace vl_pd::value {

using bytes::Byte;
using catalog::ActionRef;
using catalog::ProfileRef;
using catalog::TableRef;

// Shows wide values whole, and all others through the field mask.
template <TableRef T>
char* put_match_spec(char* out, const Byte* record) {
    out = text::put(out, "( ");
    unroll<columns<T>.size()>([&](auto i) VL_INLINE_LAMBDA {
        constexpr Column column = columns<T>[i];
        if constexpr (column.wide()) {
            out = text::decodev(out, record + column.record_offset);
        } else {
            const uint32_t value = bytes::load<column.record_bytes>(record + column.record_offset);
            out = text::put_hex<column.digits>(text::put(out, "0x"), value & column.word_mask());
            out = text::put(out, ",");
        }
    });
    return text::put(out, "),");
}

template <ActionRef A>
char* put_action(char* out, [[maybe_unused]] const Byte* record) {
    constexpr catalog::ActionLayout layout = encoding::action_layout<A>;
    out = text::put(out, "('");
    out = text::put(out, std::string_view(A->name));
    out = text::put(out, "',(");
    unroll<layout.param_count>([&](auto i) VL_INLINE_LAMBDA {
        constexpr catalog::ParamLayout param = layout.params[i];
        out = text::put(out, "0x");
        out = text::put_hex<(param.bits + 3) / 4>(out, bytes::load<param.record_bytes>(record + param.record_offset) &
                                                           encoding::width_mask(param.bits));
        out = text::put(out, ",");
    });
    return text::put(out, ")),");
}

// Writes the action of a table or profile that has this number. Readers give only such numbers.
template <auto row>
char* put_numbered_action(char* out, uint32_t number, const Byte* record) {
    [[maybe_unused]] const bool known =
        visit_numbered_action<row>(number, [&](auto action) { out = put_action<action.value>(out, record); });
    assert(known && "unknown action");
    return out;
}

// Writes the handle of an indirect entry, or nothing. If there are both, it writes the member.
inline char* put_target(char* out, const PointedAt& target) {
    if (target.has_mbr != 0)
        out = text::put_hex(text::put(out, "('setMbrHdl',(0x"), target.mbr_hdl);
    else if (target.has_grp != 0)
        out = text::put_hex(text::put(out, "('setGrpHdl',(0x"), target.grp_hdl);
    else
        return out;
    return text::put(out, ",))");
}

// Writes the first half of an entry: its key, or the empty tuple instead, and its action or handle.
template <TableRef T>
char* put_key_and_action(char* out, const Entry<T>& entry) {
    if (entry.has_key())
        out = put_match_spec<T>(out, entry.match_spec);
    else
        out = text::put(out, "(),");
    if constexpr (catalog::is_indirect(*T))
        return put_target(out, entry.target);
    else
        return put_numbered_action<T>(out, entry.action.number, entry.action.spec);
}

template <TableRef T>
int match_spec(const void* record, char* buffer) noexcept {
    return text::finish(buffer, put_match_spec<T>(buffer, static_cast<const Byte*>(record)));
}

template <ActionRef A>
int action(const void* record, char* buffer) noexcept {
    return text::finish(buffer, put_action<A>(buffer, static_cast<const Byte*>(record)));
}

// 0, with nothing written, if the entry can't be read.
template <TableRef T>
int entry(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw, char* buffer) noexcept {
    Entry<T> entry;
    if (entry.read(sess_hdl, dev_id, entry_hdl, read_from_hw) != PD_STATUS_OK) return 0;
    char* out = put_key_and_action<T>(text::put(buffer, "(("), entry);
    out = text::put(out, "),(");
    if constexpr (catalog::has_priority(*T))
        out = text::put_signed(out, static_cast<int32_t>(entry.priority));
    else
        out = text::put(out, "0");
    return text::finish(buffer, text::put(out, ",True))"));
}

// The same from placement data, without priority. 0, with nothing written, if the driver can't decode it.
template <TableRef T>
int placed_entry(const void* plcmt_data, char* buffer) noexcept {
    Entry<T> entry;
    if (entry.decode(plcmt_data) != PD_STATUS_OK) return 0;
    char* const out = put_key_and_action<T>(text::put(buffer, "("), entry);
    return text::finish(buffer, text::put(out, ")"));
}

template <ProfileRef P>
int placed_member(const void* plcmt_data, char* buffer) noexcept {
    NumberedAction<P> action;
    if (placement::decode_member<P>(plcmt_data, &action) != PD_STATUS_OK) return 0;
    return text::finish(buffer, put_numbered_action<P>(buffer, action.number, action.spec));
}

} // namespace vl_pd::value
