// Sessions, devices and their tables.
#include "core/model.h"

#include <algorithm>

namespace vl_model {

Model& model() {
    // Never destroyed: other objects' destructors may still call the driver.
    static Model& instance = *new Model;
    return instance;
}

void forget_placement(uint32_t& placement) {
    if (placement != 0) model().placements.remove(std::exchange(placement, 0));
}

uint32_t* Table::target_uses(uint8_t kind, pipe_mbr_hdl mbr_hdl, pipe_grp_hdl grp_hdl) const {
    if (kind == PIPE_KIND_MEMBER && data_table != nullptr) {
        Member* member = data_table->members.find(mbr_hdl);
        return member != nullptr ? &member->uses : nullptr;
    }
    if (kind == PIPE_KIND_GROUP && selector != nullptr) {
        Group* group = selector->groups.find(grp_hdl);
        return group != nullptr ? &group->uses : nullptr;
    }
    return nullptr;
}

void Table::reset_default_entry() {
    std::optional<EntryImage> image;
    if (const vl_model_action* action = find_action(actions, description.initial_default)) {
        image.emplace();
        image->action_hdl = action->handle;
        image->kind = PIPE_KIND_ACTION_DATA;
        image->data_bits = action->data_bits;
        image->data.resize(action->data_len);
    }
    set_default_entry(std::move(image));
}

void Table::set_default_entry(std::optional<EntryImage> image) {
    const auto uses_of = [&](const std::optional<EntryImage>& entry) {
        return entry ? target_uses(entry->kind, entry->member_hdl, entry->group_hdl) : nullptr;
    };
    if (uint32_t* uses = uses_of(image)) ++*uses;
    if (uint32_t* uses = uses_of(default_entry)) --*uses;
    default_entry = std::move(image);
    forget_copies(default_handle());
    if (!default_entry) forget_cells(default_handle());
}

void Table::set_hardware(pipe_ent_hdl ent_hdl, std::optional<EntryImage> image) {
    matches.change(ent_hdl);
    hardware[ent_hdl] = std::move(image);
}

void Table::forget_copies(pipe_ent_hdl ent_hdl) {
    if (const auto differing = hardware.find(ent_hdl); differing != hardware.end()) {
        matches.change(ent_hdl);
        hardware.erase(differing);
    }
    forget_placement(placement(ent_hdl));
}

void Table::forget_cells(pipe_ent_hdl ent_hdl) const {
    if (counter != nullptr) counter->cells.forget(ent_hdl);
    if (stateful != nullptr)
        for (auto& cells : stateful->pipes)
            cells.forget(ent_hdl);
}

void end_registrations(Device& device) noexcept {
    for (auto& [tbl_hdl, table] : device.tables) {
        end(table->updates.registration);
        if (table->ageing != nullptr) end(table->ageing->time_outs.registration);
    }
    for (auto& [adt_hdl, table] : device.data_tables)
        end(table.updates.registration);
    for (auto& [sel_hdl, selector] : device.selectors) {
        end(selector.updates.registration);
        end(selector.memory_updates.registration);
    }
    for (auto& [digest_hdl, digest] : device.digests)
        end(digest.subscriber.registration);
}

namespace {

Device& find_device(Target target) {
    Device& device = *found_in(model().devices, target.dev_id, VL_MODEL_UNKNOWN_DEVICE);
    refuse_if(!device.has_pipe(target.pipe), VL_MODEL_OUT_OF_RANGE);
    return device;
}

} // namespace

Locked<Device> lock_device(Target target) {
    return Locked<Device>([&]() -> Device& { return find_device(target); });
}

Locked<Device> lock_device(pipe_sess_hdl sess_hdl, Target target) {
    return Locked<Device>([&]() -> Device& {
        refuse_if(!model().sessions.contains(sess_hdl), VL_MODEL_UNKNOWN_SESSION);
        return find_device(target);
    });
}

} // namespace vl_model

using namespace vl_model;

uint32_t vl_model_device_add(uint32_t dev_id, const vl_model_pipeline* pipeline) {
    return guarded([&] {
        refuse_if(pipeline == nullptr, VL_MODEL_INVALID);
        auto device = make_device(*pipeline);
        refuse_if(!lock_model()->devices.try_emplace(dev_id, std::move(device)).second, VL_MODEL_EXISTS);
    });
}

