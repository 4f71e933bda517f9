// See pipeline.h.
#include "watch/pipeline.h"

#include "catalog/display.h"

namespace pd_watch {
namespace {

constexpr uint64_t ones(unsigned bits) {
    return bits >= 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1;
}

Field field_of(const catalog::Shown& column, catalog::Match match, const std::vector<Part>& parts) {
    const auto first = parts.begin() + static_cast<std::ptrdiff_t>(column.first);
    return {.label = column.label,
            .json = "\"" + column.label + "\":",
            .tag = column.tag,
            .match = match,
            .parts = {first, first + static_cast<std::ptrdiff_t>(column.count)}};
}

std::vector<Field> key_of(const catalog::Table& row) {
    const catalog::KeyLayout layout = catalog::key_layout(row);
    std::vector<Part> parts;
    for (const catalog::KeyField& field : row.key) {
        const catalog::FieldLayout& place = layout.fields[parts.size()];
        parts.push_back({.name = field.name,
                         .position = place.key_position,
                         .bytes = place.key_bytes,
                         .bits = field.bits,
                         .covered_high = field.bits > 64 ? field.mask.high & ones(field.bits - 64) : 0,
                         .covered_low = field.mask.low & ones(field.bits)});
    }
    std::vector<Field> fields;
    for (const catalog::Shown& column : catalog::shown_fields(row))
        fields.push_back(field_of(column, row.key.begin()[column.first].match, parts));
    return fields;
}

Action action_of(const catalog::Binding& binding) {
    const catalog::Action& row = catalog::program.actions[catalog::number_of(catalog::program.actions, binding.action)];
    const catalog::ActionLayout layout = catalog::action_layout(row);
    std::vector<Part> parts;
    for (const catalog::Param& param : row.params) {
        const catalog::ParamLayout& place = layout.params[parts.size()];
        parts.push_back({.name = param.name,
                         .position = place.data_position,
                         .bytes = place.data_bytes,
                         .bits = param.bits,
                         .covered_high = 0,
                         .covered_low = ones(param.bits),
                         .is_slot_index = catalog::takes_slot_index(param)});
    }
    Action action{.name = row.name,
                  .params = {},
                  .data_bytes = layout.bytes,
                  .for_entries = catalog::for_entries(binding),
                  .for_default = catalog::for_default(binding)};
    for (const catalog::Shown& column : catalog::shown_params(row))
        action.params.push_back(field_of(column, catalog::Match::exact, parts));
    return action;
}

std::unordered_map<uint32_t, Action> actions_of(const catalog::List<catalog::Binding>& bindings) {
    std::unordered_map<uint32_t, Action> actions;
    for (const catalog::Binding& binding : bindings)
        actions.emplace(binding.handle, action_of(binding));
    return actions;
}

} // namespace

Pipeline::Pipeline() {
    for (const catalog::Table& row : catalog::tables(catalog::program))
        tables_[row.handle] = {.thing = Thing::match_table,
                               .name = row.name,
                               .handle = row.handle,
                               .shape = catalog::key_shape(row),
                               .partitioned = row.partitioned,
                               .key_bytes = catalog::key_layout(row).bytes,
                               .key = key_of(row),
                               .actions = actions_of(catalog::actions_of(catalog::program, row)),
                               .resource = catalog::resource_of(catalog::program, row)};
    for (const catalog::Profile& row : catalog::program.profiles) {
        const catalog::Tables tables = catalog::tables(catalog::program);
        const uint32_t match_table = tables[catalog::number_of(tables, row.table)].handle;
        for (const auto& [thing, handle] :
             {std::pair{Thing::data_table, row.data_table}, {Thing::selector, row.selector}})
            tables_[handle] = {.thing = thing,
                               .name = row.name,
                               .handle = handle,
                               .key = {},
                               .actions = actions_of(row.actions),
                               .data_table = row.data_table,
                               .selector = row.selector,
                               .match_table = match_table};
        tables_[match_table].data_table = row.data_table;
        tables_[match_table].selector = row.selector;
    }
    const auto name_rows = [&](Thing thing, const auto& rows) {
        for (const auto& row : rows)
            tables_[row.handle] = {.thing = thing, .name = row.name, .handle = row.handle, .key = {}, .actions = {}};
    };
    name_rows(Thing::counter, catalog::program.counters);
    name_rows(Thing::meter, catalog::program.meters);
    name_rows(Thing::wred_block, catalog::program.wred_blocks);
    name_rows(Thing::stateful_register, catalog::program.registers);
    name_rows(Thing::digest, catalog::program.digests);
    name_rows(Thing::hash_calculation, catalog::program.hash_calculations);
    for (const catalog::ValueSet& row : catalog::program.value_sets)
        tables_[row.id] = {.thing = Thing::value_set, .name = row.name, .handle = row.id, .key = {}, .actions = {}};
}

const Table* Pipeline::table_named(const std::string& name) const {
    const Table* found = nullptr;
    for (const auto& [handle, table] : tables_)
        if (name == table.name && (found == nullptr || table.thing < found->thing)) found = &table;
    return found;
}

} // namespace pd_watch
