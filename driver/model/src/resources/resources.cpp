// The direct resources of entries, which slots set.
#include "resources/resources.h"

#include <algorithm>
#include <cstring>

#include "core/model.h"

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

namespace {

bool names(const pipe_resource_slot& slot, const auto* resource) {
    return resource != nullptr && resource->description.handle == slot.resource_hdl;
}

bool is_sound_slot(const Table& table, const pipe_resource_slot& slot) {
    switch (slot.tag) {
    case PIPE_SLOT_UNCHANGED:
        return true;
    case PIPE_SLOT_ATTACHED:
        return !names(slot, table.meter) || is_sound(meter_spec_of(slot));
    case PIPE_SLOT_DETACHED:
        return names(slot, table.meter);
    default:
        return false;
    }
}

void check_slot(const Table& table, const pipe_resource_slot& slot) {
    refuse_if(!names(slot, table.counter) && !names(slot, table.meter) && !names(slot, table.stateful),
              VL_MODEL_UNKNOWN_RESOURCE);
    refuse_if(!is_sound_slot(table, slot), VL_MODEL_BAD_DATA);
}

void set_meter_slot(Table& table, pipe_ent_hdl ent_hdl, const pipe_resource_slot& slot) {
    const EntryView entry = view_of_row(table, ent_hdl, false);
    Slots slots{};
    std::copy_n(entry.slots, entry.slot_count, slots.begin());
    uint8_t resource_count = entry.resource_count;
    refuse_if(!put_slot(slots, resource_count, slot), VL_MODEL_BAD_DATA);
    if (ent_hdl == table.default_handle()) {
        table.default_entry->slots = slots;
        table.default_entry->resource_count = resource_count;
    } else {
        table.entries.set_slots(ent_hdl, slots, resource_count);
    }
    table.forget_copies(ent_hdl);
}

// A counter's spec begins with a counter record, a register's with its value.
void apply_slot(Table& table, pipe_ent_hdl ent_hdl, const pipe_resource_slot& slot) {
    if (slot.tag == PIPE_SLOT_UNCHANGED) return;
    if (names(slot, table.meter)) return set_meter_slot(table, ent_hdl, slot);
    if (names(slot, table.counter)) {
        pipe_counter_record record;
        std::memcpy(&record, slot.spec, sizeof(record));
        return table.counter->cells.set(ent_hdl, record);
    }
    pipe_stful_element element;
    std::memcpy(&element, slot.spec, sizeof(element));
    for (auto& cells : table.stateful->pipes)
        cells.set(ent_hdl, element);
}

// Writers of a direct register pass the register's handle in place of the table's.
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
    return Boundary(__func__, sess_hdl, dev_id, tbl_hdl, ent_hdl, input(slots, slot_count), slot_count, flags)([&] {
        refuse_if(slot_count == 0, VL_MODEL_INVALID);
        const auto device = lock_device(sess_hdl, dev_id);
        Table& table = device->table(match_table_of(*device, tbl_hdl));
        table.require_row(ent_hdl);
        std::for_each_n(slots, slot_count, [&](const auto& slot) { check_slot(table, slot); });
        std::for_each_n(slots, slot_count, [&](const auto& slot) { apply_slot(table, ent_hdl, slot); });
    });
}
