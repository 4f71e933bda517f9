// The list of all tables, and the page of one.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "pd_show/commands.h"
#include "pd_show/walk.h"

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

// "    key       vrfId, dip", over several lines if need be.
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

std::string match_text(const Field& field) {
    return field.mask != Field::none ? "mask" : field.length != Field::none ? "prefix" : "exact";
}

std::vector<std::string> key_words(const Table& table) {
    std::vector<std::string> words;
    for (const Field& field : table.key.fields) {
        const std::string match = match_text(field);
        words.push_back(field.label + (match == "exact" ? "" : "/" + match));
    }
    return words.empty() ? std::vector<std::string>{"none"} : words;
}

std::vector<std::string> action_words(const Table& table) {
    std::vector<std::string> words;
    for (const Action& action : table.actions)
        words.push_back(action.name);
    return words;
}

// The counter's name, and what has a cell of it.
std::string counter_text(const Counter& counter) {
    return counter.name + (counter.direct ? "" : " (cells by index)");
}

std::string entries_text(const Work& work, const Table& table) {
    if (table.key.all.empty()) return "only a default entry";
    const std::optional<uint32_t> count = Walk(work.place, work.complaints).count(table);
    return count ? std::to_string(*count) : "unknown";
}

using Row = std::vector<std::string>;

// Columns as wide as what is in them.
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

std::string key_grid(const Table& table) {
    std::vector<Row> rows = {{"name", "in records", "bits", "match", "shown as", "bits that count"}};
    for (const Field& field : table.key.fields) {
        for (const size_t value : {field.value, field.station}) {
            if (value == Field::none) continue;
            const Column& column = table.key.all[value];
            rows.push_back({column.name, column.full_name, std::to_string(column.bits), match_text(field),
                            column.tag.empty() ? "hex" : column.tag, column.narrowed ? "0x" + column.covered : "all"});
        }
    }
    return grid(rows);
}

std::string action_grid(const Table& table) {
    std::vector<Row> rows = {{"name", "parameter", "bits", "shown as"}};
    for (const Action& action : table.actions) {
        std::string name = action.name;
        for (const Column& param : action.params.all) {
            rows.push_back({name, param.name, std::to_string(param.bits), param.tag.empty() ? "hex" : param.tag});
            name.clear();
        }
        if (action.params.all.empty()) rows.push_back({name});
    }
    return grid(rows);
}

} // namespace

void show_tables(const Work& work) {
    for (const Table& table : work.pipeline.tables) {
        std::string text = hex(table.handle) + "  " + table.name + "\n";
        text += list_line("key", key_words(table));
        if (table.indirect) text += list_line("profile", {table.profile});
        text += list_line("actions", action_words(table));
        for (const Counter& counter : table.counters)
            text += list_line("counter", {counter_text(counter)});
        text += list_line("entries", {entries_text(work, table)});
        work.out.put(text);
    }
    for (const Counter& counter : work.pipeline.counters_without_table)
        work.out.put("no table\n" + list_line("counter", {counter_text(counter)}));
}

void show_table(const Work& work) {
    const Table& table = table_named(work.pipeline, *work.arguments.name);
    std::string text = "Table " + table.name + ", " + hex(table.handle) + "\n\n";
    if (table.key.all.empty())
        text += "No key: the table has a default entry and no other.\n\n";
    else
        text += "Key" + std::string(table.has_priority ? ", with a priority" : "") + "\n" + key_grid(table) + "\n";
    if (table.indirect)
        text += "Entries point at a member or a group of the profile " + table.profile + ". Its actions\n";
    else
        text += "Actions\n";
    text += action_grid(table) + "\n";
    for (const Counter& counter : table.counters)
        text += "Counter   " + counter_text(counter) + "\n";
    text += "Entries   " + entries_text(work, table) + "\n";
    work.out.put(text);
}

} // namespace pd_show
