// A path becomes a command and its query. The command writes into the answer while it reads.
#include "console/api.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

#include "console/metrics.h"
#include "console/page.h"
#include "vl_driver/tables.h"
#include "vl_pd/version.h"

namespace console {
namespace {

using namespace pd_views;

// Answers that aren't 200.
struct Refusal {
    int status;
    std::string message;
};

uint32_t number(const std::string& name, std::string_view text, uint32_t most = UINT32_MAX) {
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value > most)
        throw Refusal{400, name + " takes a number from 0 to " + std::to_string(most) + ", not \"" + std::string(text) +
                               "\""};
    return value;
}

// What a command takes from the part of the target behind "?".
struct Takes {
    bool hw = false;
    bool values = false; // the format with this name
    bool page = false;   // after and limit
    bool fields = false; // of a table
    bool vrf = false;
};

Format format_named(const std::string& name, bool has_values) {
    if (name == "json") return Format::json;
    if (name == "text") return Format::text;
    if (name == "value" && has_values) return Format::value;
    throw Refusal{400, "there is no format " + name + " here"};
}

Query query_of(const Request& request, const Takes& takes) {
    Query query;
    query.format = Format::json;
    for (const auto& [name, value] : request.query) {
        const bool is_field = takes.fields && name.starts_with("field."); // the command counts fields
        if (!is_field && std::ranges::count(request.query, name, &Fields::value_type::first) > 1)
            throw Refusal{400, name + " is given twice"};
        if (name == "format")
            query.format = format_named(value, takes.values);
        else if (name == "hw" && takes.hw)
            query.from_hw = number(name, value, 1) != 0;
        else if (name == "after" && takes.page)
            query.after = number(name, value);
        else if (name == "limit" && takes.page)
            query.limit = number(name, value);
        else if (name == "vrf" && takes.vrf)
            query.words.assign(1, value);
        else if (takes.fields) // "field." keeps names apart from those above
            query.words.emplace_back(name.starts_with("field.") ? name.substr(6) : name).append("=").append(value);
        else
            throw Refusal{400, request.path + " takes no \"" + name + "\""};
    }
    return query;
}

const char* type_of(Format format) {
    return format == Format::json ? "application/json" : "text/plain; charset=utf-8";
}

class Asked {
public:
    Asked(const Switch& shown, const Request& request, Reply& reply)
        : shown_(shown),
          request_(request),
          reply_(reply) {}

    void about() {
        if (!request_.query.empty()) throw Refusal{400, request_.path + " takes no parameters"};
        const bool looks_up =
            shown_.library.driver_function<decltype(pipe_mgr_get_entry)>("pipe_mgr_get_entry") != nullptr;
        reply_.whole(200, "application/json",
                     std::string(R"({"program":")") + catalog::program.name + R"(","version":")" + VL_PD_VERSION +
                         R"(","device":)" + std::to_string(shown_.target.dev_id) + ",\"pid\":" +
                         std::to_string(getpid()) + R"(,"can":{"lookup":)" + (looks_up ? "true" : "false") + "}}\n");
    }

    void command(Command& run, const Takes& takes, const std::optional<std::string>& name = {}) {
        Query query = query_of(request_, takes);
        query.name = name;
        require_device();
        stream(shown_, query, type_of(query.format), reply_, run);
    }

private:
    // A command on a device that is gone would complain about every table.
    void require_device() const {
        const auto& tables = shown_.pipeline.tables;
        const auto keyed = std::ranges::find_if(tables, [](const Table& table) { return !table.key.empty(); });
        using GetCount = decltype(p4_pd_velmar_switch_ipv4Host_get_entry_count); // of the same type for all tables
        uint32_t count = 0;
        const pd_status status =
            shown_.library.function<GetCount>(keyed->name + "_get_entry_count")(shown_.session, shown_.target, &count);
        if (status != PD_STATUS_OK)
            throw Refusal{503, shown_.library.refusal(keyed->name + ": counting the entries", status)};
    }