uint32_t vl_model_session_open(uint32_t* sess_hdl) {
    return guarded([&] {
        refuse_if(sess_hdl == nullptr, VL_MODEL_INVALID);
        const auto m = lock_model();
        m->sessions.insert(m->last_session + 1);
        *sess_hdl = ++m->last_session;
    });
}

uint32_t vl_model_session_close(uint32_t sess_hdl) {
    return lock_model()->sessions.erase(sess_hdl) != 0 ? VL_MODEL_OK : VL_MODEL_UNKNOWN_SESSION;
}

uint32_t vl_model_table_set_capacity(uint32_t dev_id, uint32_t tbl_hdl, uint32_t capacity) {
    return guarded([&] {
        const auto device = lock_device(dev_id);
        capacity = std::min(capacity, most_rows);
        if (device->tables.contains(tbl_hdl))
            device->table(tbl_hdl).description.capacity = capacity;
        else if (device->data_tables.contains(tbl_hdl))
            device->data_table(tbl_hdl).capacity = capacity;
        else
            device->selector(tbl_hdl).capacity = capacity;
    });
}

uint32_t vl_model_device_set_pipes(uint32_t dev_id, uint32_t count) {
    return guarded([&] {
        refuse_if(count == 0 || count > VL_MODEL_MOST_PIPES, VL_MODEL_INVALID);
        const auto device = lock_device(dev_id);
        device->pipes = count;
        for (auto& [handle, stateful] : device->registers)
            stateful.pipes.resize(count);
    });
}

void vl_model_reset(void) {
    Model& m = model();
    // Destroyed at the end: until end() has waited, a callback may look at the messages of its device.
    ModelState old;
    {
        const std::lock_guard lock(m.mutex);
        std::swap<ModelState>(m, old);
        for (const auto& [dev_id, device] : old.devices)
            m.placements.remove_device(dev_id);
        clear_member_states();
    }
    for (const auto& [dev_id, device] : old.devices)
        end_registrations(*device);
    for (const Client& client : old.clients)
        end(client.registration);
    end(old.restore_callback.registration);
    end(old.log_sink.registration);
    reset_watch();
}

namespace {

struct StatusWords {
    uint32_t status;
    const char* name;
    const char* text;
};

constexpr StatusWords status_words[] = {
    {VL_MODEL_OK, "OK", "success"},
    {VL_MODEL_NO_MEMORY, "NO_MEMORY", "out of memory"},
    {VL_MODEL_INVALID, "INVALID", "invalid argument"},
    {VL_MODEL_UNKNOWN_SESSION, "UNKNOWN_SESSION", "unknown session"},
    {VL_MODEL_UNKNOWN_DEVICE, "UNKNOWN_DEVICE", "unknown device"},
    {VL_MODEL_UNKNOWN_TABLE, "UNKNOWN_TABLE", "unknown table"},
    {VL_MODEL_NOT_FOUND, "NOT_FOUND", "object not found"},
    {VL_MODEL_EXISTS, "EXISTS", "object already exists"},
    {VL_MODEL_TABLE_FULL, "TABLE_FULL", "table full"},
    {VL_MODEL_FOREIGN_ACTION, "FOREIGN_ACTION", "action not allowed here"},
    {VL_MODEL_BAD_KEY, "BAD_KEY", "key does not fit the table"},
    {VL_MODEL_BAD_DATA, "BAD_DATA", "action data does not fit the action"},
    {VL_MODEL_IN_USE, "IN_USE", "object in use"},
    {VL_MODEL_NOT_SUPPORTED, "NOT_SUPPORTED", "not supported by this table"},
    {VL_MODEL_UNKNOWN_CLIENT, "UNKNOWN_CLIENT", "unknown client"},
    {VL_MODEL_GROUP_FULL, "GROUP_FULL", "group full"},
    {VL_MODEL_UNKNOWN_RESOURCE, "UNKNOWN_RESOURCE", "unknown resource"},
    {VL_MODEL_OUT_OF_RANGE, "OUT_OF_RANGE", "index or pipe out of range"},
};

const StatusWords& words_of(uint32_t status) {
    static constexpr StatusWords unknown = {0, "UNKNOWN", "unknown status"};
    const auto* found = std::find_if(std::begin(status_words), std::end(status_words),
                                     [&](const StatusWords& words) { return words.status == status; });
    return found == std::end(status_words) ? unknown : *found;
}

} // namespace

const char* vl_model_status_name(uint32_t status) {
    return words_of(status).name;
}

const char* vl_model_status_text(uint32_t status) {
    return words_of(status).text;
}
