// The texts that fix the binary interface: asserts, the version script, and the lists of names, rows and totals.
#include <map>
#include <set>

#include "catalog/layout.h"
#include "generator/writers.h"

namespace generator {

using namespace catalog;

namespace {

// Visits every record with its size, and every field of each record with its offset and size.
void for_each_record(const Catalog& rows, auto record, auto field_of) {
    for (const Table& table : tables(rows)) {
        if (key_shape(table) == KeyShape::keyless) continue;
        const KeyLayout layout = key_layout(table);
        const std::string type = match_spec_name(rows, table);
        record(type, layout.record_size);
        for (size_t i = 0; i < layout.field_count; ++i) {
            const KeyField& field = table.key.begin()[i];
            const FieldLayout& place = layout.fields[i];
            field_of(type, field.pd_name, place.record_offset, place.record_bytes);
            if (place.partner_bytes == 0) continue;
            field_of(type, field.pd_name + partner_suffix(field), place.partner_offset, place.partner_bytes);
        }
    }
    for (const Action& action : rows.actions) {
        if (action.params.size() == 0) continue;
        const ActionLayout layout = action_layout(action);
        const std::string type = action_spec_name(rows, action);
        record(type, layout.record_size);
        for (size_t i = 0; i < layout.param_count; ++i)
            field_of(type, std::string("action_") + action.params.begin()[i].name, layout.params[i].record_offset,
                     layout.params[i].record_bytes);
    }
}

using Lines = std::set<std::string>;

std::string join(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line;
    return text;
}

void add_field(Lines& lines, const std::string& type, const std::string& field, unsigned offset, unsigned bytes) {
    lines.insert(type + "." + field + "\toffset " + std::to_string(offset) + ", " + std::to_string(bytes) + " bytes\n");
}

void add_records(Lines& lines, const Catalog& rows) {
    for_each_record(
        rows,
        [&](const std::string& type, unsigned size) { lines.insert(type + "\tsize " + std::to_string(size) + "\n"); },
        [&](const std::string& type, const std::string& field, unsigned offset, unsigned bytes) {
            add_field(lines, type, field, offset, bytes);
        });
}

void add_bindings(Lines& lines, const Catalog& rows, const char* owner, List<Binding> bindings) {
    for (const Binding& binding : bindings) {
        const size_t number = number_of(rows.actions, binding.action);
        const ActionLayout layout = action_layout(rows.actions[number]);
        lines.insert(std::string(owner) + "." + binding.action + "\t" + hex(binding.handle) + ", action " +
                     std::to_string(number) + ", " + std::to_string(layout.bits) + " bits in " +
                     std::to_string(layout.bytes) + " bytes\n");
    }
}

void add_tables(Lines& lines, const Catalog& rows) {
    for (const Table& table : tables(rows)) {
        const KeyLayout layout = key_layout(table);
        lines.insert(std::string(table.name) + "\t" + hex(table.handle) + ", key of " + std::to_string(layout.bits) +
                     " bits in " + std::to_string(layout.bytes) + " bytes, resource " +
                     hex(resource_of(rows, table).handle) + "\n");
        add_bindings(lines, rows, table.name, table.actions);
    }
    for (const Profile& profile : rows.profiles) {
        lines.insert(std::string(profile.name) + "\t" + hex(profile.data_table) + ", selector " +
                     hex(profile.selector) + ", of " + profile.table + "\n");
        add_bindings(lines, rows, profile.name, profile.actions);
    }
}

void add_resources(Lines& lines, const Catalog& rows) {
    const auto add = [&](const char* kind, const auto& resources, auto form) {
        for (const auto& row : resources)
            lines.insert(std::string(kind) + " " + row.name + "\t" + hex(row.handle) + ", " + form(row) +
                         (row.table ? std::string(", of ") + row.table : "") + "\n");
    };
    const auto addressing = [](const Resource& row) {
        return row.addressing == Addressing::direct ? "direct" : "indirect";
    };
    add("counter", rows.counters, addressing);
    add("meter", rows.meters, addressing);
    add("wred", rows.wred_blocks, addressing);
    add("register", rows.registers, [](const Register& row) {
        return row.cell == Cell::flag ? "flag" : row.cell == Cell::word ? "word" : "word pair";
    });
}

void add_services(Lines& lines, const Catalog& rows) {
    for (const Digest& digest : rows.digests) {
        unsigned size = 0;
        for (const DigestField& field : digest.fields) {
            add_field(lines, digest.name, field.pd_name, size, field.bytes);
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
}

// For a snapshot record the catalog only knows the fields whose byte order is reversed.
void add_snapshot_layouts(Lines& lines, const Catalog& rows) {
    for (size_t layout = 0; layout < rows.snapshot_layouts.size(); ++layout) {
        const auto add_offsets = [&](List<uint16_t> offsets, const char* width) {
            std::string line = "snapshot layout " + std::to_string(layout) + ", " + width + "\tat";
            for (const unsigned offset : offsets)
                line.append(" ").append(std::to_string(offset));
            lines.insert(line + "\n");
        };
        add_offsets(rows.snapshot_layouts[layout].two_byte_fields, "two bytes");
        add_offsets(rows.snapshot_layouts[layout].four_byte_fields, "four bytes");
    }
}

} // namespace

std::string write_record_asserts(const Exports& exports) {
    const Catalog& rows = *exports.rows;
    std::string text =
        "// Made from the catalog. The encoders access record fields by offset. These asserts make that safe.\n"
        "#include <cstddef>\n\n#include \"vl_pd/" +
        std::string(rows.name) + "/functions.h\"\n\n";
    const auto assert_size = [&text](const std::string& type, unsigned size) {
        text += "static_assert(sizeof(" + type + ") == " + std::to_string(size) + ");\n";
    };
    const auto assert_field = [&text](const std::string& type, const std::string& field, unsigned offset,
                                      unsigned bytes) {
        text += "static_assert(offsetof(" + type + ", " + field + ") == " + std::to_string(offset) + " && sizeof(" +
                type + "::" + field + ") == " + std::to_string(bytes) + ");\n";
    };
    for_each_record(rows, assert_size, assert_field);
    for (const Digest& digest : rows.digests) {
        const std::string type = digest_entry_name(rows, digest);
        unsigned size = 0;
        for (const DigestField& field : digest.fields) {
            assert_field(type, field.pd_name, size, field.bytes);
            size += field.bytes;
        }
        assert_size(type, size);
    }
    return text;
}

std::string write_row_list(const Exports& exports) {
    Lines lines;
    add_records(lines, *exports.rows);
    add_tables(lines, *exports.rows);
    add_resources(lines, *exports.rows);
    add_services(lines, *exports.rows);
    add_snapshot_layouts(lines, *exports.rows);
    return join(lines);
}

std::string write_totals(const Exports& exports) {
    const Catalog& rows = *exports.rows;
    std::map<std::string, size_t> totals;
    const auto count_bindings = [&](List<Binding> bindings) {
        for (const Binding& binding : bindings) {
            ++totals["bindings"];
            totals["bindings for entries"] += for_entries(binding);
            totals["bindings for the default entry"] += for_default(binding);
        }
    };
    for (const Table& table : tables(rows)) {
        const KeyShape shape = key_shape(table);
        ++totals["tables"];
        totals["tables, exact"] += shape == KeyShape::exact;
        totals["tables, keyless"] += shape == KeyShape::keyless;
        totals["tables, longest prefix"] += shape == KeyShape::prefix;
        totals["tables, masked"] += shape == KeyShape::masked;
        totals["tables, indirect"] += profile_of(rows, table) != not_found;
        totals["tables whose record order differs from the key order"] += table.record_order.size() != 0;
        totals["key fields"] += table.key.size();
        for (const KeyField& field : table.key)
            totals["key fields with a mask"] += field.match == Match::ternary;
        count_bindings(table.actions);
    }
    for (const Profile& profile : rows.profiles)
        count_bindings(profile.actions);
    for (const Action& action : rows.actions) {
        totals["actions with parameters"] += action.params.size() != 0;
        totals["parameters"] += action.params.size();
    }
    totals["actions"] = rows.actions.size();
    totals["counters"] = rows.counters.size();
    totals["digests"] = rows.digests.size();
    totals["exported names"] = exports.members.size() + exports.data.size();
    totals["hash calculations"] = rows.hash_calculations.size();
    totals["meters"] = rows.meters.size();
    totals["profiles"] = rows.profiles.size();
    totals["registers"] = rows.registers.size();
    totals["value sets"] = rows.value_sets.size();
    totals["WRED blocks"] = rows.wred_blocks.size();
    std::string text;
    for (const auto& [kind, count] : totals)
        text += kind + "\t" + std::to_string(count) + "\n";
    return text;
}

std::string write_version_script(const Exports& exports) {
    std::set<std::string> names;
    for (const Member& member : exports.members)
        names.insert(member.name);
    for (const Data& data : exports.data)
        names.insert(data.name);
    std::string text = "{\n  global:\n";
    for (const std::string& name : names)
        text += "    " + name + ";\n";
    return text + "  local:\n    *;\n};\n";
}

std::string write_export_list(const Exports& exports) {
    Lines lines;
    for (const Member& member : exports.members)
        lines.insert(member.name + "\t" + member.result + " (" + member.arguments + ")\n");
    for (const Data& data : exports.data)
        lines.insert(data.name + "\t" + data.declaration + "\n");
    return join(lines);
}

} // namespace generator
