// The definitions of the exported functions, one line each.
#include <map>
#include <set>

#include "catalog/layout.h"
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
        text.append("[[maybe_unused]] constexpr catalog::")
            .append(type)
            .append(" ")
            .append(name)
            .append(" = catalog::")
            .append(look_up)
            .append("(\"")
            .append(name)
            .append("\");\n");
    return text + "} // namespace " + scope + "\n";
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
std::string functions_line(uint32_t handle, const std::vector<Member>& members) {
    std::string line = "    {.handle = " + hex(handle);
    for (const Member& member : members)
        if (!member.family->by_handle.empty())
            line += ",\n     ." + std::string(member.family->by_handle) + " = " + member.name;
    return line + "},\n";
}

} // namespace

std::string write_functions_by_handle(const Exports& exports) {
    std::map<uint32_t, std::string> tables;
    for (const SeamExports& seam : exports.seams)
        for (const TableExports& exported : seam.tables)
            tables[exported.table->handle] = functions_line(exported.table->handle, exported.members);
    std::map<uint32_t, std::string> profiles;
    for (const ProfileExports& exported : exports.profiles)
        profiles[exported.profile->data_table] = functions_line(exported.profile->data_table, exported.members);

    std::string text = "// Made from the catalog. What is reached by handle, sorted by it.\n"
                       "#include \"pd_velmar/by_handle.h\"\n#include \"vl_pd/" +
                       std::string(exports.rows->program) + ".h\"\n\nnamespace vl_pd::by_handle {\n\n";
    const auto write_list = [&text](const std::string& type, const std::string& name, const auto& lines) {
        text += "static constexpr " + type + " " + name + "_by_handle[] = {\n";
        for (const auto& [handle, line] : lines)
            text += line;
        text +=
            "};\nconstinit const std::span<const " + type + "> " + name + "_functions = " + name + "_by_handle;\n\n";
    };
    write_list("TableFunctions", "table", tables);
    write_list("ProfileFunctions", "profile", profiles);
    return text + "} // namespace vl_pd::by_handle\n";
}

} // namespace generator
