// Makes a device from a pipeline's description, which is copied.
#include <algorithm>
#include <span>

#include "core/model.h"

namespace vl_model {

namespace {

void require(bool is_sound) {
    refuse_if(!is_sound, VL_MODEL_INVALID);
}

template <class Item>
std::span<const Item> list_of(const Item* items, uint32_t count) {
    require(items != nullptr || count == 0);
    return {items, count};
}

uint16_t max_data_len(const vl_model_table& table) {
    uint16_t max = 0;
    for (const vl_model_action& action : list_of(table.actions, table.action_count))
        max = std::max(max, action.data_len);
    return max;
}

std::vector<uint8_t> key_mask(const vl_model_table& table) {
    if (table.key_mask == nullptr) return std::vector<uint8_t>(table.key_len, 0xFF);
    return {table.key_mask, table.key_mask + table.key_len};
}

void check(const vl_model_table& table) {
    require(table.handle != 0 && table.match <= VL_MODEL_PREFIX &&
            (table.match == VL_MODEL_KEYLESS) == (table.key_len == 0));
    std::unordered_set<uint32_t> actions;
    for (const vl_model_action& action : list_of(table.actions, table.action_count))
        require(action.handle != 0 && actions.insert(action.handle).second);
    require(table.initial_default == 0 || actions.contains(table.initial_default));
}

// Makes the data table and the selector of a match table, each with the actions that the match table allows its
// entries. Other match tables may have added them already.
void add_profile(Device& device, Table& table) {
    const vl_model_table& description = table.description;
    require(description.data_table != 0 || description.selector == 0);
    if (description.data_table == 0) return;
    DataTable& data_table = device.data_tables[description.data_table];
    table.data_table = &data_table;
    for (const vl_model_action& action : table.actions)
        if (action.for_entries != 0 && find_action(data_table.actions, action.handle) == nullptr)
            data_table.actions.push_back(action);
    if (description.selector == 0) return;
    table.selector = &device.selectors.try_emplace(description.selector, data_table).first->second;
    require(&table.selector->data_table == &data_table);
}

void add_tables(Device& device, const vl_model_pipeline& pipeline) {
    for (const vl_model_table& table : list_of(pipeline.tables, pipeline.table_count)) {
        check(table);
        const auto [added, is_new] = device.tables.try_emplace(table.handle, std::make_unique<Table>(table));
        require(is_new);
        add_profile(device, *added->second);
    }
    // Match tables, data tables and selectors share one space of handles.
    for (const auto& [handle, data_table] : device.data_tables)
        require(!device.tables.contains(handle));
    for (const auto& [handle, selector] : device.selectors)
        require(!device.tables.contains(handle) && !device.data_tables.contains(handle));
}

// Binds a direct resource to its table. A table has at most one of each kind.
template <class Resource>
void attach(Device& device, Resource* Table::*place, Resource& resource) {
    const auto table = device.tables.find(resource.description.match_table);
    require(place != nullptr && table != device.tables.end() && (*table->second).*place == nullptr);
    (*table->second).*place = &resource;
}

// `place` is null for a kind that is never direct. All resources share one space of handles.
template <class Resource>
void add_resources(Device& device, std::map<pipe_tbl_hdl, Resource>& resources, Resource* Table::*place,
                   std::span<const vl_model_resource> descriptions, std::unordered_set<uint32_t>& handles) {
    for (const vl_model_resource& description : descriptions) {
        require(description.handle != 0 && handles.insert(description.handle).second);
        Resource& resource = resources[description.handle];
        resource.description = description;
        if (description.cell_count == 0) resource.description.cell_count = VL_MODEL_DEFAULT_CELLS;
        if (description.match_table != 0) attach(device, place, resource);
    }
}

void add_services(Device& device, const vl_model_pipeline& pipeline) {
    for (const vl_model_digest& digest : list_of(pipeline.digests, pipeline.digest_count)) {
        const auto [added, is_new] = device.digests.try_emplace(digest.handle);
        require(digest.handle != 0 && digest.entry_size != 0 && is_new);
        added->second.entry_size = digest.entry_size;
    }
    for (const uint32_t id : list_of(pipeline.value_sets, pipeline.value_set_count))
        require(device.value_sets.try_emplace(id).second);
    for (const auto& calc : list_of(pipeline.hash_calculations, pipeline.hash_calculation_count)) {
        const auto [added, is_new] = device.hash_calculations.try_emplace(calc.handle);
        require(calc.handle != 0 && calc.input != 0 && calc.algorithm != 0 &&
                (calc.algorithm & 0xFF) <= VL_MODEL_HASH_CRC32 && is_new);
        added->second.description = calc;
        added->second.algorithm = calc.algorithm;
    }
}

} // namespace

Table::Table(const vl_model_table& from)
    : actions(from.actions, from.actions + from.action_count),
      description(from),
      entries(from.key_len, max_data_len(from)),
      matches(entries, hardware, key_mask(from)) {
    description.name = nullptr;
    description.key_mask = nullptr;
    description.actions = actions.data();
    if (description.capacity == 0) description.capacity = VL_MODEL_DEFAULT_CAPACITY;
    description.capacity = std::min(description.capacity, most_rows);
    if (description.idle_time != 0) ageing = std::make_unique<Ageing>();
    reset_default_entry();
}

std::unique_ptr<Device> make_device(const vl_model_pipeline& pipeline) {
    auto device = std::make_unique<Device>();
    add_tables(*device, pipeline);
    std::unordered_set<uint32_t> handles;
    add_resources(*device, device->counters, &Table::counter, list_of(pipeline.counters, pipeline.counter_count),
                  handles);
    add_resources(*device, device->meters, &Table::meter, list_of(pipeline.meters, pipeline.meter_count), handles);
    add_resources<WredBlock>(*device, device->wred_blocks, nullptr,
                             list_of(pipeline.wred_blocks, pipeline.wred_block_count), handles);
    add_resources(*device, device->registers, &Table::stateful, list_of(pipeline.registers, pipeline.register_count),
                  handles);
    add_services(*device, pipeline);
    return device;
}

} // namespace vl_model
