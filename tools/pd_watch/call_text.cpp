// See call_text.h. Keys and actions look as `pd-show entries` shows them.
#include "tools/pd_watch/call_text.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <string_view>

#include <dlfcn.h>

#include "tools/pd_watch/comparison.h"
#include "watch/line.h"

namespace pd_watch {
namespace {

using catalog::Match;
using catalog::Tag;

std::string hexadecimal(uint64_t number) {
    char digits[24];
    return "0x" + std::string(digits, std::to_chars(digits, digits + sizeof digits, number, 16).ptr);
}

// A value or a mask of a field: an address as it is, a number in the field's form.
std::string shown(const cJSON* value, bool decimal) {
    if (cJSON_IsString(value)) return value->valuestring;
    uint64_t number = 0;
    if (!read_number(value, number)) return "?";
    return decimal ? std::to_string(number) : hexadecimal(number);
}

// A mask that matches all bits of a field, or none, as the recording writes it.
bool mask_is(const Field& field, const cJSON* mask, bool whole) {
    std::array<uint8_t, 256> bytes;
    bytes.fill(whole ? 0xFF : 0);
    Text text;
    put_value(text, field, bytes.data());
    return text.view() == (cJSON_IsString(mask) ? std::string(mask->valuestring) : text_of(mask));
}

// Leaves out fields that match anything, and masks of a whole field.
std::string key_text(const Table& table, const cJSON* key) {
    std::string text;
    for (const Field& field : table.key) {
        const cJSON* const member_of_key = member(key, field.label.c_str());
        const cJSON* const mask = member(member_of_key, "mask");
        const cJSON* const value = cJSON_IsObject(member_of_key) ? member(member_of_key, "value") : member_of_key;
        if (mask != nullptr && mask_is(field, mask, false)) continue;
        text += " " + field.label + "=" + shown(value, field.tag == Tag::dec);
        if (field.match == Match::lpm) text += "/" + text_of(member(member_of_key, "length"));
        if (mask != nullptr && !mask_is(field, mask, true)) text += "/" + shown(mask, false);
    }
    return text.empty() ? " anything" : text;
}

std::string action_text(const Table& table, const cJSON* call) {
    const cJSON* const name = member(call, "action");
    if (!cJSON_IsString(name)) {
        for (const char* const kind : {"member", "group"})
            if (uint64_t handle = 0; read_number(member(call, kind), handle))
                return std::string(" -> ") + kind + " " + hexadecimal(handle);
        return "";
    }
    std::string text = std::string(" -> ") + name->valuestring;
    for (const auto& [handle, action] : table.actions) {
        if (std::string_view(action.name) != name->valuestring) continue;
        for (const Field& param : action.params)
            text += " " + param.label + "=" +
                    shown(member(member(call, "params"), param.label.c_str()), param.tag == Tag::dec);
        return text;
    }
    return text;
}

// A number or a short list; null for anything longer.
std::string brief(const cJSON* value) {
    constexpr int most_shown = 8;
    if (cJSON_IsNumber(value)) return text_of(value);
    if (cJSON_IsString(value) && std::string_view(value->valuestring).size() <= 64) return value->valuestring;
    if (!cJSON_IsArray(value)) return "";
    std::string text;
    int count = 0;
    for (const cJSON* each = value->child; each != nullptr && count <= most_shown; each = each->next) {
        if (!text.empty()) text += ",";
        text += ++count > most_shown ? "..." : text_of(each);
    }
    return text;
}

bool is_told_elsewhere(const Argument& argument) {
    switch (argument.kind) {
    case Kind::session:
    case Kind::device:
    case Kind::target:
    case Kind::table:
    case Kind::handle:
    case Kind::action:
    case Kind::match:
    case Kind::data:
    case Kind::callback:
    case Kind::cookie:
    case Kind::out_match:
    case Kind::out_data:
    case Kind::out_action:
        return true;
    default:
        return std::string_view(argument.name).starts_with("always_") || std::string_view(argument.name) == "flags";
    }
}

// The other arguments, or the answers.
std::string rest(const Function& function, const cJSON* call, bool answers) {
    std::string text;
    const auto arguments = arguments_of(function, member(call, "raw"));
    for (size_t i = 0; i < function.count; ++i) {
        const Argument& argument = function.arguments[i];
        const bool is_answer = argument.kind >= Kind::out_handle;
        if (is_answer != answers || is_told_elsewhere(argument)) continue;
        if (argument.kind == Kind::out_handle && member(call, "handle") != nullptr) continue;
        const cJSON* const value = answers ? member(member(call, "outputs"), argument.name) : arguments[i];
        if (const std::string what = brief(value); !what.empty()) text += std::string(" ") + argument.name + "=" + what;
    }
    return text;
}

} // namespace

CallText::CallText(const Pipeline& pipeline, bool colours, bool names) : pipeline_(pipeline), colours_(colours) {
    if (!names) return;
    void* const driver = dlopen(library_path("libvl_driver_model.so").c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (driver != nullptr) name_of_ = reinterpret_cast<decltype(name_of_)>(dlsym(driver, "vl_model_status_name"));
}

std::string CallText::status(uint64_t status) const {
    std::string text = std::to_string(status);
    const std::string_view name = name_of_ != nullptr ? name_of_(static_cast<uint32_t>(status)) : "UNKNOWN";
    return status == 0 || name == "UNKNOWN" ? text : text.append(" ").append(name);
}

std::string CallText::line(const cJSON* call) const {
    const auto coloured = [&](const char* colour, const std::string& text) {
        return colours_ ? std::string("\033[") + colour + "m" + text + "\033[0m" : text;
    };
    const cJSON* const name = member(call, "function");
    const Function& function = *function_named(name->valuestring);
    char time[32];
    snprintf(time, sizeof time, "%9.3f", static_cast<double>(number_in(call, "time")) / 1e9);
    std::string text = coloured("2", time) + " ";
    if (const uint64_t thread = number_in(call, "thread"); thread > 1) text += " thread " + std::to_string(thread);
    text += " " + coloured("1", name->valuestring);
    const Table* const table = pipeline_.table(
        static_cast<uint32_t>(number_in(member(call, "raw"), "table"))); // the name of a profile is that of two tables
    if (table != nullptr) text += "  " + coloured("36", table->name);
    if (uint64_t handle = 0; read_number(member(call, "handle"), handle)) text += " #" + std::to_string(handle);
    if (table != nullptr) {
        if (const cJSON* const key = member(call, "key"); key != nullptr) text += key_text(*table, key);
        if (const cJSON* const priority = member(call, "priority"); priority != nullptr)
            text += " priority " + text_of(priority);
        if (std::string_view(function.name).find("default_entry") != std::string_view::npos) text += " default";
        text += action_text(*table, call);
    }
    text += rest(function, call, false);
    if (const std::string answers = rest(function, call, true); !answers.empty()) text += " =" + answers;
    if (const uint64_t code = number_in(call, "status"); code != 0) text += coloured("31", "  status " + status(code));
    return text;
}

std::string library_path(const char* name) {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path path = program.parent_path() / PD_WATCH_LIBRARY_FOLDER / name;
    return !error && std::filesystem::exists(path, error) ? path.lexically_normal().string() : name;
}

} // namespace pd_watch
