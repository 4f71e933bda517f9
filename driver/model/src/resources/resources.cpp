// What entries and resources have to do with each other, and the pipes that registers are spread over.
#include "resources/resources.h"

#include <algorithm>
#include <cstring>

#include "core/boundary.h"
#include "reads/readback.h"

namespace vl_model {

bool is_sound(const pipe_meter_spec& spec) {
    return spec.type <= PIPE_METER_COLOR_UNAWARE && spec.committed_unit <= PIPE_METER_UNIT_PACKETS &&
           spec.peak_unit == spec.committed_unit;
}

pipe_meter_spec meter_spec_of(const pipe_resource_slot& slot) {
    pipe_meter_spec spec;
    std::memcpy(&spec, slot.spec, sizeof(spec));
    return spec;
}

PipeRange pipes_of(const Register& stateful, uint16_t pipe_id) {
    if (pipe_id == PIPE_ALL_PIPES) return {.first = 0, .count = static_cast<uint32_t>(stateful.pipes.size())};
    return {.first = pipe_id, .count = 1};
}

namespace {

pipe_status check_slot(const Table& table, const pipe_resource_slot& slot) {
    const auto names = [&](const auto* resource) {
        return resource != nullptr && resource->description.handle == slot.resource_hdl;
    };
    if (!names(table.counter) && !names(table.meter) && !names(table.stateful)) return VL_MODEL_UNKNOWN_RESOURCE;
    switch (slot.tag) {
    case PIPE_SLOT_UNCHANGED:
        return VL_MODEL_OK;
    case PIPE_SLOT_ATTACHED:
        return names(table.meter) && !is_sound(meter_spec_of(slot)) ? VL_MODEL_BAD_DATA : VL_MODEL_OK;
    case PIPE_SLOT_DETACHED:
        return names(table.meter) ? VL_MODEL_OK : VL_MODEL_BAD_DATA;
    default:
        return VL_MODEL_BAD_DATA;
    }
}

pipe_status set_meter_slot(Table& table, pipe_ent_hdl ent_hdl, const pipe_resource_slot& slot) {
    EntryView entry;
    if (const pipe_status status = find_view(table, ent_hdl, false, entry)) return status;
    std::array<pipe_resource_slot, PIPE_MAX_SLOTS> slots{};
    std::copy_n(entry.slots, entry.slot_count, slots.begin());
    uint8_t resource_count = entry.resource_count;
    if (!put_slot(slots, resource_count, slot)) return VL_MODEL_BAD_DATA;
    if (ent_hdl == table.default_handle()) {
        table.default_entry->slots = slots;
        table.default_entry->resource_count = resource_count;
    } else {
        table.entries.set_slots(ent_hdl, slots, resource_count);
    }
    table.forget_copies(ent_hdl);
    return VL_MODEL_OK;
}

// A counter's spec begins with a counter record, a register's with its value.
pipe_status apply_slot(Table& table, pipe_ent_hdl ent_hdl, const pipe_resource_slot& slot) {
    if (slot.tag == PIPE_SLOT_UNCHANGED) return VL_MODEL_OK;
    if (table.meter != nullptr && slot.resource_hdl == table.meter->description.handle)
        return set_meter_slot(table, ent_hdl, slot);
    if (table.counter != nullptr && slot.resource_hdl == table.counter->description.handle) {
        pipe_counter_record record;
        std::memcpy(&record, slot.spec, sizeof(record));
        table.counter->cells.set(ent_hdl, record);
        return VL_MODEL_OK;
    }
    pipe_stful_element element;
    std::memcpy(&element, slot.spec, sizeof(element));
    for (auto& cells : table.stateful->pipes)
        cells.set(ent_hdl, element);
    return VL_MODEL_OK;
}

// Writers of a direct register name the register in the place of the table too.
pipe_tbl_hdl match_table_of(const Device& device, pipe_tbl_hdl hdl) {
    const auto stateful = device.registers.find(hdl);
    const bool is_direct = stateful != device.registers.end() && stateful->second.description.match_table != 0;
    return is_direct ? stateful->second.description.match_table : hdl;
}

} // namespace

} // namespace vl_model

using namespace vl_model;

pipe_status pipe_mgr_mat_ent_set_resource(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                          pipe_ent_hdl ent_hdl, const pipe_resource_slot* slots, uint32_t slot_count,
                                          uint32_t flags) {
    const auto apply = [&](Device& device) -> pipe_status {
        const auto found = device.tables.find(match_table_of(device, tbl_hdl));
        if (found == device.tables.end()) return VL_MODEL_UNKNOWN_TABLE;
        Table& table = *found->second;
        if (!has_row(table, ent_hdl)) return VL_MODEL_NOT_FOUND;
        for (uint32_t i = 0; i < slot_count; ++i)
            if (const pipe_status status = check_slot(table, slots[i])) return status;
        for (uint32_t i = 0; i < slot_count; ++i)
            if (const pipe_status status = apply_slot(table, ent_hdl, slots[i])) return status;
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (slots == nullptr || slot_count == 0) return VL_MODEL_INVALID;
        return with_device(sess_hdl, dev_id, apply);
    };
    return boundary("pipe_mgr_mat_ent_set_resource", body, sess_hdl, dev_id, tbl_hdl, ent_hdl, input(slots, slot_count),
                    slot_count, flags);
}

uint32_t vl_model_device_set_pipes(uint32_t dev_id, uint32_t count) {
    const auto body = [&]() -> pipe_status {
        if (count == 0 || count > VL_MODEL_MOST_PIPES) return VL_MODEL_INVALID;
        const std::lock_guard lock(model().mutex);
        pipe_status status = VL_MODEL_OK;
        if (Device* device = find_device(dev_id, status)) {
            device->pipes = count;
            for (auto& [handle, stateful] : device->registers)
                stateful.pipes.resize(count);
        }
        return status;
    };
    return run_guarded(body);
}
