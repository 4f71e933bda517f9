// The list of all tables, and the page of one table.
#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "views/values.h"
#include "views/work.h"

namespace pd_views {
namespace {

constexpr size_t line_length = 110;

std::string hex(uint32_t number) {
    char digits[11];
    std::snprintf(digits, sizeof digits, "0x%x", number);
    return digits;
}

std::string filled(std::string text, size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

// "    key       vrfId, dip", on several lines if one is too short.
std::string list_line(const char* title, const std::vector<std::string>& words) {
    const std::string margin(14, ' ');
    std::string text = filled(std::string("    ") + title, margin.size());
    size_t column = text.size();
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string word = words[i] + (i + 1 < words.size() ? ", " : "");
        if (column + word.size() > line_length && column > margin.size()) {
            while (text.back() == ' ')
                text.pop_back();
            text += "\n" + margin;
            column = margin.size();
        }
        text += word;
        column += word.size();
    }
    return text + "\n";
}

const char* match_text(catalog::Match match) {
    constexpr const char* texts[] = {"exact", "mask", "prefix"};
    return texts[static_cast<size_t>(match)];
}

const char* tag_text(catalog::Tag tag) {
    constexpr const char* texts[] = {"hex", "mac", "v4addr", "v6addr", "port", "vport", "dec"};
    return texts[static_cast<size_t>(tag)];
}

std::string counter_text(const catalog::Resource& counter) {
    return std::string(counter.name) + (counter.addressing == catalog::Addressing::direct ? "" : " (cells by index)");
}

std::string entries_text(const Work& work, const Table& table) {
    if (table.key.empty()) return "only a default entry";
    const std::optional<uint32_t> count = count_entries(work, table);
    return count ? std::to_string(*count) : "unknown";
}

using Row = std::vector<std::string>;

// Each column is as wide as its widest cell.
std::string grid(const std::vector<Row>& rows) {
    std::vector<size_t> widths;
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (const Row& row : rows) {
        std::string line = "   ";
        for (size_t i = 0; i < row.size(); ++i)
            line.append(" ").append(filled(row[i], widths[i])).append(" ");
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

// The bits that count, in as many digits as the part has.
std::string covered_text(const Part& part) {
    if (!narrowed(part)) return "all";
    const Bits& covered = part.value.covered;
    const auto digits = static_cast<int>((part.bits + 3) / 4);
    char text[40];
    if (digits > 16)
        std::snprintf(text, sizeof text, "0x%0*" PRIX64 "%016" PRIX64, digits - 16, covered.high, covered.low);
    else
        std::snprintf(text, sizeof text, "0x%0*" PRIx64, digits, covered.low);
    return text;
}

std::string key_grid(const Table& table) {
    std::vector<Row> rows = {{"name", "in records", "bits", "match", "shown as", "bits that count"}};
    for (const Field& field : table.key)
        for (const Part& part : field.parts)
            rows.push_back({part.name, part.pd_name, std::to_string(part.bits), match_text(field.match),
                            tag_text(part.tag), covered_text(part)});
    return grid(rows);
}

std::string action_grid(const Table& table) {
    std::vector<Row> rows = {{"name", "parameter", "bits", "shown as"}};
    for (const Action* action : table.actions) {
        const size_t first = rows.size();
        for (const Field& param : action->params)
            for (const Part& part : param.parts)
                rows.push_back({"", part.name, std::to_string(part.bits), tag_text(part.tag)});
        if (action->params.empty()) rows.emplace_back(1);
        rows[first][0] = action->name;
    }
    return grid(rows);
}

std::string entries_json(const Work& work, const Table& table) {
    const std::optional<uint32_t> count = count_entries(work, table);
    return count ? std::to_string(*count) : "null";
}

std::string quoted(std::string_view text) {
    std::string json;
    put_json_string(json, text);
    return json;
}

// An array of what `json_of` makes of each item.
template <class Items, class Json>
std::string json_list(const Items& items, Json json_of) {
    std::string json = "[";
    for (const auto& item : items)
        json += (json.size() == 1 ? "" : ",") + json_of(item);
    return json + "]";
}

std::string counters_json(const std::vector<const catalog::Resource*>& counters) {
    return json_list(counters, [](const catalog::Resource* counter) {
        const bool is_direct = counter->addressing == catalog::Addressing::direct;
        return R"({"name":")" + std::string(counter->name) + R"(","addressing":")" +
               (is_direct ? "direct" : "indirect") + "\"}";
    });
}

// The first members of a table's object, which lists and pages share.
std::string table_json(const Table& table) {
    std::string json = R"({"name":")" + table.name + R"(","handle":)" + std::to_string(table.handle);
    if (table.stage != nullptr)
        json += std::string(R"(,"gress":")") + table.stage->gress + R"(","stage":)" + quoted(table.stage->title);
    return json + ",\"summary\":" + quoted(table.summary);
}

std::string profile_json(const Table& table) {
    return ",\"profile\":" + (table.profile != nullptr ? quoted(table.profile) : "null");
}

std::string field_json(const Field& field) {
    return R"({"name":")" + field.label + R"(","match":")" + match_text(field.match) + R"(","shown_as":")" +
           tag_text(field.shown_as) + R"(","fields":)" +
           json_list(field.parts,
                     [](const Part& part) {
                         return R"({"name":")" + std::string(part.name) + R"(","pd_name":")" + part.pd_name +
                                R"(","bits":)" + std::to_string(part.bits) + R"(,"matched_bits":)" +
                                (narrowed(part) ? quoted(covered_text(part)) : "null") + "}";
                     }) +
           "}";
}

