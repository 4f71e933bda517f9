// The description of the pipeline that an agent hands to the embedded driver when it adds a device: handles, widths and
// lengths, which are all that a driver sees of a P4 program.
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

// The actions of a profile serve entries and the default entry alike.
std::string action_line(const Catalog& rows, const Binding& binding, bool in_profile) {
    const ActionLayout layout = action_layout(rows.actions[action_number(rows, binding.action)]);
    return "    {.handle = " + hex(binding.handle) + ", .data_bits = " + std::to_string(layout.bits) +
           ", .data_len = " + std::to_string(layout.bytes) +
           ", .for_entries = " + (in_profile || for_entries(binding) ? "1" : "0") +
           ", .for_default = " + (in_profile || for_default(binding) ? "1" : "0") + "},\n";
}

// What the program starts with isn't in the catalog. The last of a table's default actions stands for it: most often the
// miss.
std::uint32_t initial_default(const Table& table) {
    std::uint32_t handle = 0;
    for (const Binding& binding : table.actions)
        if (for_default(binding)) handle = binding.handle;
    return handle;
}

std::string table_line(const Catalog& rows, const Table& table, const std::string& actions) {
    const KeyLayout layout = key_layout(table);
    const Profile* profile = profile_of(rows, table);
    const std::size_t action_count = profile ? profile->actions.size() : table.actions.size();
    return "    {.handle = " + hex(table.handle) + ", .name = \"" + table.name +
           "\", .match = " + match_name(key_shape(table)) + ", .key_bits = " + std::to_string(layout.bits) +
           ", .key_len = " + std::to_string(layout.bytes) + ",\n     .actions = " + actions +
           ", .action_count = " + std::to_string(action_count) + ", .initial_default = " + hex(initial_default(table)) +
           ", .resource_hdl = " + hex(resource_of(rows, table).handle) +
           ",\n     .data_table = " + hex(profile ? profile->data_table : 0) +
           ", .selector = " + hex(profile ? profile->selector : 0) + ", .idle_time = " + (table.idle_time ? "1" : "0") +
           ", .capacity = 0},\n";
}

} // namespace

std::string write_pipeline_description(const Catalog& rows) {
    const std::string program = rows.program;
    std::string actions;
    std::string tables = "static const vl_model_table " + program + "_tables[] = {\n";
    std::size_t count = 0;
    for (const Seam& seam : rows.seams)
        for (const Table& table : seam.tables) {
            const std::string name = program + "_" + table.name + "_actions";
            const Profile* profile = profile_of(rows, table);
            actions += "static const vl_model_action " + name + "[] = {\n";
            for (const Binding& binding : profile ? profile->actions : table.actions)
                actions += action_line(rows, binding, profile != nullptr);
            actions += "};\n";
            tables += table_line(rows, table, name);
            ++count;
        }
    tables += "};\n\n";
    return "/* Made from the catalog: what the embedded driver is told about " + program +
           " when a device is added. */\n#ifndef VL_PD_PIPELINE_H\n#define VL_PD_PIPELINE_H\n\n"
           "#include \"vl_model/control.h\"\n\n" +
           actions + "\n" + tables + "static const vl_model_pipeline " + program + "_pipeline = {.name = \"" + program +
           "\", .tables = " + program + "_tables, .table_count = " + std::to_string(count) + "};\n\n#endif\n";
}

} // namespace generator
