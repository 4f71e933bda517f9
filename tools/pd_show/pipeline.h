// The tables of the pipeline, as their schemas describe them. Schemas don't say which counters and which profile belong
// to a table: that comes from the catalog.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "pd_show/library.h"

namespace pd_show {

// A column of a key or a parameter of an action, and where its digits stand in value strings.
struct Column {
    enum class Role { value, mask, prefix_length };

    std::string name;
    std::string full_name; // as the record has it; of key columns
    unsigned bits = 0;
    std::string tag; // empty if untagged
    Role role = Role::value;
    std::string covered;   // the bits that really count, as a value string would show them
    bool narrowed = false; // whether they are fewer than the column has
    size_t digits = 0;     // hexadecimal
    size_t position = 0;   // of the first digit, from the begin of the values
};

// What people take for one field: a column or several that belong together. The numbers are those of columns.
struct Field {
    enum class Display { hex, dec, mac, v4addr, v6addr };
    static constexpr size_t none = SIZE_MAX;

    std::string label;
    Display display = Display::hex;
    size_t value = none;
    size_t mask = none;
    size_t length = none;
    // The low half of a MAC address; the columns above are those of the high half.
    size_t station = none;
    size_t station_mask = none;
};

// Columns in the order of value strings.
struct Columns {
    std::vector<Column> all;
    std::vector<Field> fields;
    size_t length = 0; // of the values as text
};

struct Action {
    std::string name;
    std::string opening; // of its part of value strings, up to the parameters
    Columns params;
};

struct Counter {
    std::string name;
    bool direct; // a cell for each entry of its table; if not, cells by index
};

struct Table {
    std::string name;
    uint32_t handle = 0;
    bool indirect = false;
    bool has_priority = false;
    Columns key;
    std::vector<Action> actions; // those of the profile, if the table is indirect
    std::string profile;
    std::vector<Counter> counters;
};

struct Pipeline {
    std::vector<Table> tables; // in the order of the pipeline
    std::vector<Counter> counters_without_table;
};

// Throws Problem if a schema isn't what it should be.
Pipeline describe_pipeline(const Library& library);

// Throws Problem, with near names, if there is none.
const Table& table_named(const Pipeline& pipeline, const std::string& name);

} // namespace pd_show
