// The description of the pipeline, which an agent passes to the embedded driver when it adds a device. It has handles,
// widths and lengths: a driver sees nothing else of a P4 program.
#include "catalog/layout.h"
#include "generator/writers.h"

namespace generator {

using namespace catalog;

namespace {

const char* match_name(KeyShape shape) {
    switch (shape) {
    case KeyShape::keyless:
        return "VL_MODEL_KEYLESS";
    case KeyShape::exact:
        return "VL_MODEL_EXACT";
    case KeyShape::masked:
        return "VL_MODEL_TERNARY";
    case KeyShape::prefix:
        return "VL_MODEL_PREFIX";
    }
    return "";
}

// The values of a record, in the order of its members. C++11 has no designated initializers.
std::string row(std::initializer_list<std::string> values) {
    std::string text;
    for (const std::string& value : values)
        text.append(text.empty() ? "    {" : ", ").append(value);
    return text.append("},\n");
}

std::string quoted(const std::string& text) {
    return '"' + text + '"';
}

// The driver chooses capacities and counts of cells.
constexpr const char* default_size = "0";

// Entries and the default entry may both use the actions of a profile.
std::string action_line(const Catalog& rows, const Binding& binding, bool in_profile) {
    const ActionLayout layout = action_layout(rows.actions[number_of(rows.actions, binding.action)]);
    return row({hex(binding.handle), std::to_string(layout.bits), std::to_string(layout.bytes),
                in_profile || for_entries(binding) ? "1" : "0", in_profile || for_default(binding) ? "1" : "0"});
}

// The catalog doesn't say which default action a table starts with. This takes the table's last default action, which
// is usually the miss.
uint32_t initial_default(const Table& table) {
    uint32_t handle = 0;
    for (const Binding& binding : table.actions)
        if (for_default(binding)) handle = binding.handle;
    return handle;
}

// The bits of each field that the table matches, in the order of the key's bytes. A partition isn't matched.
std::string key_mask(const Table& table) {
    std::string bytes;
    for (const KeyField& field : table.key) {
        const bool is_partition = table.partitioned && &field == table.key.begin();
        for (unsigned left = whole_bytes(field.bits); left > 0; --left)
            bytes += (bytes.empty() ? "" : ", ") + (is_partition ? "0x0" : hex(matched_byte(field, left - 1)));
    }
    return bytes;
}

std::string table_line(const Catalog& rows, const Table& table, const std::string& actions, const std::string& mask) {
    const KeyLayout layout = key_layout(table);
    const size_t profile_number = profile_of(rows, table);
    const Profile* profile = profile_number == not_found ? nullptr : &rows.profiles[profile_number];
    const size_t action_count = actions_of(rows, table).size();
    return row({hex(table.handle), quoted(table.name), match_name(key_shape(table)), std::to_string(layout.bits),
                std::to_string(layout.bytes), actions, std::to_string(action_count), hex(initial_default(table)),
                hex(resource_of(rows, table).handle), hex(profile ? profile->data_table : 0),
                hex(profile ? profile->selector : 0), table.idle_time ? "1" : "0", default_size, mask});
}

// An array of the description, with its address and length in the record of all arrays. C has no empty arrays.
struct Section {
    std::string definition;
    std::string members;
};

Section section(const std::string& program, const std::string& type, const std::string& name, const std::string& lines,
                size_t count) {
    if (count == 0) return {.definition = "", .members = ", 0, 0"};
    const std::string array = program + "_" + name + "s";
    return {.definition = "static const " + type + " " + array + "[] = {\n" + lines + "};\n\n",
            .members = ",\n    " + array + ", " + std::to_string(count)};
}

std::string resource_line(const Catalog& rows, uint32_t handle, Addressing addressing, const char* table_name) {
    const bool has_table = addressing == Addressing::direct && table_name != nullptr;
    const uint32_t match_table = has_table ? tables(rows)[number_of(tables(rows), table_name)].handle : 0;
    return row({hex(handle), hex(match_table), default_size});
}

Section resource_section(const Catalog& rows, const std::string& name, const Rows<Resource>& resources) {
    std::string lines;
    for (const Resource& row : resources)
        lines += resource_line(rows, row.handle, row.addressing, row.table);
    return section(rows.name, "vl_model_resource", name, lines, resources.size());
}

Section register_section(const Catalog& rows) {
    std::string lines;
    for (const Register& row : rows.registers)
        lines += resource_line(rows, row.handle, Addressing::indirect, row.table);
    return section(rows.name, "vl_model_resource", "register", lines, rows.registers.size());
}

Section digest_section(const Catalog& rows) {
    std::string lines;
    for (const Digest& digest : rows.digests) {
        unsigned size = 0;
        for (const DigestField& field : digest.fields)
            size += field.bytes;
        lines += row({hex(digest.handle), std::to_string(size)});
    }
    return section(rows.name, "vl_model_digest", "digest", lines, rows.digests.size());
}

Section value_set_section(const Catalog& rows) {
    std::string lines;
    for (const ValueSet& row : rows.value_sets)
        lines += "    " + std::to_string(row.id) + ",\n";
    return section(rows.name, "uint32_t", "value_set", lines, rows.value_sets.size());
}

Section hash_calculation_section(const Catalog& rows) {
    std::string lines;
    for (const HashCalculation& calculation : rows.hash_calculations)
        lines += row({hex(calculation.handle), hex(calculation.input), hex(calculation.algorithm)});
    return section(rows.name, "vl_model_hash_calculation", "hash_calculation", lines, rows.hash_calculations.size());
}

} // namespace

std::string write_pipeline_description(const Catalog& rows) {
    const std::string program = rows.name;
    std::string actions;
    std::string tables = "static const vl_model_table " + program + "_tables[] = {\n";
    for (const Table& table : catalog::tables(rows)) {
        const std::string name = program + "_" + table.name + "_actions";
        actions += "static const vl_model_action " + name + "[] = {\n";
        for (const Binding& binding : actions_of(rows, table))
            actions += action_line(rows, binding, profile_of(rows, table) != not_found);
        actions += "};\n";
        std::string mask = "0";
        if (table.key.size() != 0) {
            mask = program + "_" + table.name + "_key_mask";
            actions += "static const uint8_t " + mask + "[] = {" + key_mask(table) + "};\n";
        }
        tables += table_line(rows, table, name, mask);
    }
    tables += "};\n\n";
    std::string members;
    for (const Section& part :
         {resource_section(rows, "counter", rows.counters), resource_section(rows, "meter", rows.meters),
          resource_section(rows, "wred_block", rows.wred_blocks), register_section(rows), digest_section(rows),
          value_set_section(rows), hash_calculation_section(rows)}) {
        tables += part.definition;
        members += part.members;
    }
    return "/* Made from the catalog: the description of " + program +
           " for the embedded driver. Values have the order\n * of the members. */\n#ifndef "
           "VL_PD_" +
           program + "_PIPELINE_H\n#define VL_PD_" + program +
           "_PIPELINE_H\n\n"
           "#include \"vl_model/control.h\"\n\n" +
           actions + "\n" + tables + "static const vl_model_pipeline " + program + "_pipeline = {\n    " +
           quoted(program) + ",\n    " + program + "_tables, " + std::to_string(catalog::tables(rows).size()) +
           members +
           "};\n\n"
           "/* The same for callers that don't compile C. It is in the shared library libvl_" +
           program +
           "_pipeline.so. */\n"
           "#ifdef __cplusplus\nextern \"C\"\n#endif\n"
           "const vl_model_pipeline* " +
           program + "_pipeline_description(void);\n\n#endif\n";
}

std::string write_pipeline_function(const Catalog& rows) {
    const std::string program = rows.name;
    return "/* Made from the catalog: the description of " + program +
           " for callers that don't compile C. */\n#include \"vl_pd/" + program +
           "_pipeline.h\"\n\n"
           "__attribute__((visibility(\"default\"))) const vl_model_pipeline* " +
           program + "_pipeline_description(void) {\n    return &" + program + "_pipeline;\n}\n";
}

} // namespace generator
