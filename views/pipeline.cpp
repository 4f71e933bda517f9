// Joins what people see as one thing: values with their masks, halves of MAC addresses, tables with their counters.
#include "views/pipeline.h"

#include <algorithm>

#include "catalog/display.h"
#include "views/problem.h"

namespace pd_views {
namespace {

Bits ones(unsigned bits) {
    constexpr uint64_t all = ~uint64_t{0};
    return bits > 64 ? Bits{all >> (128 - bits), all} : Bits{0, all >> (64 - bits)};
}

// Joins the parts that people see as one.
std::vector<Field> joined(const std::vector<catalog::Shown>& columns, const std::vector<Part>& parts,
                          const std::vector<catalog::Match>& matches) {
    std::vector<Field> fields;
    for (const catalog::Shown& column : columns) {
        const auto first = parts.begin() + static_cast<std::ptrdiff_t>(column.first);
        fields.push_back({column.label,
                          column.tag,
                          matches[column.first],
                          {first, first + static_cast<std::ptrdiff_t>(column.count)}});
    }
    return fields;
}

std::vector<Field> key_of(const catalog::Table& row) {
    std::vector<Part> parts;
    std::vector<catalog::Match> matches;
    const catalog::KeyLayout layout = catalog::key_layout(row);
    const catalog::FieldLayout* place = layout.fields.data();
    for (const catalog::KeyField& field : row.key) {
        const Bits covered = ones(field.bits) & Bits{field.mask.high, field.mask.low};
        const bool is_prefix = field.match == catalog::Match::lpm;
        matches.push_back(field.match);
        parts.push_back({.name = field.name,
                         .pd_name = field.pd_name,
                         .bits = field.bits,
                         .tag = field.tag,
                         .value = {place->record_offset, place->record_bytes, covered},
                         .partner = {place->partner_offset, place->partner_bytes,
                                     is_prefix ? ones(8 * catalog::prefix_length_bytes) : covered},
                         .key_position = place->key_position});
        ++place;
    }
    return joined(catalog::shown_fields(row), parts, matches);
}

std::vector<Field> params_of(const catalog::Action& row) {
    std::vector<Part> parts;
    const catalog::ActionLayout layout = catalog::action_layout(row);
    const catalog::ParamLayout* place = layout.params.data();
    for (const catalog::Param& param : row.params) {
        parts.push_back({.name = param.name,
                         .pd_name = nullptr,
                         .bits = param.bits,
                         .tag = param.tag,
                         .value = {place->record_offset, place->record_bytes, ones(param.bits)},
                         .partner = {}});
        ++place;
    }
    return joined(catalog::shown_params(row), parts, std::vector(parts.size(), catalog::Match::exact));
}

std::vector<const Action*> actions_of(const Pipeline& pipeline, const catalog::List<catalog::Binding>& bindings) {
    std::vector<const Action*> actions;
    for (const catalog::Binding& binding : bindings)
        actions.push_back(&pipeline.actions[catalog::number_of(catalog::program.actions, binding.action)]);
    std::ranges::sort(actions, {}, &Action::name);
    return actions;
}

// The last stage that begins at the table or before it. Null if the program has no stages.
const catalog::Stage* stage_of(const catalog::Table& row) {
    const catalog::Stage* stage = nullptr;
    for (const catalog::Stage& each : catalog::program.stages)
        if (catalog::tables(catalog::program)[catalog::number_of(catalog::tables(catalog::program), each.first_table)]
                .handle <= row.handle)
            stage = &each;
    return stage;
}

Table describe_table(const Library& library, const Pipeline& pipeline, const catalog::Table& row) {
    const size_t profile = catalog::profile_of(catalog::program, row);
    Table table{.name = row.name,
                .handle = row.handle,
                .summary = row.summary,
                .stage = stage_of(row),
                .has_priority = catalog::has_priority(row),
                .partitioned = row.partitioned,
                .key_bytes = catalog::key_layout(row).bytes,
                .key = key_of(row),
                .profile = profile == catalog::not_found ? nullptr : catalog::program.profiles[profile].name,
                .actions = actions_of(pipeline, catalog::actions_of(catalog::program, row)),
                .counters = {},
                .get_entry = library.function<WordFunction>(std::string(row.name) + "_get_entry")};
    for (const catalog::Resource& counter : catalog::program.counters)
        if (counter.table != nullptr && table.name == counter.table) table.counters.push_back(&counter);
    return table;
}

} // namespace

Bits load(const uint8_t* record, const Place& place) {
    const bool is_wide = place.bytes > sizeof(uint32_t); // an array of bytes, the most significant first
    Bits bits;
    for (unsigned i = 0; i < place.bytes; ++i) {
        const uint8_t byte = record[place.offset + (is_wide ? i : place.bytes - 1 - i)];
        bits = {bits.high << 8 | bits.low >> 56, bits.low << 8 | byte};
    }
    return is_wide ? bits : bits & place.covered;
}

bool narrowed(const Part& part) {
    return part.value.covered != ones(part.bits);
}

Pipeline describe_pipeline(const Library& library) {
    Pipeline pipeline;
    for (const catalog::Action& row : catalog::program.actions)
        pipeline.actions.push_back({row.name, params_of(row)});
    for (const catalog::Table& row : catalog::tables(catalog::program))
        pipeline.tables.push_back(describe_table(library, pipeline, row));
    std::ranges::sort(pipeline.tables, {}, &Table::handle);
    for (const catalog::Profile& row : catalog::program.profiles)
        pipeline.profiles.push_back({row.name, row.table, actions_of(pipeline, row.actions)});
    for (const catalog::Resource& counter : catalog::program.counters)
        if (counter.table == nullptr) pipeline.counters_without_table.push_back(&counter);
    return pipeline;
}

namespace {

template <class Row>
const Row& row_named(const std::vector<Row>& rows, const char* kind, const std::string& name) {
    std::vector<std::string> names;
    for (const Row& row : rows) {
        if (row.name == name) return row;
        names.push_back(row.name);
    }
    throw Problem(Fault::unknown_name, std::string("there is no ") + kind + " " + name + near_text(name, names));
}

} // namespace

const Table& table_named(const Pipeline& pipeline, const std::string& name) {
    return row_named(pipeline.tables, "table", name);
}

const Profile& profile_named(const Pipeline& pipeline, const std::string& name) {
    return row_named(pipeline.profiles, "profile", name);
}

} // namespace pd_views
