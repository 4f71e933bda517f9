// Meters and WRED blocks at the boundary. What an entry's slot says of a direct meter is kept there; see resources.cpp.
#include <algorithm>

#include "core/boundary.h"
#include "reads/readback.h"

using namespace vl_model;

namespace {

template <class Body>
pipe_status with_meter(pipe_sess_hdl sess_hdl, Target target, pipe_tbl_hdl meter_hdl, Body&& body) {
    return with_device(sess_hdl, target, [&](Device& device) {
        return on_resource(device.meters, meter_hdl, [&](Meter& meter) -> pipe_status {
            body(meter);
            return VL_MODEL_OK;
        });
    });
}

// Runs `body` on the specs of a meter or WRED block that has the index.
template <class Resource, class Body>
pipe_status with_specs(pipe_sess_hdl sess_hdl, Target target, std::map<pipe_tbl_hdl, Resource> Device::*resources,
                       pipe_tbl_hdl hdl, uint32_t index, Body&& body) {
    return with_device(sess_hdl, target, [&](Device& device) {
        return on_cell(device.*resources, hdl, index, [&](Resource& resource) -> pipe_status {
            body(resource.specs);
            return VL_MODEL_OK;
        });
    });
}

// Zeros before the first set.
template <class Spec>
Spec spec_at(const std::unordered_map<uint32_t, Spec>& specs, uint32_t index) {
    const auto found = specs.find(index);
    return found == specs.end() ? Spec{} : found->second;
}

pipe_status read_attached(const Table& table, pipe_ent_hdl ent_hdl, pipe_meter_spec& spec) {
    if (table.meter == nullptr) return VL_MODEL_NOT_SUPPORTED;
    EntryView entry;
    if (const pipe_status status = find_view(table, ent_hdl, false, entry)) return status;
    const auto* end = entry.slots + entry.slot_count;
    const auto* slot = std::find_if(entry.slots, end, [&](const pipe_resource_slot& candidate) {
        return candidate.resource_hdl == table.meter->description.handle && candidate.tag == PIPE_SLOT_ATTACHED;
    });
    if (slot == end) return VL_MODEL_NOT_FOUND;
    spec = meter_spec_of(*slot);
    return VL_MODEL_OK;
}

} // namespace

pipe_status pipe_mgr_meter_read_entry(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                      pipe_ent_hdl ent_hdl, pipe_meter_spec* spec) {
    const auto body = [&]() -> pipe_status {
        if (spec == nullptr) return VL_MODEL_INVALID;
        return with_table(sess_hdl, dev_tgt, tbl_hdl,
                          [&](const Table& table) { return read_attached(table, ent_hdl, *spec); });
    };
    return boundary("pipe_mgr_meter_read_entry", body, sess_hdl, dev_tgt, tbl_hdl, ent_hdl, spec);
}

pipe_status pipe_mgr_meter_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl meter_hdl, uint32_t index,
                                   const pipe_meter_spec* spec, uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        if (spec == nullptr) return VL_MODEL_INVALID;
        if (!is_sound(*spec)) return VL_MODEL_BAD_DATA;
        return with_specs(sess_hdl, dev_tgt, &Device::meters, meter_hdl, index,
                          [&](auto& specs) { specs[index] = *spec; });
    };
    return boundary("pipe_mgr_meter_ent_set", body, sess_hdl, dev_tgt, meter_hdl, index, input(spec), flags);
}

pipe_status pipe_mgr_meter_read_entry_idx(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl meter_hdl,
                                          uint32_t index, pipe_meter_spec* spec, uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        if (spec == nullptr) return VL_MODEL_INVALID;
        return with_specs(sess_hdl, dev_tgt, &Device::meters, meter_hdl, index,
                          [&](const auto& specs) { *spec = spec_at(specs, index); });
    };
    return boundary("pipe_mgr_meter_read_entry_idx", body, sess_hdl, dev_tgt, meter_hdl, index, spec, flags);
}

pipe_status pipe_mgr_meter_set_bytecount_adjust(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl meter_hdl,
                                                uint32_t adjustment) {
    const auto body = [&] {
        return with_meter(sess_hdl, dev_tgt, meter_hdl, [&](Meter& meter) { meter.bytecount_adjust = adjustment; });
    };
    return boundary("pipe_mgr_meter_set_bytecount_adjust", body, sess_hdl, dev_tgt, meter_hdl, adjustment);
}

pipe_status pipe_mgr_meter_get_bytecount_adjust(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl meter_hdl,
                                                uint32_t* adjustment) {
    const auto body = [&]() -> pipe_status {
        if (adjustment == nullptr) return VL_MODEL_INVALID;
        return with_meter(sess_hdl, dev_tgt, meter_hdl,
                          [&](const Meter& meter) { *adjustment = meter.bytecount_adjust; });
    };
    return boundary("pipe_mgr_meter_get_bytecount_adjust", body, sess_hdl, dev_tgt, meter_hdl, adjustment);
}

pipe_status pipe_mgr_wred_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl wred_hdl, uint32_t index,
                                  const pipe_wred_spec* spec, uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        if (spec == nullptr) return VL_MODEL_INVALID;
        return with_specs(sess_hdl, dev_tgt, &Device::wred_blocks, wred_hdl, index,
                          [&](auto& specs) { specs[index] = *spec; });
    };
    return boundary("pipe_mgr_wred_ent_set", body, sess_hdl, dev_tgt, wred_hdl, index, input(spec), flags);
}

pipe_status pipe_mgr_wred_read_entry_idx(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl wred_hdl,
                                         uint32_t index, pipe_wred_spec* spec, uint32_t flags) {
    const auto body = [&]() -> pipe_status {
        if (spec == nullptr) return VL_MODEL_INVALID;
        return with_specs(sess_hdl, dev_tgt, &Device::wred_blocks, wred_hdl, index,
                          [&](const auto& specs) { *spec = spec_at(specs, index); });
    };
    return boundary("pipe_mgr_wred_read_entry_idx", body, sess_hdl, dev_tgt, wred_hdl, index, spec, flags);
}