std::string action_json(const Action* action) {
    return R"({"name":")" + action->name + R"(","params":)" +
           json_list(action->params,
                     [](const Field& param) {
                         return R"({"name":")" + param.label + R"(","shown_as":")" + tag_text(param.shown_as) +
                                R"(","bits":)" + std::to_string(bits_of(param)) + "}";
                     }) +
           "}";
}

void show_tables_in_json(const Work& work) {
    JsonArray array(work.out);
    for (const Table& table : work.pipeline.tables) {
        array.begin();
        work.out.text +=
            table_json(table) + ",\"key\":" +
            json_list(table.key,
                      [](const Field& field) {
                          return R"({"name":")" + field.label + R"(","match":")" + match_text(field.match) + "\"}";
                      }) +
            profile_json(table) +
            ",\"actions\":" + json_list(table.actions, [](const Action* action) { return quoted(action->name); }) +
            ",\"counters\":" + counters_json(table.counters) + ",\"entries\":" + entries_json(work, table) + "}";
    }
    if (!work.pipeline.counters_without_table.empty()) {
        array.begin();
        work.out.text += R"({"name":null,"counters":)" + counters_json(work.pipeline.counters_without_table) + "}";
    }
    array.end(work.complaints);
}

void show_table_in_json(const Work& work, const Table& table) {
    work.out.text += table_json(table) + ",\"priority\":" + (table.has_priority ? "true" : "false") +
                     ",\"partition\":" + (table.partitioned ? "true" : "false") +
                     ",\"key\":" + json_list(table.key, field_json) + profile_json(table) +
                     ",\"actions\":" + json_list(table.actions, action_json) +
                     ",\"counters\":" + counters_json(table.counters) + ",\"entries\":" + entries_json(work, table);
    end_json_object(work.out, work.complaints);
}

} // namespace

bool show_tables(const Work& work) {
    if (work.query.format == Format::json) {
        show_tables_in_json(work);
        return true;
    }
    for (const Table& table : work.pipeline.tables) {
        std::vector<std::string> fields;
        for (const Field& field : table.key)
            fields.push_back(field.label +
                             (field.match == catalog::Match::exact ? "" : std::string("/") + match_text(field.match)));
        if (fields.empty()) fields.emplace_back("none");
        std::vector<std::string> actions;
        for (const Action* action : table.actions)
            actions.push_back(action->name);

        std::string text = hex(table.handle) + "  " + table.name + "\n" + list_line("key", fields);
        if (table.profile != nullptr) text += list_line("profile", {table.profile});
        text += list_line("actions", actions);
        for (const catalog::Resource* counter : table.counters)
            text += list_line("counter", {counter_text(*counter)});
        work.out.put(text + list_line("entries", {entries_text(work, table)}));
    }
    for (const catalog::Resource* counter : work.pipeline.counters_without_table)
        work.out.put("no table\n" + list_line("counter", {counter_text(*counter)}));
    return true;
}

bool show_table(const Work& work) {
    const Table& table = table_named(work.pipeline, *work.query.name);
    if (work.query.format == Format::json) {
        show_table_in_json(work, table);
        return true;
    }
    std::string text = "Table " + table.name + ", " + hex(table.handle) + "\n\n";
    if (table.key.empty())
        text += "No key: the table has a default entry and no other.\n\n";
    else
        text += "Key" + std::string(table.has_priority ? ", with a priority" : "") + "\n" + key_grid(table) + "\n";
    if (table.profile != nullptr)
        text += std::string("Entries point at a member or a group of the profile ") + table.profile + ". Its actions\n";
    else
        text += "Actions\n";
    text += action_grid(table) + "\n";
    for (const catalog::Resource* counter : table.counters)
        text += "Counter   " + counter_text(*counter) + "\n";
    work.out.put(text + "Entries   " + entries_text(work, table) + "\n");
    return true;
}

} // namespace pd_views