    const Switch& shown_;
    const Request& request_;
    Reply& reply_;
};

// The commands on a table, whose paths go on behind its name.
struct TablePath {
    const char* name;
    Command* command;
    Takes takes;
};

constexpr TablePath table_paths[] = {
    {"entries", show_entries, {.hw = true, .values = true, .page = true, .fields = true}},
    {"verify", verify, {}},
    {"lookup", show_match, {.fields = true}},
};

// The commands that are about all, or about what the path names.
struct Path {
    const char* name;
    Command* all; // null if there must be a name
    Command* one; // null if there is none
    Takes takes_of_all;
    Takes takes_of_one;
};

constexpr Path paths[] = {
    {"tables", show_tables, show_table, {}, {}},
    {"entries", show_entries, nullptr, {.hw = true, .values = true}, {}},
    {"profiles", show_profiles, show_profile, {}, {.hw = true}},
    {"counters", show_counters, show_counters, {}, {}},
    {"verify", verify, nullptr, {}, {}},
    {"routes", nullptr, show_route, {}, {.vrf = true}},
};

template <class Row, size_t count>
std::vector<std::string> names_of(const Row (&rows)[count]) {
    std::vector<std::string> names;
    for (const Row& row : rows)
        names.emplace_back(row.name);
    return names;
}

[[noreturn]] void refuse_path(const Request& request, const std::vector<std::string>& names) {
    const std::string& typed = request.parts.back();
    const bool is_known = std::ranges::find(names, typed) != names.end();
    throw Refusal{404, "there is nothing at " + request.path + (is_known ? "" : near_text(typed, names))};
}

void answer_v1(const Request& request, Asked& to) {
    const std::vector<std::string>& parts = request.parts;
    if (parts.size() == 1) return to.about();
    const auto* const path = std::ranges::find(paths, parts[1], &Path::name);
    if (path == std::end(paths)) refuse_path(request, parts.size() == 2 ? names_of(paths) : std::vector<std::string>());
    if (parts.size() == 2 && path->all != nullptr) return to.command(*path->all, path->takes_of_all);
    if (parts.size() == 3 && path->one != nullptr) return to.command(*path->one, path->takes_of_one, parts[2]);
    if (parts.size() != 4 || parts[1] != "tables") refuse_path(request, {});
    const auto* const table_path = std::ranges::find(table_paths, parts[3], &TablePath::name);
    if (table_path == std::end(table_paths)) refuse_path(request, names_of(table_paths));
    to.command(*table_path->command, table_path->takes, parts[2]);
}

void answer_path(const Switch& shown, const Server::Load& load, const Request& request, Reply& reply) {
    const std::vector<std::string>& parts = request.parts;
    if (request.path == "/") return reply.whole(200, "text/html; charset=utf-8", page(), page_headers);
    if (request.path == "/metrics") {
        if (!request.query.empty()) throw Refusal{400, "/metrics takes no parameters"};
        return write_metrics(shown, load, request, reply);
    }
    if (parts[0] != "v1") refuse_path(request, {"metrics", "v1"});
    Asked to(shown, request, reply);
    answer_v1(request, to);
}

int status_of(Fault fault) {
    switch (fault) {
    case Fault::bad_value:
        return 400;
    case Fault::unknown_name:
        return 404;
    case Fault::failed:
        break;
    }
    return 500;
}

} // namespace

void answer(const Switch& shown, const Server::Load& load, const Request& request, Reply& reply) {
    Refusal refusal{500, "the agent has no memory left for this answer"};
    try {
        return answer_path(shown, load, request, reply);
    } catch (const Refusal& refused) {
        refusal = refused;
    } catch (const Problem& problem) {
        if (reply.begun()) throw;
        refusal = {status_of(problem.fault), problem.what()};
    } catch (const std::bad_alloc&) {
        if (reply.begun()) throw; // the answer is cut off
    }
    reply.error(refusal.status, refusal.message);
}

} // namespace console
