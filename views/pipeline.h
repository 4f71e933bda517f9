// The tables of the pipeline as people see them, made from the catalog's rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "catalog/rows.h"
#include "views/library.h"

namespace pd_views {

// A number of at most 128 bits.
struct Bits {
    uint64_t high = 0;
    uint64_t low = 0;

    friend bool operator==(const Bits&, const Bits&) = default;
    friend Bits operator&(const Bits& left, const Bits& right) {
        return {left.high & right.high, left.low & right.low};
    }
};

// The place of a number in a record.
struct Place {
    unsigned offset = 0;
    unsigned bytes = 0;
    Bits covered; // the bits that count
};

// The number as value strings show it: without the bits that don't count. A 128-bit number keeps them.
Bits load(const uint8_t* record, const Place& place);

// A key field or a parameter of the catalog.
struct Part {
    const char* name;
    const char* pd_name; // the name in records; null for a parameter
    unsigned bits;
    catalog::Tag tag;
    Place value;
    Place partner;             // the mask or the prefix length, if the field has one
    unsigned key_position = 0; // in the key's bytes, where a field has whole bytes; 0 for a parameter
};

// What people see as one field: a part, or the two halves of a MAC address.
struct Field {
    std::string label;
    catalog::Tag shown_as; // mac only if there are two halves
    catalog::Match match;
    std::vector<Part> parts;
};

// Whether fewer bits count than the part has.
bool narrowed(const Part& part);

struct Action {
    std::string name;
    std::vector<Field> params;
};

// An exported function called with words. On x86-64 integers and pointers are passed in the same way, and a function
// ignores the words after its last argument.
using WordFunction = pd_status(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t,
                               uint64_t, uint64_t);

struct Table {
    std::string name;
    uint32_t handle;
    const char* summary;
    const catalog::Stage* stage;
    bool has_priority;
    bool partitioned; // the first field of the key names the partition
    unsigned key_bytes;
    std::vector<Field> key;
    const char* profile;                // null if the entries themselves have actions
    std::vector<const Action*> actions; // of the table or of its profile, sorted by name
    std::vector<const catalog::Resource*> counters;
    WordFunction* get_entry;
};

struct Profile {
    std::string name;
    std::string table;
    std::vector<const Action*> actions;
};

struct Pipeline {
    std::vector<Action> actions; // as the catalog numbers them
    std::vector<Table> tables;   // in the order of the pipeline
    std::vector<Profile> profiles;
    std::vector<const catalog::Resource*> counters_without_table;
};

Pipeline describe_pipeline(const Library& library);

// These throw a Problem with near names if there is none.
const Table& table_named(const Pipeline& pipeline, const std::string& name);
const Profile& profile_named(const Pipeline& pipeline, const std::string& name);

} // namespace pd_views
