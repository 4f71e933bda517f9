// Walks the rows in catalog order and expands each family's snippets for the rows it runs over.
#include "generator/namer.h"

#include <cstdio>

#include "catalog/layout.h"
#include "generator/snippet.h"

namespace generator {

using namespace catalog;

namespace {

Context program_context(const Catalog& rows) {
    Context context;
    context.set("p", prefix(rows));
    context.set("dimension", std::string("[").append(std::to_string(rows.actions.size())).append("]"));
    return context;
}

Context table_context(const Catalog& rows, const Table& table) {
    Context context = program_context(rows);
    context.set("table", table.name);
    context.set("match_spec", match_spec_name(rows, table));
    context.set("table_handle", hex(table.handle));
    context.flag("keyed", key_shape(table) != KeyShape::keyless);
    context.flag("priority", has_priority(table));
    context.flag("indirect", profile_of(rows, table) != nullptr);
    return context;
}

void add_action(Context& context, const Catalog& rows, const Action& action) {
    context.set("action", action.name);
    context.set("action_spec", action_spec_name(rows, action));
    context.flag("params", action.params.size() != 0);
}

Context field_context(const Catalog& rows, const Table& table, const KeyField& field) {
    constexpr std::string_view validity = "_valid";
    Context context = table_context(rows, table);
    std::string_view name = field.pd_name;
    if (name.ends_with(validity)) name.remove_suffix(validity.size());
    context.set("width_name", std::string(name));
    context.set("width", std::to_string(field.bits));
    return context;
}

Context binding_context(const Catalog& rows, const Table& table, const Binding& binding) {
    Context context = table_context(rows, table);
    add_action(context, rows, rows.actions[action_number(rows, binding.action)]);
    const AttachedResource resource = resource_of(rows, table);
    context.flag("meter", resource.kind == ResourceKind::meter && resource.addressing == direct);
    context.flag("ttl", table.ttl_on_add);
    return context;
}

Context profile_context(const Catalog& rows, const Profile& profile) {
    Context context = program_context(rows);
    context.set("profile", profile.name);
    context.set("data_table", hex(profile.data_table));
    context.set("selector", hex(profile.selector));
    return context;
}

Context profile_binding_context(const Catalog& rows, const Profile& profile, const Binding& binding) {
    Context context = profile_context(rows, profile);
    add_action(context, rows, rows.actions[action_number(rows, binding.action)]);
    return context;
}

Context action_context(const Catalog& rows, const Action& action) {
    Context context = program_context(rows);
    add_action(context, rows, action);
    return context;
}

// Whether the table counts each of its entries.
bool has_counter(const Catalog& rows, const Table& table) {
    const AttachedResource resource = resource_of(rows, table);
    return resource.kind == ResourceKind::counter && resource.addressing == direct;
}

Member expand_member(const Family& family, Context context) {
    const std::string name = expand(family.name, context);
    context.set("name", name);
    return {.family = &family,
            .name = name,
            .result = expand(family.result, context),
            .arguments = expand(family.arguments, context),
            .body = expand(family.body, context),
            .definition = expand(family.definition, context)};
}

void add_table_members(std::vector<Member>& members, const Family& family, const Catalog& rows, const Table& table) {
    const KeyShape shape = key_shape(table);
    switch (family.over) {
    case Over::every_table:
        break;
    case Over::keyed_table:
        if (shape == KeyShape::keyless) return;
        break;
    case Over::masked_table:
        if (shape != KeyShape::masked && shape != KeyShape::prefix) return;
        break;
    case Over::entry_binding:
        for (const Binding& binding : table.actions)
            if (for_entries(binding)) members.push_back(expand_member(family, binding_context(rows, table, binding)));
        return;
    case Over::default_binding:
        for (const Binding& binding : table.actions)
            if (for_default(binding)) members.push_back(expand_member(family, binding_context(rows, table, binding)));
        return;
    case Over::key_field:
        for (const KeyField& field : table.key)
            members.push_back(expand_member(family, field_context(rows, table, field)));
        return;
    case Over::idle_table:
        if (!table.idle_time) return;
        break;
    case Over::indirect_table:
        if (profile_of(rows, table) == nullptr) return;
        break;
    case Over::counted_table:
        if (!has_counter(rows, table)) return;
        break;
    case Over::program:
    case Over::every_action:
    case Over::action_with_params:
    case Over::profile:
    case Over::profile_binding:
    case Over::counter:
    case Over::meter:
    case Over::wred_block:
    case Over::named_register:
    case Over::digest:
    case Over::value_set:
    case Over::hash_calculation:
        return;
    }
    members.push_back(expand_member(family, table_context(rows, table)));
}

void add_profile_members(std::vector<Member>& members, const Family& family, const Catalog& rows,
                         const Profile& profile) {
    if (family.over == Over::profile) members.push_back(expand_member(family, profile_context(rows, profile)));
    if (family.over != Over::profile_binding) return;
    for (const Binding& binding : profile.actions)
        members.push_back(expand_member(family, profile_binding_context(rows, profile, binding)));
}

Context resource_context(const Catalog& rows, const char* name, uint32_t handle) {
    Context context = program_context(rows);
    context.set("resource", name);
    context.set("handle", hex(handle));
    return context;
}

// A direct resource is named by its match table in most operations.
Context cell_context(const Catalog& rows, const Resource& row) {
    Context context = resource_context(rows, row.name, row.handle);
    context.flag("direct", row.addressing == direct);
    for (const Seam& seam : rows.seams)
        for (const Table& table : seam.tables)
            if (row.addressing == direct && same(table.name, row.table)) context.set("table_handle", hex(table.handle));
    return context;
}

Context register_context(const Catalog& rows, const Register& row) {
    Context context = resource_context(rows, row.name, row.handle);
    switch (row.cell) {
    case Cell::flag:
        context.set("cell", "flag");
        context.set("cell_type", "uint8_t");
        break;
    case Cell::word:
        context.set("cell", "word");
        context.set("cell_type", "uint32_t");
        break;
    case Cell::word_pair:
        context.set("cell", "word_pair");
        context.set("cell_type", "pd_register_pair");
        break;
    }
    return context;
}

Context hash_context(const Catalog& rows, const HashCalculation& row) {
    Context context = program_context(rows);
    context.set("calc", row.name);
    return context;
}

void add_resource_members(std::vector<Member>& members, const Family& family, const Catalog& rows) {
    const auto add_each = [&](const auto& space, auto context_of) {
        for (const auto& row : space)
            members.push_back(expand_member(family, context_of(row)));
    };
    const auto cell = [&](const Resource& row) { return cell_context(rows, row); };
    const auto plain = [&](const auto& row) { return resource_context(rows, row.name, row.handle); };
    switch (family.over) {
    case Over::counter:
        return add_each(rows.counters, cell);
    case Over::meter:
        return add_each(rows.meters, cell);
    case Over::wred_block:
        return add_each(rows.wred_blocks, cell);
    case Over::named_register:
        return add_each(rows.registers, [&](const Register& row) { return register_context(rows, row); });
    case Over::digest:
        return add_each(rows.digests, plain);
    case Over::value_set:
        return add_each(rows.value_sets, [&](const ValueSet& row) { return resource_context(rows, row.name, row.id); });
    case Over::hash_calculation:
        return add_each(rows.hash_calculations, [&](const HashCalculation& row) { return hash_context(rows, row); });
    default:
        return;
    }
}

} // namespace

std::string Member::signature() const {
    const bool pointer = result.ends_with('*');
    return result + (pointer ? "" : " ") + name + "(" + arguments + ")";
}

std::vector<const Member*> Exports::functions() const {
    std::vector<const Member*> all;
    for (const Member& member : program)
        all.push_back(&member);
    for (const Member& member : actions)
        all.push_back(&member);
    for (const ProfileExports& profile : profiles)
        for (const Member& member : profile.members)
            all.push_back(&member);
    for (const Member& member : resources)
        all.push_back(&member);
    for (const SeamExports& seam : seams)
        for (const TableExports& table : seam.tables)
            for (const Member& member : table.members)
                all.push_back(&member);
    return all;
}

std::string prefix(const Catalog& rows) {
    return std::string("p4_pd_") + rows.program + "_";
}

std::string match_spec_name(const Catalog& rows, const Table& table) {
    return prefix(rows) + table.name + "_match_spec_t";
}

std::string action_spec_name(const Catalog& rows, const Action& action) {
    return prefix(rows) + action.name + "_action_spec_t";
}

std::string partner_suffix(const KeyField& field) {
    return field.match == Match::lpm ? "_prefix_length" : "_mask";
}

std::string hex(uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", value);
    return text;
}

Exports name_exports(const Catalog& rows) {
    Exports exports{
        .rows = &rows, .data = {}, .program = {}, .actions = {}, .profiles = {}, .resources = {}, .seams = {}};
    const Context program = program_context(rows);
    for (const ExportedData& data : exported_data)
        exports.data.push_back({expand(data.name, program), expand(data.declaration, program)});
    for (const Family& family : families) {
        if (family.over == Over::program) exports.program.push_back(expand_member(family, program));
        if (family.over != Over::every_action && family.over != Over::action_with_params) continue;
        for (const Action& action : rows.actions)
            if (family.over == Over::every_action || action.params.size() != 0)
                exports.actions.push_back(expand_member(family, action_context(rows, action)));
    }
    for (const Profile& profile : rows.profiles) {
        ProfileExports& named = exports.profiles.emplace_back(ProfileExports{&profile, {}});
        for (const Family& family : families)
            add_profile_members(named.members, family, rows, profile);
    }
    for (const Family& family : families)
        add_resource_members(exports.resources, family, rows);
    for (const Seam& seam : rows.seams) {
        SeamExports& named = exports.seams.emplace_back(SeamExports{&seam, {}});
        for (const Table& table : seam.tables) {
            TableExports& table_exports = named.tables.emplace_back(TableExports{&table, {}});
            for (const Family& family : families)
                add_table_members(table_exports.members, family, rows, table);
        }
    }
    return exports;
}

} // namespace generator
