// Sessions and devices, and the copy of a pipeline's description that a device is made of.
#include "core/model.h"

#include <algorithm>
#include <new>

#include "core/boundary.h"

namespace vl_model {

namespace {

constexpr uint32_t max_capacity = UINT32_C(0x7FFFFFFF); // handles with the top bit are default entries'

uint16_t max_data_len(const vl_model_table& description) {
    uint16_t max = 0;
    for (uint32_t i = 0; i < description.action_count; ++i)
        max = std::max(max, description.actions[i].data_len);
    return max;
}

bool is_sound(const vl_model_table& table) {
    if (table.handle == 0 || (table.action_count != 0 && table.actions == nullptr) || table.match > VL_MODEL_PREFIX ||
        (table.match == VL_MODEL_KEYLESS) != (table.key_len == 0))
        return false;
    std::unordered_set<uint32_t> seen;
    bool has_initial = table.initial_default == 0;
    for (uint32_t i = 0; i < table.action_count; ++i) {
        const vl_model_action& action = table.actions[i];
        if (action.handle == 0 || !seen.insert(action.handle).second) return false;
        has_initial = has_initial || action.handle == table.initial_default;
    }
    return has_initial;
}

// Makes the data table and the selector of a match table, which other tables may point at too, each with the actions
// that it allows its entries. False if they contradict what the device has.
bool add_profile(Device& device, Table& table) {
    const vl_model_table& description = table.description;
    if (description.data_table == 0) return description.selector == 0;
    DataTable& data_table = device.data_tables[description.data_table];
    table.data_table = &data_table;
    for (const vl_model_action& action : table.actions) {
        const auto is_same = [&](const vl_model_action& other) { return other.handle == action.handle; };
        if (action.for_entries != 0 && std::none_of(data_table.actions.begin(), data_table.actions.end(), is_same))
            data_table.actions.push_back(action);
    }
    if (description.selector == 0) return true;
    Selector& selector = device.selectors.try_emplace(description.selector, data_table).first->second;
    table.selector = &selector;
    return &selector.data_table == &data_table;
}

// Match tables, data tables and selectors share one space of handles.
bool has_shared_handles(const Device& device) {
    const auto is_taken = [&](const auto& entry) { return device.tables.contains(entry.first); };
    return std::any_of(device.data_tables.begin(), device.data_tables.end(), is_taken) ||
           std::any_of(device.selectors.begin(), device.selectors.end(),
                       [&](const auto& entry) { return is_taken(entry) || device.data_tables.contains(entry.first); });
}

} // namespace

Model& model() {
    // Never destroyed: other objects' destructors may still call the driver.
    static Model& instance = *new Model;
    return instance;
}

void forget_placement(uint32_t& placement) {
    if (placement != 0) {
        model().placements.remove(placement);
        placement = 0;
    }
}

Table::Table(const vl_model_table& from)
    : name(from.name != nullptr ? from.name : ""),
      actions(from.actions, from.actions + from.action_count),
      description(from),
      entries(from.key_len, max_data_len(from)) {
    description.name = name.c_str();
    description.actions = actions.data();
    if (description.capacity == 0) description.capacity = VL_MODEL_DEFAULT_CAPACITY;
    description.capacity = std::min(description.capacity, max_capacity);
    if (description.idle_time != 0) ageing = std::make_unique<Ageing>();
    reset_default_entry();
}

const vl_model_action* Table::find_action(pipe_act_hdl act_hdl) const {
    const auto found = std::find_if(actions.begin(), actions.end(),
                                    [&](const vl_model_action& action) { return action.handle == act_hdl; });
    return found == actions.end() ? nullptr : &*found;
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
    if (const vl_model_action* action = find_action(description.initial_default)) {
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

void Table::forget_copies(pipe_ent_hdl ent_hdl) {
    hardware.erase(ent_hdl);
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

Device* find_device(Target target, pipe_status& status) {
    const Model& m = model();
    const auto device = m.devices.find(target.dev_id);
    if (device == m.devices.end()) {
        status = VL_MODEL_UNKNOWN_DEVICE;
        return nullptr;
    }
    if (!device->second->has_pipe(target.pipe)) {
        status = VL_MODEL_OUT_OF_RANGE;
        return nullptr;
    }
    status = VL_MODEL_OK;
    return device->second.get();
}

Table* find_table(pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, pipe_status& status) {
    Device* device = find_device(dev_id, status);
    if (device == nullptr) return nullptr;
    const auto table = device->tables.find(tbl_hdl);
    if (table == device->tables.end()) {
        status = VL_MODEL_UNKNOWN_TABLE;
        return nullptr;
    }
    return table->second.get();
}

} // namespace vl_model

using namespace vl_model;

uint32_t vl_model_device_add(uint32_t dev_id, const vl_model_pipeline* pipeline) {
    if (pipeline == nullptr || (pipeline->table_count != 0 && pipeline->tables == nullptr)) return VL_MODEL_INVALID;
    try {
        auto device = std::make_unique<Device>();
        device->pipeline = pipeline->name != nullptr ? pipeline->name : "";
        for (uint32_t i = 0; i < pipeline->table_count; ++i) {
            const vl_model_table& table = pipeline->tables[i];
            if (!is_sound(table) || device->tables.contains(table.handle)) return VL_MODEL_INVALID;
            const auto added = device->tables.emplace(table.handle, std::make_unique<Table>(table)).first;
            if (!add_profile(*device, *added->second)) return VL_MODEL_INVALID;
        }
        if (has_shared_handles(*device) || !add_resources(*device, *pipeline) || !add_services(*device, *pipeline))
            return VL_MODEL_INVALID;
        Model& m = model();
        const std::lock_guard lock(m.mutex);
        return m.devices.try_emplace(dev_id, std::move(device)).second ? VL_MODEL_OK : VL_MODEL_EXISTS;
    } catch (const std::bad_alloc&) {
        return VL_MODEL_NO_MEMORY;
    }
}

uint32_t vl_model_session_open(uint32_t* sess_hdl) {
    if (sess_hdl == nullptr) return VL_MODEL_INVALID;
    try {
        Model& m = model();
        const std::lock_guard lock(m.mutex);
        m.sessions.insert(m.last_session + 1);
        *sess_hdl = ++m.last_session;
        return VL_MODEL_OK;
    } catch (const std::bad_alloc&) {
        return VL_MODEL_NO_MEMORY;
    }
}

uint32_t vl_model_session_close(uint32_t sess_hdl) {
    Model& m = model();
    const std::lock_guard lock(m.mutex);
    return m.sessions.erase(sess_hdl) != 0 ? VL_MODEL_OK : VL_MODEL_UNKNOWN_SESSION;
}

uint32_t vl_model_table_set_capacity(uint32_t dev_id, uint32_t tbl_hdl, uint32_t capacity) {
    const std::lock_guard lock(model().mutex);
    pipe_status status = VL_MODEL_OK;
    Device* device = find_device(dev_id, status);
    if (device == nullptr) return status;
    capacity = std::min(capacity, max_capacity);
    if (const auto table = device->tables.find(tbl_hdl); table != device->tables.end())
        table->second->description.capacity = capacity;
    else if (const auto members = device->data_tables.find(tbl_hdl); members != device->data_tables.end())
        members->second.capacity = capacity;
    else if (const auto groups = device->selectors.find(tbl_hdl); groups != device->selectors.end())
        groups->second.capacity = capacity;
    else
        status = VL_MODEL_UNKNOWN_TABLE;
    return status;
}

void vl_model_reset(void) {
    Model& m = model();
    // Destroyed at the end: until end() has waited, a callback may look at their messages.
    decltype(m.devices) devices;
    decltype(m.clients) clients;
    std::shared_ptr<Registration> restore_callback;
    std::shared_ptr<Registration> log_sink;
    {
        const std::lock_guard lock(m.mutex);
        m.sessions.clear();
        devices.swap(m.devices);
        m.placements.remove_all();
        clients.swap(m.clients);
        clear_member_states();
        m.now = 0;
        m.last_member = before_members;
        m.last_group = before_groups;
        m.last_value_set_entry = 0;
        m.last_snapshot = 0;
        restore_callback = m.restore_callback.replace(nullptr);
        m.allocations_made = 0;
        m.allocation_faults.clear();
        log_sink = m.log_sink.replace(nullptr);
        m.debug_mode = false;
    }
    for (const auto& [dev_id, device] : devices)
        end_registrations(*device);
    for (const Client& client : clients)
        end(client.registration);
    end(restore_callback);
    end(log_sink);
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
