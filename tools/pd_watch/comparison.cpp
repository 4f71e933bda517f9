// See comparison.h.
#include "tools/pd_watch/comparison.h"

#include <string_view>

#include "watch/call.h"

namespace pd_watch {
namespace {

constexpr uint64_t no_handle = 0xFFFFFFFE;

bool is_nothing(uint64_t handle) {
    return handle == 0 || handle == PIPE_HDL_END;
}

// Whether the function makes what it gives a handle of. The driver may give the number of a thing that is gone.
bool makes(const Function& function) {
    const std::string_view name = function.name;
    return name.ends_with("_add") || name.ends_with("_create") || name.ends_with("_plcmt_mat_data_get") ||
           name.ends_with("_plcmt_adt_data_get") || name.ends_with("_plcmt_sel_data_get") ||
           name == "pipe_mgr_mat_default_entry_set" || name == "bf_drv_register";
}

bool is_handle(Kind kind) {
    switch (kind) {
    case Kind::session:
    case Kind::handle:
    case Kind::member:
    case Kind::group:
    case Kind::snapshot:
    case Kind::client:
    case Kind::pointer:
    case Kind::out_handle:
    case Kind::out_member:
    case Kind::out_group:
    case Kind::out_snapshot:
    case Kind::out_client:
    case Kind::out_pointer:
        return true;
    default:
        return false;
    }
}

bool is_null(const cJSON* json) {
    uint64_t number = 0;
    return json == nullptr || cJSON_IsNull(json) || (read_number(json, number) && number == 0);
}

// No bytes are null or an empty text: the driver may leave the caller's buffer alone.
bool is_empty(const cJSON* json) {
    return cJSON_IsNull(json) || (cJSON_IsString(json) && *json->valuestring == 0);
}

} // namespace

std::array<const cJSON*, most_arguments> arguments_of(const Function& function, const cJSON* raw) {
    std::array<const cJSON*, most_arguments> arguments{};
    const cJSON* next = raw == nullptr ? nullptr : raw->child;
    for (size_t i = 0; i < function.count && next != nullptr; ++i) {
        if (std::string_view(function.arguments[i].name) == next->string) {
            arguments[i] = next;
            next = next->next;
        } else if (function.arguments[i].kind != Kind::number) { // a number of 0 is left out
            return arguments;
        }
    }
    return arguments;
}

Place Comparison::place_of(const Function& function, const cJSON* raw) const {
    const auto arguments = arguments_of(function, raw);
    Place place;
    for (size_t i = 0; i < function.count; ++i) {
        uint64_t number = 0;
        const Kind kind = function.arguments[i].kind;
        if (!read_number(kind == Kind::target ? cJSON_GetArrayItem(arguments[i], 0) : arguments[i], number)) continue;
        if (kind == Kind::device || kind == Kind::target) place.device = number;
        if (kind == Kind::table) place.table = static_cast<uint32_t>(number);
        if (kind != Kind::pointer) continue;
        const auto known = places_.find(number);
        if (known != places_.end()) return known->second;
    }
    return place;
}

Comparison::Space Comparison::space_of(Kind kind, const Place& place) const {
    enum : uint64_t { sessions, snapshots, clients, pointers, of_tables };
    const Table* const table = pipeline_.table(place.table);
    switch (kind) {
    case Kind::session:
        return {sessions};
    case Kind::snapshot:
    case Kind::out_snapshot:
        return {snapshots};
    case Kind::client:
    case Kind::out_client:
        return {clients};
    case Kind::pointer:
    case Kind::out_pointer:
        return {pointers};
    case Kind::member:
    case Kind::out_member:
    case Kind::out_members:
        return {of_tables, place.device, table != nullptr && table->data_table != 0 ? table->data_table : place.table};
    case Kind::group:
    case Kind::out_group:
        return {of_tables, place.device, table != nullptr && table->selector != 0 ? table->selector : place.table};
    default:
        return {of_tables, place.device, place.table};
    }
}

uint64_t Comparison::second_of(Kind kind, const Place& place, uint64_t first) const {
    const auto handles = handles_.find(space_of(kind, place));
    if (is_nothing(first) || handles == handles_.end()) return first;
    const auto second = handles->second.second.find(first);
    if (second != handles->second.second.end()) return second->second;
    return handles->second.first.contains(first) ? no_handle : first;
}

bool Comparison::knows(Kind kind, const Place& place, uint64_t first) const {
    const auto handles = handles_.find(space_of(kind, place));
    return handles != handles_.end() && handles->second.second.contains(first);
}

void Comparison::bind(Kind kind, const Place& place, uint64_t first, uint64_t second) {
    Handles& handles = handles_[space_of(kind, place)];
    const auto [old_second, is_new_first] = handles.second.try_emplace(first, second);
    if (!is_new_first && old_second->second != second) handles.first.erase(old_second->second);
    old_second->second = second;
    const auto [old_first, is_new_second] = handles.first.try_emplace(second, first);
    if (!is_new_second && old_first->second != first) handles.second.erase(old_first->second);
    old_first->second = first;
}

bool Comparison::same_handle(Kind kind, const Place& place, const cJSON* first, const cJSON* second, bool is_new,
                             bool may_bind) {
    uint64_t a = 0;
    uint64_t b = 0;
    if (!read_number(first, a) || !read_number(second, b)) return is_null(first) && is_null(second);
    if (is_nothing(a) || is_nothing(b)) return a == b;
    const Handles& handles = handles_[space_of(kind, place)];
    if (!is_new) {
        const auto known = handles.second.find(a);
        if (known != handles.second.end()) return known->second == b;
        if (handles.first.contains(b)) return false;
        if (!may_bind) return a == b;
    }
    bind(kind, place, a, b);
    if (kind == Kind::out_pointer) places_[a] = place;
    return true;
}

// Records. Those of actions may name a member and a group.
bool Comparison::same_records(const Place& place, const cJSON* first, const cJSON* second, bool is_output) {
    if (!cJSON_IsObject(first) || !cJSON_IsObject(second)) return cJSON_Compare(first, second, 1) != 0;
    const cJSON* a = first->child;
    const cJSON* b = second->child;
    for (; a != nullptr && b != nullptr; a = a->next, b = b->next) {
        const std::string_view name = a->string;
        if (name != b->string) return false;
        const bool is_handle = name == "member" || name == "group";
        const Kind kind = name == "member" ? Kind::member : Kind::group;
        const bool is_same = is_handle ? same_handle(kind, place, a, b, false, is_output)
                                       : cJSON_Compare(a, b, 1) != 0 || (is_output && is_empty(a) && is_empty(b));
        if (!is_same) return false;
    }
    return a == b; // at the end of both
}

bool Comparison::same(const Function& function, Kind kind, const Place& place, const cJSON* first,
                      const cJSON* second) {
    const bool is_output = kind >= Kind::out_handle;
    if (first == nullptr || second == nullptr) return first == second;
    if (kind == Kind::cookie) return is_null(first) == is_null(second);
    if (kind == Kind::pointer && !is_null(first) && !is_null(second)) {
        uint64_t a = 0;
        // A digest message comes from the driver by a callback, which isn't a call.
        if (!read_number(first, a) || !knows(kind, place, a)) return true;
    }
    if (is_handle(kind) && !cJSON_IsTrue(first))
        return same_handle(kind, place, first, second, is_output && makes(function),
                           is_output || kind == Kind::session);
    if (kind == Kind::data || kind == Kind::out_data || kind == Kind::out_match || kind == Kind::out_action_data)
        return same_records(place, first, second, is_output);
    if ((kind == Kind::out_handles || kind == Kind::out_members) && cJSON_IsArray(first) && cJSON_IsArray(second)) {
        const cJSON* a = first->child;
        const cJSON* b = second->child;
        for (; a != nullptr && b != nullptr; a = a->next, b = b->next)
            if (!same_handle(kind, place, a, b, false, true)) return false;
        return a == b; // at the end of both
    }
    return cJSON_Compare(first, second, 1) != 0;
}

std::vector<Difference> Comparison::differences(const cJSON* first, const cJSON* second, bool whole) {
    std::vector<Difference> found;
    const auto compare = [&](const std::string& name, const cJSON* a, const cJSON* b, bool is_same) {
        if (!is_same) found.push_back({name, text_of(a), text_of(b)});
    };
    const cJSON* const name = member(first, "function");
    const cJSON* const other_name = member(second, "function");
    compare("function", name, other_name, cJSON_Compare(name, other_name, 1) != 0);
    const Function* const function =
        found.empty() && cJSON_IsString(name) ? function_named(name->valuestring) : nullptr;
    if (function == nullptr) return found;
    const cJSON* const raw = member(first, "raw");
    const Place place = place_of(*function, raw);
    if (whole) {
        const auto a = arguments_of(*function, raw);
        const auto b = arguments_of(*function, member(second, "raw"));
        for (size_t i = 0; i < function->count; ++i)
            compare(function->arguments[i].name, a[i], b[i],
                    same(*function, function->arguments[i].kind, place, a[i], b[i]));
    }
    const cJSON* const status = member(first, "status");
    const cJSON* const other_status = member(second, "status");
    compare("status", status, other_status, cJSON_Compare(status, other_status, 1) != 0);
    if (!found.empty()) return found;
    for (size_t i = 0; i < function->count; ++i) {
        const Argument& argument = function->arguments[i];
        if (argument.kind < Kind::out_handle) continue;
        const cJSON* const a = member(member(first, "outputs"), argument.name);
        const cJSON* const b = member(member(second, "outputs"), argument.name);
        compare(argument.name, a, b, same(*function, argument.kind, place, a, b));
    }
    return found;
}

} // namespace pd_watch
