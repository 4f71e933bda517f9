// The row types of the pipeline catalog.
//
// A row says what the P4 program decides and nothing that follows from it: key positions, record offsets, byte counts
// and table classes are derived in layout.h. Rows are constants that the generator, the library and the tests share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace catalog {

// Rows hold their lists in place: the arrays behind them are as static as the rows themselves.
template <class Row>
using List = std::initializer_list<Row>;

// All rows of one kind.
template <class Row>
struct Rows {
    const Row* first = nullptr;
    size_t count = 0;

    constexpr Rows() = default;
    template <size_t n>
    constexpr Rows(const Row (&rows)[n]) : first(rows),
                                           count(n) {}

    constexpr const Row* begin() const {
        return first;
    }
    constexpr const Row* end() const {
        return first + count;
    }
    constexpr size_t size() const {
        return count;
    }
    constexpr const Row& operator[](size_t position) const {
        return first[position];
    }
};

// Names are compared far more often than they are equal, and while compiling, where each step counts.
constexpr bool same(const char* left, const char* right) {
    while (*left != 0 && *left == *right)
        ++left, ++right;
    return *left == *right;
}

enum class Match : uint8_t { exact, ternary, lpm };

// How a value is best shown. A tag belongs to the occurrence of a field or parameter, not to its name.
enum class Tag : uint8_t { untagged, mac, v4addr, v6addr, port, vport, dec };

// Whether an action may be taken by entries, by the default entry, or by both.
enum class Use : uint8_t { entry, entry_or_default, default_only };

// Where a parameter's value travels: in the action data, or as the index of the resource slot of the action's table.
// An index that isn't data as well leaves its bytes in the action data zero.
enum class Role : uint8_t { data, slot_index, data_and_slot_index };

// A resource has one cell for each entry of its table (direct), or is an array that actions address by index.
enum class Addressing : uint8_t { direct, indirect };

// What a register cell holds: a flag, a 32-bit word, or two of them.
enum class Cell : uint8_t { flag, word, word_pair };

// The bits of a key field that a table really matches. Readers look through it; a key always carries the whole field.
struct FieldMask {
    uint64_t high = ~uint64_t{0};
    uint64_t low = ~uint64_t{0};

    constexpr FieldMask() = default; // the whole field
    constexpr FieldMask(uint64_t low_bits) : high(0), low(low_bits) {}
    constexpr FieldMask(uint64_t high_bits, uint64_t low_bits) : high(high_bits), low(low_bits) {}
};

struct KeyField {
    const char* name;    // as texts show it
    const char* pd_name; // as the record has it
    unsigned bits;
    Match match = Match::exact;
    Tag tag = Tag::untagged;
    FieldMask mask = {};
};

struct Param {
    const char* name;
    unsigned bits;
    Tag tag = Tag::untagged;
    Role role = Role::data;
};

// An action name with its parameters, which are the same wherever the name occurs.
struct Action {
    const char* name;
    List<Param> params = {};
};

// One action in one table or action profile.
struct Binding {
    const char* action;
    uint32_t handle;
    Use use = Use::entry;
    uint32_t constant_index = 0; // of the table's indirect resource; 0 for none
};

struct Table {
    const char* name;
    uint32_t handle;
    const char* summary;
    bool idle_time = false;
    bool ttl_on_add = false;             // an entry's first time-to-live comes with its add
    bool partitioned = false;            // the first key field names a partition and isn't matched
    List<KeyField> key = {};             // in key order
    List<const char*> record_order = {}; // PD names, where the record has them in another order than the key
    List<Binding> actions = {};          // in handle order; empty where a profile holds them
};

// A table of shared action instances with its selector; the entries of one match table point into it.
struct Profile {
    const char* name;
    uint32_t data_table;
    uint32_t selector;
    const char* table;
    List<Binding> actions;
};

// A counter, meter or WRED block.
struct Resource {
    const char* name;
    uint32_t handle;
    Addressing addressing;
    const char* table = nullptr; // the match table whose actions carry it, if any does
};

struct Register {
    const char* name;
    uint32_t handle;
    Cell cell;
    const char* table = nullptr;
};

// Slots of one digest entry, packed in this order. A slot can be wider than its field.
struct DigestField {
    const char* pd_name;
    unsigned bytes;
};

struct Digest {
    const char* name;
    uint32_t handle;
    List<DigestField> fields;
};

struct ValueSet {
    const char* name;
    uint32_t id;
};

struct HashCalculation {
    const char* name;
    uint32_t handle;
    uint32_t input;
    uint32_t algorithm;
};

} // namespace catalog
