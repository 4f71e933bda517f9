// An entry that was read by its handle or decoded from placement data: what texts and comparisons take, in one shape
// for tables of all classes.
#pragma once

#include "codec/actions.h"
#include "pd/tables/reading.h"
#include "pd_velmar/columns.h"

namespace vl_pd {

// An action's number and then its parameters, with room for any action of the table or profile.
template <auto row>
struct NumberedAction {
    static constexpr size_t spec_size = [] {
        size_t size = 0;
        for (const catalog::Binding& binding : row->actions) {
            const catalog::Action& action =
                catalog::program.actions[number_of(catalog::program.actions, binding.action)];
            size = std::max<size_t>(size, catalog::action_layout(action).record_size);
        }
        return size;
    }();

    uint32_t number = 0;
    bytes::Byte spec[spec_size + 1];
};

// What an entry of an indirect table points at.
struct PointedAt {
    uint8_t has_mbr = 0;
    uint8_t has_grp = 0;
    pd_group grp_hdl = 0;
    pd_member mbr_hdl = 0;
};

// Readers leave a member as it is here if the table's class or the entry doesn't have it. The records aren't cleared,
// because most entries are shown once and then dropped.
template <catalog::TableRef T>
struct Entry {
    alignas(4) bytes::Byte match_spec[encoding::key_layout<T>.record_size + 1];
    NumberedAction<T> action;
    uint32_t priority = 0;
    uint8_t is_default = 0;
    PointedAt target;

    bool has_key() const {
        return T->key.size() != 0 && is_default == 0;
    }

    // The low 8 bits of dev_id and read_from_hw count.
    pd_status read(pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw) {
        return reading::get_entry<T>(sess_hdl, static_cast<uint8_t>(dev_id), entry_hdl,
                                     static_cast<uint8_t>(read_from_hw), outputs());
    }

    pd_status decode(const void* plcmt_data) {
        return reading::decode_entry<T>(plcmt_data, outputs());
    }

private:
    reading::Outputs outputs() {
        return {.match_spec = match_spec,
                .priority = &priority,
                .is_default = &is_default,
                .action_name = nullptr,
                .action_number = &action.number,
                .action_spec = action.spec,
                .has_mbr = &target.has_mbr,
                .has_grp = &target.has_grp,
                .grp_hdl = &target.grp_hdl,
                .mbr_hdl = &target.mbr_hdl};
    }
};

} // namespace vl_pd
