// Makes tables of the library's schemas, which are Python literals. A table is checked while it is made, so that those
// who read value strings by it needn't look twice.
#include "pd_show/pipeline.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "catalog/rows.h"
#include "pd_show/literal.h"
#include "pd_show/near_names.h"
#include "pd_show/problem.h"

namespace pd_show {
namespace {

constexpr size_t longest_schema = 16384; // far more than the library has

Literal schema_of(const Library& library, uint32_t handle) {
    const auto cli_schema = library.function<decltype(p4_pd_velmar_switch_cli_schema)>("cli_schema");
    std::vector<char> buffer(longest_schema);
    const int length = cli_schema(handle, buffer.data());
    return parse_literal({buffer.data(), static_cast<size_t>(length)});
}

std::string tag_of(const Literal& literal) {
    return literal.kind == Literal::Kind::none ? std::string() : literal.name();
}

// The mask as digits of the column's width, in the letters that value strings have.
std::string padded(std::string digits, size_t width, unsigned bits) {
    digits.insert(0, width - std::min(width, digits.size()), '0');
    if (bits == 128)
        for (char& digit : digits)
            if (digit >= 'a') digit = static_cast<char>(digit - 'a' + 'A');
    return digits;
}

std::string all_ones(size_t width, unsigned bits) {
    constexpr char top[] = {'f', '1', '3', '7'};
    std::string digits(width, bits == 128 ? 'F' : 'f');
    if (bits % 4 != 0) digits.front() = top[bits % 4];
    return digits;
}

Column::Role role_of(const Column& column, const Columns& before) {
    if (before.all.empty()) return Column::Role::value;
    const Column& last = before.all.back();
    if (column.full_name == last.full_name + "_mask") return Column::Role::mask;
    if (column.full_name == last.full_name + "_prefix_length") return Column::Role::prefix_length;
    return Column::Role::value;
}

void append(Columns& columns, Column column) {
    column.digits = (column.bits + 3) / 4;
    column.position = columns.length + 2; // behind "0x"
    columns.length = column.position + column.digits + 1;
    columns.all.push_back(std::move(column));
}

Field::Display display_of(const Column& column) {
    if (column.tag == "mac") return Field::Display::mac;
    if (column.tag == "v4addr") return Field::Display::v4addr;
    if (column.tag == "v6addr") return Field::Display::v6addr;
    return column.tag == "dec" ? Field::Display::dec : Field::Display::hex;
}

// "dmacOui" and "dmacStation" make "dmac", and "oui" and "station" just "mac". Nothing if they don't belong together.
std::string mac_label(const std::string& oui, const std::string& station) {
    if (oui == "oui" && station == "station") return "mac";
    if (!oui.ends_with("Oui")) return {};
    const std::string stem = oui.substr(0, oui.size() - 3);
    return station == stem + "Station" ? stem : std::string();
}

void find_fields(Columns& columns) {
    const auto role = [&](size_t i, Column::Role wanted) {
        return i < columns.all.size() && columns.all[i].role == wanted;
    };
    for (size_t i = 0; i < columns.all.size();) {
        Field field;
        const auto take_mask = [&](size_t& into) {
            if (role(i, Column::Role::mask)) into = i++;
        };
        field.label = columns.all[i].name;
        field.display = display_of(columns.all[i]);
        field.value = i++;
        take_mask(field.mask);
        if (role(i, Column::Role::prefix_length)) field.length = i++;
        if (field.display == Field::Display::mac) {
            const std::string label = role(i, Column::Role::value) && columns.all[i].tag == "mac"
                                          ? mac_label(columns.all[field.value].name, columns.all[i].name)
                                          : std::string();
            if (label.empty()) {
                field.display = Field::Display::hex;
            } else {
                field.label = label;
                field.station = i++;
                take_mask(field.station_mask);
            }
        }
        columns.fields.push_back(std::move(field));
    }
}

// Numbers are shown by way of 32 bits, and addresses have the width that their text has room for.
void check_widths(const Columns& columns) {
    const auto check = [&](size_t number, unsigned least, unsigned most) {
        if (number == Field::none) return;
        const Column& column = columns.all[number];
        if (column.bits < least || column.bits > most)
            throw Problem(exit_failed, "a schema of the library has a column " + column.name + " of " +
                                           std::to_string(column.bits) + " bits, which can't be shown");
    };
    for (const Field& field : columns.fields) {
        const bool is_mac = field.display == Field::Display::mac;
        const bool is_v6addr = field.display == Field::Display::v6addr;
        const unsigned least = is_mac ? 24 : is_v6addr ? 128 : 1;
        const unsigned most = is_mac ? 24 : is_v6addr ? 128 : 32;
        for (const size_t number : {field.value, field.mask, field.station, field.station_mask})
            check(number, least, most);
        check(field.length, 1, 32);
    }
}

Columns key_columns(const Literal& schema) {
    Columns columns;
    for (const Literal& tuple : schema.tuple()) {
        Column column;
        column.name = tuple.at(0).name();
        column.full_name = tuple.at(1).name();
        column.bits = tuple.at(2).number();
        column.tag = tag_of(tuple.at(4));
        column.role = role_of(column, columns);
        const size_t digits = (column.bits + 3) / 4;
        column.covered = padded(tuple.at(3).hex_digits(), digits, column.bits);
        column.narrowed = column.covered != all_ones(digits, column.bits);
        append(columns, std::move(column));
    }
    find_fields(columns);
    check_widths(columns);
    return columns;
}

std::vector<Action> actions_of(const Literal& schema) {
    std::vector<Action> actions;
    for (const Literal& pair : schema.tuple()) {
        Action action;
        action.name = pair.at(0).name();
        action.opening = "('" + action.name + "',(";
        for (const Literal& tuple : pair.at(1).tuple()) {
            Column column;
            column.name = tuple.at(0).name();
            column.tag = tag_of(tuple.at(1));
            column.bits = tuple.at(2).number();
            append(action.params, std::move(column));
        }
        find_fields(action.params);
        check_widths(action.params);
        actions.push_back(std::move(action));
    }
    return actions;
}

Table describe_table(const Library& library, uint32_t handle, const Literal& schema) {
    Table table;
    table.handle = handle;
    table.name = schema.at(0).at(0).name();
    table.indirect = schema.at(0).at(2).at(0).truth();
    table.key = key_columns(schema.at(1));
    for (const Column& column : table.key.all)
        table.has_priority |= column.role == Column::Role::mask;
    if (!table.indirect) table.actions = actions_of(schema.at(2));
    for (const catalog::Profile& profile : catalog::program.profiles) {
        if (table.name != profile.table) continue;
        table.profile = profile.name;
        table.actions = actions_of(schema_of(library, profile.data_table));
    }
    return table;
}

} // namespace

Pipeline describe_pipeline(const Library& library) {
    Pipeline pipeline;
    std::set<uint32_t> handles;
    for (const catalog::Table& row : catalog::tables(catalog::program))
        handles.insert(row.handle);
    for (const uint32_t handle : handles)
        pipeline.tables.push_back(describe_table(library, handle, schema_of(library, handle)));
    for (const catalog::Resource& row : catalog::program.counters) {
        const Counter counter{.name = row.name, .direct = row.addressing == catalog::Addressing::direct};
        std::vector<Counter>* place = &pipeline.counters_without_table;
        for (Table& table : pipeline.tables)
            if (row.table != nullptr && table.name == row.table) place = &table.counters;
        place->push_back(counter);
    }
    return pipeline;
}

const Table& table_named(const Pipeline& pipeline, const std::string& name) {
    std::vector<std::string> names;
    for (const Table& table : pipeline.tables) {
        if (table.name == name) return table;
        names.push_back(table.name);
    }
    throw Problem(exit_bad_usage, "there is no table " + name + near_text(name, names));
}

} // namespace pd_show
