// The rules for every catalog. A row that breaks a rule doesn't compile; the message names the row and the rule.
#pragma once

#include <cstdint>
#include <string_view>

#include "catalog/catalog.h"
#include "catalog/handle_spaces.h"
#include "catalog/layout.h"

namespace catalog {

// A row that breaks a rule. A fault is a template argument of Sound; therefore the compiler prints both texts.
struct Fault {
    char row[64]{};
    char rule[96]{};

    constexpr bool found() const {
        return row[0] != 0;
    }
};

constexpr Fault fault(std::string_view row, std::string_view rule) {
    Fault made;
    for (size_t i = 0; i < row.size() && i + 1 < sizeof made.row; ++i)
        made.row[i] = row[i];
    for (size_t i = 0; i < rule.size() && i + 1 < sizeof made.rule; ++i)
        made.rule[i] = rule[i];
    return made;
}

constexpr Fault key_fault(const Table& table) {
    const auto wrong = [&table](std::string_view rule) { return fault(table.name, rule); };
    if (table.key.size() > max_key_fields) return wrong("a key has at most max_key_fields fields");
    size_t position = 0;
    for (const KeyField& field : table.key) {
        ++position;
        if (field.bits == 0 || (field.bits > 32 && field.bits != 128)) return wrong("a field has 1 to 32 or 128 bits");
        if (field.match == Match::lpm && position != table.key.size()) return wrong("a prefix field is the last field");
        size_t times = 0;
        for (const KeyField& other : table.key)
            times += same(other.pd_name, field.pd_name);
        if (times != 1) return wrong("a key names each field once");
        if (field.bits < 64 && field.mask.high == 0 && field.mask.low >> field.bits != 0)
            return wrong("a field mask lies within its field");
    }
    if (has_match(table, Match::lpm) && has_match(table, Match::ternary))
        return wrong("a key has masks or a prefix length, not both");
    if (table.partitioned && (!has_match(table, Match::lpm) || table.key.begin()->bits != 16))
        return wrong("a partition is the 16-bit first field of a prefix table");
    if (table.record_order.size() != 0) {
        if (table.record_order.size() != table.key.size()) return wrong("the record order names every key field once");
        for (const KeyField& field : table.key) {
            size_t times = 0;
            for (const char* name : table.record_order)
                times += same(name, field.pd_name);
            if (times != 1) return wrong("the record order names every key field once");
        }
    }
    return {};
}

constexpr Fault action_list_fault(const Catalog& rows, const Table& table) {
    const auto wrong = [&table](std::string_view rule) { return fault(table.name, rule); };
    const bool keyless = key_shape(table) == KeyShape::keyless;
    const AttachedResource resource = resource_of(rows, table);
    if (profile_of(rows, table) != not_found) {
        if (keyless) return wrong("an indirect table has a key");
        if (table.actions.size() != 0) return wrong("the actions of an indirect table are in its profile");
        return {};
    }
    if (table.actions.size() == 0) return wrong("a direct table has actions");
    for (const Binding& binding : table.actions) {
        const size_t number = number_of(rows.actions, binding.action);
        if (number == not_found) return fault(binding.action, "a binding names an action row");
        if (keyless != (binding.use == Use::default_only))
            return wrong("an action is default_only exactly if its table has no key");
        if (binding.constant_index != 0 && (!resource || resource.addressing == Addressing::direct))
            return wrong("a constant index needs an indirect resource");
        for (const Param& param : rows.actions[number].params)
            if (takes_slot_index(param) && (!resource || resource.addressing == Addressing::direct))
                return wrong("an index parameter needs an indirect resource");
    }
    return {};
}

constexpr Fault action_fault(const Catalog& rows, const Action& action) {
    const auto wrong = [&action](std::string_view rule) { return fault(action.name, rule); };
    if (action.params.size() > max_params) return wrong("an action has at most max_params parameters");
    size_t indices = 0;
    for (const Param& param : action.params) {
        if (param.bits == 0 || param.bits > 32) return wrong("a parameter has 1 to 32 bits");
        indices += takes_slot_index(param);
    }
    size_t bound = 0;
    for (const Table& table : tables(rows))
        bound += find_binding(table.actions, action.name) != nullptr;
    if (indices > 1 || (indices == 1 && bound != 1))
        return wrong("an action has at most one index parameter, and then belongs to one table");
    for (const Profile& profile : rows.profiles)
        bound += find_binding(profile.actions, action.name) != nullptr;
    if (bound == 0) return wrong("an action belongs to a table or profile");
    size_t times = 0;
    for (const Action& other : rows.actions)
        times += same(other.name, action.name);
    if (times != 1) return wrong("an action has one row");
    return {};
}

// The handles of one kind of row: each lies in its space, and none occurs twice.
template <class AnyRows, class Row>
constexpr Fault handle_fault(const AnyRows& rows, HandleSpace space, uint32_t Row::*handle) {
    for (const Row& row : rows) {
        if (!space.holds(row.*handle)) return fault(row.name, "a handle lies in its space");
        size_t times = 0;
        for (const Row& other : rows)
            times += other.*handle == row.*handle;
        if (times != 1) return fault(row.name, "a handle names one row");
    }
    return {};
}

constexpr Fault binding_handle_fault(const Catalog& rows, const char* owner, List<Binding> bindings) {
    for (const Binding& binding : bindings) {
        if (!binding_handles.holds(binding.handle)) return fault(owner, "an action handle lies in its space");
        size_t times = 0;
        const auto count = [&](List<Binding> others) {
            for (const Binding& other : others)
                times += other.handle == binding.handle;
        };
        for (const Table& table : tables(rows))
            count(table.actions);
        for (const Profile& profile : rows.profiles)
            count(profile.actions);
        if (times != 1) return fault(owner, "an action handle names one action of one table or profile");
    }
    return {};
}

// A PD field has one width wherever it occurs.
constexpr Fault field_width_fault(const Catalog& rows, const Table& table) {
    for (const KeyField& field : table.key)
        for (const Table& other : tables(rows))
            for (const KeyField& twin : other.key)
                if ((twin.bits != field.bits || twin.record_bits != field.record_bits) &&
                    same(twin.pd_name, field.pd_name))
                    return fault(field.pd_name, "a field has one width wherever it occurs");
    return {};
}

// Each resource belongs to an existing table, and a table has at most one resource.
constexpr Fault resource_fault(const Catalog& rows) {
    Fault first;
    const auto each = [&rows](auto visit) {
        visit(rows.counters), visit(rows.meters), visit(rows.wred_blocks), visit(rows.registers);
    };
    each([&](const auto& resources) {
        for (const auto& row : resources) {
            if (row.table == nullptr) continue;
            size_t users = 0;
            each([&](const auto& others) {
                for (const auto& other : others)
                    users += other.table != nullptr && same(other.table, row.table);
            });
            if (number_of(tables(rows), row.table) == not_found || users != 1)
                first = fault(row.name, "a resource belongs to one existing table, and a table has one resource");
        }
    });
    return first;
}

constexpr Fault profile_fault(const Catalog& rows) {
    for (const Profile& profile : rows.profiles) {
        if (number_of(tables(rows), profile.table) == not_found)
            return fault(profile.name, "a profile names an existing table");
        for (const Binding& binding : profile.actions)
            if (number_of(rows.actions, binding.action) == not_found)
                return fault(binding.action, "a binding names an action row");
        if (const Fault found = binding_handle_fault(rows, profile.name, profile.actions); found.found()) return found;
    }
    return {};
}

// A table whose entries are counted has words: one piece for each key field, in key order. A MAC address is two fields.
constexpr Fault counter_words_fault(const Catalog& rows) {
    for (const Resource& counter : rows.counters) {
        if (counter.addressing != Addressing::direct || counter.table == nullptr) continue;
        const CounterWords* words = nullptr;
        for (const CounterWords& each : rows.counter_words)
            if (same(each.table, counter.table)) words = &each;
        if (words == nullptr) return fault(counter.table, "a counted table has words");
        const Table& table = tables(rows)[number_of(tables(rows), counter.table)];
        size_t field = 0;
        for (const Piece& piece : words->pieces) {
            if (field >= table.key.size() || !same(table.key.begin()[field].pd_name, piece.field))
                return fault(piece.field, "the words of a counted table follow its key fields");
            field += piece.form == Form::mac ? 2 : 1;
        }
        if (field != table.key.size())
            return fault(counter.table, "the words of a counted table follow its key fields");
    }
    return {};
}

// Bit 1 of a snapshot's handle chooses between two layouts.
constexpr Fault snapshot_fault(const Catalog& rows) {
    if (rows.snapshot_layouts.size() != 0 && rows.snapshot_layouts.size() != 2)
        return fault(rows.name, "a program has two snapshot layouts or none");
    return {};
}

// Stages follow each other in the order of their first tables.
constexpr Fault stage_fault(const Catalog& rows) {
    uint32_t last = 0;
    for (const Stage& stage : rows.stages) {
        const size_t number = number_of(tables(rows), stage.first_table);
        if (number == not_found) return fault(stage.title, "a stage begins with a table");
        const uint32_t handle = tables(rows)[number].handle;
        if (handle <= last) return fault(stage.title, "stages are in the order of their handles");
        last = handle;
    }
    return {};
}

// The first rule that a table, an action, or the other rows break. Each table and each action has its own constant,
// because compilers limit how much they compute for one constant.
constexpr Fault table_fault(const Catalog& rows, size_t number) {
    const Table& table = tables(rows)[number];
    for (const Fault& found : {key_fault(table), action_list_fault(rows, table), field_width_fault(rows, table),
                               binding_handle_fault(rows, table.name, table.actions)})
        if (found.found()) return found;
    return {};
}

constexpr Fault action_fault(const Catalog& rows, size_t number) {
    return action_fault(rows, rows.actions[number]);
}

constexpr Fault reference_and_handle_fault(const Catalog& rows) {
    for (const Fault& found : {
             resource_fault(rows),
             profile_fault(rows),
             counter_words_fault(rows),
             snapshot_fault(rows),
             stage_fault(rows),
             handle_fault(tables(rows), table_handles, &Table::handle),
             handle_fault(rows.profiles, data_table_handles, &Profile::data_table),
             handle_fault(rows.profiles, selector_handles, &Profile::selector),
             handle_fault(rows.counters, counter_handles, &Resource::handle),
             handle_fault(rows.meters, meter_handles, &Resource::handle),
             handle_fault(rows.wred_blocks, meter_handles, &Resource::handle),
             handle_fault(rows.registers, register_handles, &Register::handle),
             handle_fault(rows.digests, digest_handles, &Digest::handle),
             handle_fault(rows.hash_calculations, hash_handles, &HashCalculation::handle),
             handle_fault(rows.hash_calculations, hash_input_handles, &HashCalculation::input),
         })
        if (found.found()) return found;
    for (const HashCalculation& row : rows.hash_calculations)
        if (!hash_algorithm_handles.holds(row.algorithm)) return fault(row.name, "a handle lies in its space");
    return {};
}

template <Fault found>
struct Sound {
    static_assert(!found.found(), "a row breaks a rule of the catalog; the message names the row and the rule");
    static constexpr bool value = true;
};

} // namespace catalog
