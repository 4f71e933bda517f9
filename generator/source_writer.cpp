// The definitions of the exported functions, one line each, and the texts that hold the binary interface to its form.
#include <algorithm>
#include <map>
#include <set>

#include "catalog/layout.h"
#include "catalog/snapshot_layouts.h"
#include "generator/writers.h"

namespace generator {

using namespace catalog;

namespace {

std::string opening(const Exports& exports, std::string_view include) {
    return "// Made from the catalog. Each function forwards to the one place that holds its behaviour.\n"
           "#include \"" +
           std::string(include) + "\"\n#include \"vl_pd/" + exports.rows->program +
           ".h\"\n\nusing namespace vl_pd;\n\n";
}

// What declares the functions that a shard's bodies call.
std::string_view header_of(Shard shard) {
    switch (shard) {
    case Shard::program:
        return "pd_velmar/program.h";
    case Shard::actions:
    case Shard::readback:
        return "pd/readback.h";
    case Shard::action_texts:
    case Shard::texts:
        return "pd_velmar/texts.h";
    case Shard::placement:
        return "pd_velmar/placement.h";
    case Shard::profiles:
        return "pd_velmar/profiles.h";
    case Shard::resources:
        return "pd/resources.h";
    case Shard::entries:
        return "pd/write.h";
    case Shard::tables:
        return "pd/tables.h";
    }
    return {};
}

std::string definition(const Member& member) {
    if (!member.definition.empty()) return member.definition + "\n";
    return member.signature() + " PD_NOEXCEPT {\n    " + member.body + "\n}\n";
}

// The rows that the bodies name, looked up once per source.
std::string row_constants(const char* scope, const char* type, const char* look_up,
                          const std::set<std::string>& names) {
    std::string text = std::string("namespace ") + scope + " {\n";
    for (const std::string& name : names)
        text += std::string("[[maybe_unused]] constexpr catalog::") + type + " " + name + " = catalog::" + look_up +
                "(\"" + name + "\");\n";
    return text + "} // namespace " + scope + "\n";
}

// Visits every record with its size, and every field of it with offset and bytes.
void for_each_record(const Catalog& rows, auto record, auto field_of) {
    for (const Seam& seam : rows.seams)
        for (const Table& table : seam.tables) {
            if (key_shape(table) == KeyShape::keyless) continue;
            const KeyLayout layout = key_layout(table);
            const std::string type = match_spec_name(rows, table);
            record(type, layout.record_size);
            for (std::size_t i = 0; i < layout.field_count; ++i) {
                const KeyField& field = table.key.begin()[i];
                const FieldLayout& place = layout.fields[i];
                field_of(type, field.pd_name, place.record_offset, place.record_bytes);
                if (place.partner_bytes == 0) continue;
                const char* partner = field.match == Match::lpm ? "_prefix_length" : "_mask";
                field_of(type, std::string(field.pd_name) + partner, place.partner_offset, place.partner_bytes);
            }
        }
    for (const Action& action : rows.actions) {
        if (action.params.size() == 0) continue;
        const ActionLayout layout = action_layout(action);
        const std::string type = action_spec_name(rows, action);
        record(type, layout.record_size);
        for (std::size_t i = 0; i < layout.param_count; ++i)
            field_of(type, std::string("action_") + action.params.begin()[i].name, layout.params[i].record_offset,
                     layout.params[i].record_bytes);
    }
}

} // namespace

std::string write_program_source(const Exports& exports) {
    std::string text = opening(exports, header_of(Shard::program));
    text += "const char *const " + prefix(*exports.rows) + "action_name_strings[] = {\n";
    for (const Action& action : exports.rows->actions)
        text += "    \"" + prefix(*exports.rows) + action.name + "\",\n";
    text += "};\n\n";
    for (const Member& member : exports.program)
        text += definition(member);
    return text;
}

std::string write_actions_source(const Exports& exports, Shard shard) {
    std::set<std::string> names;
    for (const Action& action : exports.rows->actions)
        names.insert(action.name);
    std::string text = opening(exports, header_of(shard));
    text += "namespace {\n" + row_constants("a", "ActionRef", "action", names) + "} // namespace\n\n";
    for (const Member& member : exports.actions)
        if (member.family->shard == shard) text += definition(member);
    return text;
}

std::string write_resources_source(const Exports& exports) {
    std::string text = opening(exports, header_of(Shard::resources));
    text += "namespace {\nnamespace h {\n";
    for (const HashCalculation& row : exports.rows->hash_calculations)
        text += std::string("constexpr const catalog::HashCalculation& ") + row.name +
                " = catalog::hash_calculation(\"" + row.name + "\");\n";
    text += "} // namespace h\n} // namespace\n\n";
    for (const Member& member : exports.resources)
        text += definition(member);
    return text;
}

std::string write_profiles_source(const Exports& exports) {
    std::set<std::string> profiles;
    std::set<std::string> actions;
    for (const Profile& profile : exports.rows->profiles) {
        profiles.insert(profile.name);
        for (const Binding& binding : profile.actions)
            actions.insert(binding.action);
    }
    std::string text = opening(exports, header_of(Shard::profiles));
    text += "namespace {\n" + row_constants("p", "ProfileRef", "profile", profiles) +
            row_constants("a", "ActionRef", "action", actions) + "} // namespace\n\n";
    for (const ProfileExports& exported : exports.profiles)
        for (const Member& member : exported.members)
            text += definition(member);
    return text;
}

std::string write_seam_source(const Exports& exports, const SeamExports& seam, Shard shard) {
    std::set<std::string> tables;
    std::set<std::string> actions;
    std::string body;
    for (const TableExports& exported : seam.tables) {
        tables.insert(exported.table->name);
        for (const Binding& binding : exported.table->actions)
            actions.insert(binding.action);
        for (const Member& member : exported.members)
            if (member.family->shard == shard) body += definition(member);
    }
    std::string text = opening(exports, header_of(shard));
    text += "namespace {\n" + row_constants("t", "TableRef", "table", tables) +
            row_constants("a", "ActionRef", "action", actions) + "} // namespace\n\n";
    return text + body;
}

namespace {

// "    {.handle = 0x1000001, .schema = p4_..._schema, ...},"
std::string functions_line(std::uint32_t handle, const std::vector<Member>& members) {
    std::string line = "    {.handle = " + hex(handle);
    for (const Member& member : members)
        if (!member.family->by_handle.empty())
            line += ",\n     ." + std::string(member.family->by_handle) + " = " + member.name;
    return line + "},\n";
}

} // namespace

std::string write_functions_by_handle(const Exports& exports) {
    std::map<std::uint32_t, std::string> tables;
    for (const SeamExports& seam : exports.seams)
        for (const TableExports& exported : seam.tables)
            tables[exported.table->handle] = functions_line(exported.table->handle, exported.members);
    std::map<std::uint32_t, std::string> profiles;
    for (const ProfileExports& exported : exports.profiles)
        profiles[exported.profile->data_table] = functions_line(exported.profile->data_table, exported.members);

    std::string text = "// Made from the catalog. What is reached by handle, sorted by it.\n"
                       "#include \"pd_velmar/by_handle.h\"\n#include \"vl_pd/" +
                       std::string(exports.rows->program) + ".h\"\n\nnamespace vl_pd::by_handle {\n\n";
    const auto write_list = [&text](const char* declaration, const auto& lines) {
        text += std::string("constinit const ") + declaration + "[] = {\n";
        for (const auto& [handle, line] : lines)
            text += line;
        text += "};\n\n";
    };
    write_list("TableFunctions table_functions", tables);
    write_list("ProfileFunctions profile_functions", profiles);
    return text + "} // namespace vl_pd::by_handle\n";
}

std::string write_record_asserts(const Exports& exports) {
    const Catalog& rows = *exports.rows;
    std::string text =
        "// Made from the catalog. The encoders reach a record's fields by offset: this is what makes that safe.\n"
        "#include <cstddef>\n\n#include \"vl_pd/" +
        std::string(rows.program) + ".h\"\n\n";
    const auto assert_size = [&text](const std::string& type, unsigned size) {
        text += "static_assert(sizeof(" + type + ") == " + std::to_string(size) + ");\n";
    };
    const auto assert_field = [&text](const std::string& type, const std::string& field, unsigned offset,
                                      unsigned bytes) {
        text += "static_assert(offsetof(" + type + ", " + field + ") == " + std::to_string(offset) + " && sizeof(" +
                type + "::" + field + ") == " + std::to_string(bytes) + ");\n";
    };
    for_each_record(rows, assert_size, assert_field);
    return text;
}

std::string write_row_list(const Exports& exports) {
    const Catalog& rows = *exports.rows;
    std::set<std::string> lines;
    const auto add_record = [&lines](const std::string& type, unsigned size) {
        lines.insert(type + "\tsize " + std::to_string(size) + "\n");
    };
    const auto add_field = [&lines](const std::string& type, const std::string& field, unsigned offset,
                                    unsigned bytes) {
        lines.insert(type + "." + field + "\toffset " + std::to_string(offset) + ", " + std::to_string(bytes) +
                     " bytes\n");
    };
    for_each_record(rows, add_record, add_field);

    const auto add_bindings = [&](const char* owner, List<Binding> bindings) {
        for (const Binding& binding : bindings) {
            const std::size_t number = action_number(rows, binding.action);
            const ActionLayout layout = action_layout(rows.actions[number]);
            lines.insert(std::string(owner) + "." + binding.action + "\t" + hex(binding.handle) + ", action " +
                         std::to_string(number) + ", " + std::to_string(layout.bits) + " bits in " +
                         std::to_string(layout.bytes) + " bytes\n");
        }
    };
    for (const Seam& seam : rows.seams)
        for (const Table& table : seam.tables) {
            const KeyLayout layout = key_layout(table);
            lines.insert(std::string(table.name) + "\t" + hex(table.handle) + ", key of " +
                         std::to_string(layout.bits) + " bits in " + std::to_string(layout.bytes) +
                         " bytes, resource " + hex(resource_of(rows, table).handle) + "\n");
            add_bindings(table.name, table.actions);
        }
    for (const Profile& profile : rows.profiles) {
        lines.insert(std::string(profile.name) + "\t" + hex(profile.data_table) + ", selector " +
                     hex(profile.selector) + ", of " + profile.table + "\n");
        add_bindings(profile.name, profile.actions);
    }

    const auto add_resources = [&](const char* kind, const auto& resources, auto form) {
        for (const auto& row : resources)
            lines.insert(std::string(kind) + " " + row.name + "\t" + hex(row.handle) + ", " + form(row) +
                         (row.table ? std::string(", of ") + row.table : "") + "\n");
    };
    const auto addressing = [](const Resource& row) { return row.addressing == direct ? "direct" : "indirect"; };
    add_resources("counter", rows.counters, addressing);
    add_resources("meter", rows.meters, addressing);
    add_resources("wred", rows.wred_blocks, addressing);
    add_resources("register", rows.registers, [](const Register& row) {
        return row.cell == Cell::flag ? "flag" : row.cell == Cell::word ? "word" : "word pair";
    });
    for (const Digest& digest : rows.digests) {
        unsigned size = 0;
        for (const DigestField& field : digest.fields) {
            add_field(digest.name, field.pd_name, size, field.bytes);
            size += field.bytes;
        }
        lines.insert(std::string("digest ") + digest.name + "\t" + hex(digest.handle) + ", size " +
                     std::to_string(size) + "\n");
    }
    for (const ValueSet& set : rows.value_sets)
        lines.insert(std::string("value set ") + set.name + "\t" + std::to_string(set.id) + "\n");
    for (const HashCalculation& row : rows.hash_calculations)
        lines.insert(std::string("hash calculation ") + row.name + "\t" + hex(row.handle) + ", input " +
                     hex(row.input) + ", algorithm " + hex(row.algorithm) + "\n");

    // Of the snapshot records all that is known is which bytes turn.
    for (std::size_t layout = 0; layout < std::size(snapshot_layouts); ++layout) {
        const auto add_offsets = [&](List<std::uint16_t> offsets, const char* width) {
            std::string line = "snapshot layout " + std::to_string(layout) + ", " + width + "\tat";
            for (const unsigned offset : offsets)
                line += " " + std::to_string(offset);
            lines.insert(line + "\n");
        };
        add_offsets(snapshot_layouts[layout].two_byte_fields, "two bytes");
        add_offsets(snapshot_layouts[layout].four_byte_fields, "four bytes");
    }
    std::string text;
    for (const std::string& line : lines)
        text += line;
    return text;
}

std::string write_version_script(const Exports& exports) {
    std::set<std::string> names;
    for (const Member* member : exports.functions())
        names.insert(member->name);
    for (const Data& data : exports.data)
        names.insert(data.name);
    std::string text = "{\n  global:\n";
    for (const std::string& name : names)
        text += "    " + name + ";\n";
    return text + "  local:\n    *;\n};\n";
}

std::string write_export_list(const Exports& exports) {
    std::set<std::string> lines;
    for (const Member* member : exports.functions())
        lines.insert(member->name + "\t" + member->result + " (" + member->arguments + ")\n");
    for (const Data& data : exports.data)
        lines.insert(data.name + "\t" + data.declaration + "\n");
    std::string text;
    for (const std::string& line : lines)
        text += line;
    return text;
}

} // namespace generator
