// An entry as the functions of its table give it, read from the driver or decoded from placement data, in one shape for
// tables of all classes.
#pragma once

#include "pd_velmar/columns.h"

namespace vl_pd {

// Bytes of the largest record among the actions of a table or profile.
template <auto row>
inline constexpr size_t action_spec_size = [] {
    size_t size = 0;
    for (const catalog::Binding& binding : row->actions) {
        const size_t number = catalog::action_number(catalog::velmar_switch, binding.action);
        const size_t needed = catalog::action_layout(catalog::actions[number]).record_size;
        if (needed > size) size = needed;
    }
    return size;
}();

// An action's number with its record behind it, as decoders write them.
template <auto row>
struct NumberedAction {
    uint32_t number = 0;
    bytes::Byte spec[action_spec_size<row> + 1];
};

// What isn't written, because of the table's class or the entry's form, stays as it is set here. The records are as
// large as they have to be and not set: most entries are shown once and gone.
template <catalog::TableRef T>
struct Entry {
    alignas(4) bytes::Byte match_spec[encoding::key_layout<T>.record_size + 1];
    NumberedAction<T> action;
    uint32_t priority = 0;
    uint8_t is_default = 0;
    uint8_t has_mbr = 0;
    uint8_t has_grp = 0;
    pd_group grp_hdl = 0;
    pd_member mbr_hdl = 0;

    bool has_key() const {
        return T->key.size() != 0 && is_default == 0;
    }
};

// `get_entry` is the exported function of the table. dev_id is cut to the 8 bits that text and comparison pass on.
template <catalog::TableRef T, class... Outputs>
pd_status read_entry(pd_status (*get_entry)(pd_session, pd_device, pd_entry, uint32_t, Outputs...) noexcept,
                     pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw,
                     Entry<T>& entry) {
    const auto read = [&](auto... outputs) {
        return get_entry(sess_hdl, static_cast<uint8_t>(dev_id), entry_hdl, static_cast<uint8_t>(read_from_hw),
                         static_cast<Outputs>(outputs)...);
    };
    void* const key = entry.match_spec;
    char* const no_name = nullptr;
    void* const spec = entry.action.spec;
    if constexpr (T->key.size() == 0)
        return read(no_name, spec, &entry.action.number);
    else if constexpr (is_indirect<T> && catalog::has_priority(*T))
        return read(key, &entry.priority, &entry.has_mbr, &entry.has_grp, &entry.grp_hdl, &entry.mbr_hdl,
                    &entry.is_default);
    else if constexpr (is_indirect<T>)
        return read(key, &entry.has_mbr, &entry.has_grp, &entry.grp_hdl, &entry.mbr_hdl, &entry.is_default);
    else if constexpr (catalog::has_priority(*T))
        return read(key, &entry.priority, no_name, spec, &entry.action.number, &entry.is_default);
    else
        return read(key, no_name, spec, &entry.action.number, &entry.is_default);
}

// The same from placement data; `decode` is the table's get_entry_from_plcmt_data, whose outputs have another order.
template <catalog::TableRef T, class... Outputs>
pd_status decode_entry(pd_status (*decode)(const void*, Outputs...) noexcept, const void* plcmt_data, Entry<T>& entry) {
    const auto read = [&](auto... outputs) { return decode(plcmt_data, static_cast<Outputs>(outputs)...); };
    void* const key = entry.match_spec;
    void* const action = &entry.action;
    if constexpr (T->key.size() == 0)
        return read(action, &entry.is_default);
    else if constexpr (is_indirect<T> && catalog::has_priority(*T))
        return read(key, &entry.priority, &entry.mbr_hdl, &entry.grp_hdl, &entry.has_mbr, &entry.has_grp,
                    &entry.is_default);
    else if constexpr (is_indirect<T>)
        return read(key, &entry.mbr_hdl, &entry.grp_hdl, &entry.has_mbr, &entry.has_grp, &entry.is_default);
    else if constexpr (catalog::has_priority(*T))
        return read(key, &entry.priority, action, &entry.is_default);
    else
        return read(key, action, &entry.is_default);
}

} // namespace vl_pd
