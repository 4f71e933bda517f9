// Meters and WRED blocks at the boundary. The specs of direct meters are in the slots of entries; see resources.cpp.
#include <algorithm>

#include "core/model.h"

using namespace vl_model;

namespace {

// Zeros before the first set.
template <class Spec>
Spec spec_at(const std::unordered_map<uint32_t, Spec>& specs, uint32_t index) {
    const auto found = specs.find(index);
    return found == specs.end() ? Spec{} : found->second;
}

pipe_meter_spec attached_spec(const Table& table, pipe_ent_hdl ent_hdl) {
    refuse_if(table.meter == nullptr, VL_MODEL_NOT_SUPPORTED);
    const EntryView entry = view_of_row(table, ent_hdl, false);
    const auto* end = entry.slots + entry.slot_count;
    const auto* slot = std::find_if(entry.slots, end, [&](const pipe_resource_slot& candidate) {
        return candidate.resource_hdl == table.meter->description.handle && candidate.tag == PIPE_SLOT_ATTACHED;
    });
    refuse_if(slot == end, VL_MODEL_NOT_FOUND);
    return meter_spec_of(*slot);
}

} // namespace

pipe_status pipe_mgr_meter_read_entry(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                      pipe_ent_hdl ent_hdl, pipe_meter_spec* spec) {
    return device_call(__func__, sess_hdl, dev_tgt, tbl_hdl, ent_hdl,
                       spec)([&](Device& device) { *spec = attached_spec(device.table(tbl_hdl), ent_hdl); });
}

pipe_status pipe_mgr_meter_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl meter_hdl, uint32_t index,
                                   const pipe_meter_spec* spec, uint32_t flags) {
    return Boundary(__func__, sess_hdl, dev_tgt, meter_hdl, index, input(spec), flags)([&] {
        refuse_if(!is_sound(*spec), VL_MODEL_BAD_DATA);
        const auto device = lock_device(sess_hdl, dev_tgt);
        array_with_cell(device->meters, meter_hdl, index).specs[index] = *spec;
    });
}

pipe_status pipe_mgr_meter_read_entry_idx(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl meter_hdl,
                                          uint32_t index, pipe_meter_spec* spec, uint32_t flags) {
    return device_call(__func__, sess_hdl, dev_tgt, meter_hdl, index, spec, flags)(
        [&](Device& device) { *spec = spec_at(array_with_cell(device.meters, meter_hdl, index).specs, index); });
}

pipe_status pipe_mgr_meter_set_bytecount_adjust(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl meter_hdl,
                                                uint32_t adjustment) {
    return device_call(__func__, sess_hdl, dev_tgt, meter_hdl, adjustment)(
        [&](Device& device) { resource_in(device.meters, meter_hdl).bytecount_adjust = adjustment; });
}

pipe_status pipe_mgr_meter_get_bytecount_adjust(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl meter_hdl,
                                                uint32_t* adjustment) {
    return device_call(__func__, sess_hdl, dev_tgt, meter_hdl, adjustment)(
        [&](Device& device) { *adjustment = resource_in(device.meters, meter_hdl).bytecount_adjust; });
}

pipe_status pipe_mgr_wred_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl wred_hdl, uint32_t index,
                                  const pipe_wred_spec* spec, uint32_t flags) {
    return device_call(__func__, sess_hdl, dev_tgt, wred_hdl, index, input(spec), flags)(
        [&](Device& device) { array_with_cell(device.wred_blocks, wred_hdl, index).specs[index] = *spec; });
}

pipe_status pipe_mgr_wred_read_entry_idx(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl wred_hdl,
                                         uint32_t index, pipe_wred_spec* spec, uint32_t flags) {
    return device_call(__func__, sess_hdl, dev_tgt, wred_hdl, index, spec, flags)(
        [&](Device& device) { *spec = spec_at(array_with_cell(device.wred_blocks, wred_hdl, index).specs, index); });
}
