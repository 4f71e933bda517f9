// The row types of a program's catalog.
//
// A row says only what the P4 program decides. layout.h derives the rest: key positions, record offsets, byte counts
// and table classes. Rows are constants that the generator, the library and the tests share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace catalog {

// A list inside a row. Its array lives as long as the row.
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

// Whether two names are equal. It stops at the first difference, because each step costs time while compiling.
constexpr bool same(const char* left, const char* right) {
    while (*left != 0 && *left == *right)
        ++left, ++right;
    return *left == *right;
}

enum class Match : uint8_t { exact, ternary, lpm };

// How best to show a value. A tag belongs to one occurrence of a field or parameter, not to its name.
enum class Tag : uint8_t { untagged, mac, v4addr, v6addr, port, vport, dec };

// Whether entries, the default entry, or both may take an action.
enum class Use : uint8_t { entry, entry_or_default, default_only };

// Where a parameter's value goes: into the action data, as an index into the resource slot of the action's table, or
// both. A parameter that is only a slot index leaves its bytes of the action data zero.
enum class Role : uint8_t { data, slot_index, data_and_slot_index };

// A resource has one cell for each entry of its table (direct), or is an array that actions index (indirect).
enum class Addressing : uint8_t { direct, indirect };

// What a register cell holds: a flag, a 32-bit word, or two words.
enum class Cell : uint8_t { flag, word, word_pair };

// The bits of a key field that a table really matches. Texts and comparisons show these bits; a key carries them all.
struct FieldMask {
    uint64_t high = ~uint64_t{0};
    uint64_t low = ~uint64_t{0};

    constexpr FieldMask() = default; // the whole field
    constexpr FieldMask(uint64_t low_bits) : high(0), low(low_bits) {}
    constexpr FieldMask(uint64_t high_bits, uint64_t low_bits) : high(high_bits), low(low_bits) {}
};

struct KeyField {
    const char* name;    // in texts
    const char* pd_name; // in the record
    unsigned bits;
    Match match = Match::exact;
    Tag tag = Tag::untagged;
    FieldMask mask = {};
    unsigned record_bits = 0; // the field's width in the record, if it is wider than in the key
};

struct Param {
    const char* name;
    unsigned bits;
    Tag tag = Tag::untagged;
    Role role = Role::data;
};

// An action name with its parameters. They are the same wherever the name occurs.
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
    bool ttl_on_add = false;             // an add takes the entry's first time-to-live
    bool partitioned = false;            // the first key field names a partition and isn't matched
    List<KeyField> key = {};             // in key order
    List<const char*> record_order = {}; // PD names, if the record has another order than the key
    List<Binding> actions = {};          // in handle order; empty if a profile holds them
};

// A table of shared action instances, with its selector. The entries of one match table point into it.
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
    const char* table = nullptr; // the match table whose actions carry it, if there is one
};

struct Register {
    const char* name;
    uint32_t handle;
    Cell cell;
    const char* table = nullptr;
};

// A slot of a digest entry. Slots are packed in this order; a slot can be wider than its field.
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

// How words describe one key field of a counted table.
enum class Form : uint8_t {
    silent, // not at all
    exact,  // always: the label and the value
    number, // unless the mask is zero: the label, the mask unless it is all ones, and the value
    flag,   // unless bit 0 of the mask is clear: the label, with "!" before it if bit 0 of the value is clear
    mapped, // a word for the masked value, or a number if there is none
    mac,    // a MAC address in two fields, this one and the next
    v4addr,
    v6addr,
    acl_result, // the last three have special rules
    egress_interface,
    multicast_group,
};

struct ValueWord {
    uint32_t value;
    const char* text;
};

struct Piece {
    const char* field;
    Form form;
    const char* label = "";
    // The bits of the value to show. They decide the number of digits. A mask of exactly these bits counts as all ones.
    uint32_t ones = 0;
    List<ValueWord> words = {};
};

// The description of a counted table's key, piece by piece.
struct CounterWords {
    const char* table;
    List<Piece> pieces;
};

// The offsets of the fields of a snapshot record whose byte order is reversed.
struct SnapshotLayout {
    List<uint16_t> two_byte_fields;
    List<uint16_t> four_byte_fields;
};

} // namespace catalog
