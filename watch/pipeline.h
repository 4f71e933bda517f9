// The tables of the pipeline with the driver's handles and records, made from the catalog's rows.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "catalog/layout.h"
#include "catalog/rows.h"

namespace pd_watch {

// A key field or a parameter in the driver's bytes.
struct Part {
    const char* name;
    unsigned position;
    unsigned bytes;
    unsigned bits;
    uint64_t covered_high; // the bits that count
    uint64_t covered_low;
    bool is_slot_index = false; // a parameter that is in the slot, not among the bytes
};

// What people see as one field: a part, or the two halves of a MAC address.
struct Field {
    std::string label;
    std::string json; // the label as the name of a JSON member, with the colon
    catalog::Tag tag;
    catalog::Match match;
    std::vector<Part> parts;
};

struct Action {
    const char* name;
    std::vector<Field> params;
    unsigned data_bytes;
    bool for_entries;
    bool for_default;
};

// What a handle stands for.
enum class Thing : uint8_t {
    match_table,
    data_table,
    selector,
    counter,
    meter,
    wred_block,
    stateful_register,
    digest,
    value_set,
    hash_calculation
};

struct Table {
    Thing thing;
    const char* name; // of a data table or selector: the profile's
    uint32_t handle = 0;
    catalog::KeyShape shape = catalog::KeyShape::keyless;
    bool partitioned = false;
    unsigned key_bytes = 0;
    std::vector<Field> key;
    std::unordered_map<uint32_t, Action> actions; // by handle; of an indirect table: those of its profile
    uint32_t data_table = 0;                      // of a match table with a profile, and of the profile's two tables
    uint32_t selector = 0;
    uint32_t match_table = 0; // of the profile's two tables
    catalog::AttachedResource resource = {};

    bool has_priority() const {
        return shape == catalog::KeyShape::masked;
    }
    const Action* action(uint32_t action_handle) const {
        const auto found = actions.find(action_handle);
        return found == actions.end() ? nullptr : &found->second;
    }
};

class Pipeline {
public:
    Pipeline();

    // Null if no row has the handle. Value sets have ids of their own.
    const Table* table(uint32_t handle) const {
        const auto found = tables_.find(handle);
        return found == tables_.end() ? nullptr : &found->second;
    }
    const Table* table_named(const std::string& name) const;
    const std::unordered_map<uint32_t, Table>& tables() const {
        return tables_;
    }

private:
    std::unordered_map<uint32_t, Table> tables_;
};

} // namespace pd_watch
