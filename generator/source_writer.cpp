// The definitions of the exported functions, each with one line, and the constants that they use.
#include <map>
#include <set>

#include "generator/writers.h"

namespace generator {

using namespace catalog;

namespace {

std::string opening(const Exports& exports, const std::set<std::string_view>& headers, std::string_view subject) {
    std::string text = std::string("// Made from the catalog. ").append(subject).append("\n");
    for (const std::string_view header : headers)
        text.append("#include \"").append(header).append("\"\n");
    return text.append("#include \"vl_pd/").append(exports.rows->name).append("/functions.h\"\n\n");
}

std::string definition(const Member& member) {
    if (!member.definition.empty()) return member.definition + "\n";
    return member.signature() + " PD_NOEXCEPT {\n    return " + member.call + ";\n}\n";
}

std::string action_names(const Exports& exports) {
    const Catalog& rows = *exports.rows;
    const std::string array = std::string(rows.prefix) + "action_name_strings";
    std::string text = "const char *const " + array + "[] = {\n";
    for (const Action& action : rows.actions)
        text.append("    \"").append(rows.prefix).append(action.name).append("\",\n");
    return text + "};\n\nnamespace vl_pd::action_names {\nconstinit const std::span<const char* const> all = " + array +
           ";\n}\n\n";
}

} // namespace

std::string write_source(const Exports& exports, const File& file) {
    std::set<std::string_view> headers = {"rows.h"};
    std::string body;
    for (const Member& member : exports.members) {
        if (member.shard != file.shard || member.seam != file.seam) continue;
        headers.insert(member.area->header);
        body += definition(member);
    }
    return opening(exports, headers, "Each function forwards to the one that does the work.") +
           "using namespace vl_pd;\n\n" + (file.shard == Shard::program ? action_names(exports) : "") + body;
}

std::string write_row_constants(const Exports& exports) {
    const Catalog& rows = *exports.rows;
    std::string text = "// Made from the catalog. The rows as constants for the functions.\n#pragma once\n\n"
                       "#include \"catalog/rows.h\"\n\n";
    const auto add = [&text](const char* scope, const auto& list, auto value_of) {
        text.append("namespace ").append(scope).append(" {\n");
        size_t number = 0;
        for (const auto& row : list)
            text.append("inline constexpr catalog::").append(value_of(row.name, number++)).append(";\n");
        text.append("} // namespace ").append(scope).append("\n\n");
    };
    const auto reference = [](const char* type) {
        return [type](const char* name, size_t number) {
            return std::string(type) + " " + name + "{" + std::to_string(number) + "}";
        };
    };
    add("t", tables(rows), reference("TableRef"));
    add("a", rows.actions, reference("ActionRef"));
    add("p", rows.profiles, reference("ProfileRef"));
    add("h", rows.hash_calculations, [](const char* name, size_t number) {
        return std::string("HashCalculation ") + name + " = catalog::program.hash_calculations[" +
               std::to_string(number) + "]";
    });
    return text;
}

std::string write_functions_by_handle(const Exports& exports) {
    std::map<uint32_t, std::string> of_tables;
    std::map<uint32_t, std::string> of_profiles;
    for (const Member& member : exports.members) {
        if (member.family->by_handle.empty() || (member.table == nullptr && member.profile == nullptr)) continue;
        const uint32_t handle = member.table != nullptr ? member.table->handle : member.profile->data_table;
        std::string& line = (member.table != nullptr ? of_tables : of_profiles)[handle];
        if (line.empty()) line = "    {.handle = " + hex(handle);
        line.append(",\n     .").append(member.family->by_handle).append(" = ").append(member.name);
    }
    std::string text = opening(exports, {"pd_velmar/by_handle.h"}, "The functions by handle, in handle order.") +
                       "namespace vl_pd::by_handle {\n\n";
    const auto write_list = [&text](const std::string& type, const std::string& name, const auto& lines) {
        text += "static constexpr " + type + " " + name + "_by_handle[] = {\n";
        for (const auto& [handle, line] : lines)
            text += line + "},\n";
        text +=
            "};\nconstinit const std::span<const " + type + "> " + name + "_functions = " + name + "_by_handle;\n\n";
    };
    write_list("TableFunctions", "table", of_tables);
    write_list("ProfileFunctions", "profile", of_profiles);
    return text + "} // namespace vl_pd::by_handle\n";
}

} // namespace generator
