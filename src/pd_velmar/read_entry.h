// An entry as a table's own get_entry function reads it, in one shape for tables of all classes.
#pragma once

#include "pd_velmar/columns.h"

namespace vl_pd {

// Bytes of the largest record among the table's actions.
template <catalog::TableRef T>
inline constexpr std::size_t action_spec_size = [] {
    std::size_t size = 0;
    for (const catalog::Binding& binding : T->actions) {
        const std::size_t number = catalog::action_number(catalog::velmar_switch, binding.action);
        const std::size_t needed = catalog::action_layout(catalog::actions[number]).record_size;
        if (needed > size) size = needed;
    }
    return size;
}();

// What the reader doesn't write, because of the table's class or the entry's form, stays as it is set here. Records are
// as large as the reader needs them and no larger.
template <catalog::TableRef T>
struct Entry {
    alignas(4) bytes::Byte match_spec[encoding::key_layout<T>.record_size + 1];
    alignas(4) bytes::Byte action_spec[action_spec_size<T> + 1];
    std::uint32_t priority = 0;
    std::uint32_t action_id = 0;
    std::uint8_t is_default = 0;
    std::uint8_t has_mbr = 0;
    std::uint8_t has_grp = 0;
    pd_group grp_hdl = 0;
    pd_member mbr_hdl = 0;

    bool has_key() const {
        return T->key.size() != 0 && is_default == 0;
    }
};

// `get_entry` is the exported function of the table. dev_id is cut to the 8 bits that text and comparison pass on.
template <catalog::TableRef T, class Spec, class... Rest>
pd_status read_entry(pd_status (*get_entry)(pd_session, pd_device, pd_entry, std::uint32_t, Spec*, Rest...) noexcept,
                     pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, std::uint32_t read_from_hw,
                     Entry<T>& entry) {
    const auto device = static_cast<std::uint8_t>(dev_id);
    const auto from_hw = static_cast<std::uint8_t>(read_from_hw);
    if constexpr (T->key.size() == 0) {
        return get_entry(sess_hdl, device, entry_hdl, from_hw, nullptr, entry.action_spec, &entry.action_id);
    } else {
        Spec* const spec = reinterpret_cast<Spec*>(entry.match_spec);
        const auto read = [&](auto... rest) { return get_entry(sess_hdl, device, entry_hdl, from_hw, spec, rest...); };
        std::uint32_t* const priority = &entry.priority;
        const auto read_action = [&](auto... key_outputs) {
            return read(key_outputs..., static_cast<char*>(nullptr), static_cast<void*>(entry.action_spec),
                        &entry.action_id, &entry.is_default);
        };
        const auto read_target = [&](auto... key_outputs) {
            return read(key_outputs..., &entry.has_mbr, &entry.has_grp, &entry.grp_hdl, &entry.mbr_hdl,
                        &entry.is_default);
        };
        if constexpr (is_indirect<T> && catalog::has_priority(*T))
            return read_target(priority);
        else if constexpr (is_indirect<T>)
            return read_target();
        else if constexpr (catalog::has_priority(*T))
            return read_action(priority);
        else
            return read_action();
    }
}

} // namespace vl_pd
