// The list of all tables, and the page of one table.
#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "pd_show/work.h"

namespace pd_show {
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

} // namespace

bool show_tables(const Work& work) {
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
    const Table& table = table_named(work.pipeline, *work.arguments.name);
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

} // namespace pd_show
