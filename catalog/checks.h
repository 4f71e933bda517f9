// The rules that a catalog keeps. A row that breaks one doesn't compile, and the compiler's message names row and rule.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include "catalog/catalog.h"
#include "catalog/handle_spaces.h"
#include "catalog/layout.h"

namespace catalog {

// A broken rule. It is a template argument of Sound, so that the compiler prints both texts.
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

// How many rows there are, counted from the rows themselves.
struct Totals {
    size_t tables = 0;
    size_t keyless = 0;
    size_t exact = 0;
    size_t masked = 0;
    size_t prefix = 0;
    size_t indirect = 0;
    size_t record_orders = 0;
    size_t key_fields = 0;
    size_t mask_partners = 0;
    size_t bindings = 0;
    size_t entry_bindings = 0;
    size_t default_bindings = 0;
    size_t actions = 0;
    size_t actions_with_params = 0;
    size_t params = 0;

    friend bool operator==(const Totals&, const Totals&) = default;
};

constexpr Totals totals(const Catalog& rows) {
    Totals sum;
    for (const Seam& seam : rows.seams)
        for (const Table& table : seam.tables) {
            const KeyShape shape = key_shape(table);
            ++sum.tables;
            sum.keyless += shape == KeyShape::keyless;
            sum.exact += shape == KeyShape::exact;
            sum.masked += shape == KeyShape::masked;
            sum.prefix += shape == KeyShape::prefix;
            sum.indirect += profile_of(rows, table) != nullptr;
            sum.record_orders += table.record_order.size() != 0;
            sum.key_fields += table.key.size();
            for (const KeyField& field : table.key)
                sum.mask_partners += field.match == Match::ternary;
            sum.bindings += table.actions.size();
            for (const Binding& binding : table.actions) {
                sum.entry_bindings += for_entries(binding);
                sum.default_bindings += for_default(binding);
            }
        }
    for (const Profile& profile : rows.profiles)
        sum.bindings += profile.actions.size();
    for (const Action& action : rows.actions) {
        ++sum.actions;
        sum.actions_with_params += action.params.size() != 0;
        sum.params += action.params.size();
    }
    return sum;
}

constexpr Fault key_fault(const Table& table) {
    const auto wrong = [&table](std::string_view rule) { return fault(table.name, rule); };
    if (table.key.size() > max_key_fields) return wrong("a key has at most max_key_fields fields");
    size_t position = 0;
    for (const KeyField& field : table.key) {
        ++position;
        if (field.bits == 0 || (field.bits > 32 && field.bits != 128)) return wrong("a field has 1 to 32 or 128 bits");
        if (field.match == Match::lpm && position != table.key.size()) return wrong("a prefix field is the last one");
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
    if (profile_of(rows, table)) {
        if (keyless) return wrong("an indirect table has a key");
        if (table.actions.size() != 0) return wrong("the actions of an indirect table stand in its profile");
        return {};
    }
    if (table.actions.size() == 0) return wrong("a direct table has actions");
    for (const Binding& binding : table.actions) {
        const size_t number = action_number(rows, binding.action);
        if (number == no_action) return fault(binding.action, "a binding names an action row");
        if (keyless != (binding.use == Use::default_only))
            return wrong("only and all keyless tables have a mere default");
        if (binding.constant_index != 0 && (!resource || resource.addressing == direct))
            return wrong("a constant index needs an indirect resource");
        for (const Param& param : rows.actions[number].params)
            if (takes_slot_index(param) && (!resource || resource.addressing == direct))
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
    for (const Seam& seam : rows.seams)
        for (const Table& table : seam.tables)
            bound += find_binding(table.actions, action.name) != nullptr;
    if (indices > 1 || (indices == 1 && bound != 1)) return wrong("an index parameter belongs to one table's resource");
    for (const Profile& profile : rows.profiles)
        bound += find_binding(profile.actions, action.name) != nullptr;
    if (bound == 0) return wrong("a table or profile has the action");
    size_t times = 0;
    for (const Action& other : rows.actions)
        times += same(other.name, action.name);
    if (times != 1) return wrong("an action has one row");
    return {};
}

// Handles of one space: each in range, none twice.
template <class Row>
constexpr Fault handle_fault(Rows<Row> space, HandleSpace range, uint32_t Row::*handle) {
    for (const Row& row : space) {
        if (!range.holds(row.*handle)) return fault(row.name, "a handle lies in its space");
        size_t times = 0;
        for (const Row& other : space)
            times += other.*handle == row.*handle;
        if (times != 1) return fault(row.name, "a handle names one row");
    }
    return {};
}

constexpr Fault table_and_binding_handle_fault(const Catalog& rows) {
    // Marks on a board as large as the space find a handle that stands twice.
    bool tables[table_handles.last - table_handles.first + 1]{};
    bool bindings[binding_handles.last - binding_handles.first + 1]{};
    const auto check = [&bindings](const Binding& binding) {
        if (!binding_handles.holds(binding.handle)) return false;
        bool& mark = bindings[binding.handle - binding_handles.first];
        return !std::exchange(mark, true);
    };
    for (const Seam& seam : rows.seams)
        for (const Table& table : seam.tables) {
            if (!table_handles.holds(table.handle) || std::exchange(tables[table.handle - table_handles.first], true))
                return fault(table.name, "a table handle lies in its space and names one table");
            for (const Binding& binding : table.actions)
                if (!check(binding))
                    return fault(table.name, "an action handle lies in its space and names one action");
        }
    for (const Profile& profile : rows.profiles)
        for (const Binding& binding : profile.actions)
            if (!check(binding)) return fault(profile.name, "an action handle lies in its space and names one action");
    return {};
}

// A PD field has one width wherever it occurs.
constexpr Fault field_width_fault(const Catalog& rows, const Table& table) {
    for (const KeyField& field : table.key)
        for (const Seam& other_seam : rows.seams)
            for (const Table& other : other_seam.tables)
                for (const KeyField& twin : other.key)
                    if (twin.bits != field.bits && same(twin.pd_name, field.pd_name))
                        return fault(field.pd_name, "a field has one width wherever it occurs");
    return {};
}

// Rows that name a table: it exists, and no two resources share it.
constexpr Fault reference_fault(const Catalog& rows) {
    const auto known = [&rows](const char* name) {
        for (const Seam& seam : rows.seams)
            for (const Table& table : seam.tables)
                if (same(table.name, name)) return true;
        return false;
    };
    const auto users = [&rows](const char* name) {
        size_t sum = 0;
        const auto count = [&](const auto& space) {
            for (const auto& row : space)
                sum += row.table && same(row.table, name);
        };
        count(rows.counters), count(rows.meters), count(rows.wred_blocks), count(rows.registers);
        return sum;
    };
    Fault first;
    const auto check = [&](const auto& space) {
        for (const auto& row : space)
            if (!first.found() && row.table && (!known(row.table) || users(row.table) != 1))
                first = fault(row.name, "a resource belongs to one existing table, and a table has one resource");
    };
    check(rows.counters), check(rows.meters), check(rows.wred_blocks), check(rows.registers);
    for (const Profile& profile : rows.profiles) {
        if (!known(profile.table)) return fault(profile.name, "a profile names an existing table");
        for (const Binding& binding : profile.actions)
            if (action_number(rows, binding.action) == no_action)
                return fault(binding.action, "a binding names an action row");
    }
    return first;
}

constexpr size_t table_count(const Catalog& rows) {
    size_t count = 0;
    for (const Seam& seam : rows.seams)
        count += seam.tables.size();
    return count;
}

// The first rule that a table, an action, or handles and references break. Each of these is a constant of its own, row
// by row, because a compiler limits how much it computes for one constant.
constexpr Fault table_fault(const Catalog& rows, size_t number) {
    const Seam* seam = rows.seams.begin();
    for (; number >= seam->tables.size(); ++seam)
        number -= seam->tables.size();
    const Table& table = seam->tables[number];
    for (const Fault& found : {key_fault(table), action_list_fault(rows, table), field_width_fault(rows, table)})
        if (found.found()) return found;
    return {};
}

constexpr Fault action_fault(const Catalog& rows, size_t number) {
    return action_fault(rows, rows.actions[number]);
}

constexpr Fault reference_and_handle_fault(const Catalog& rows) {
    for (const Fault& found : {
             table_and_binding_handle_fault(rows),
             reference_fault(rows),
             handle_fault(rows.profiles, data_table_handles, &Profile::data_table),
             handle_fault(rows.profiles, selector_handles, &Profile::selector),
             handle_fault(rows.counters, counter_handles, &Resource::handle),
             handle_fault(rows.meters, meter_handles, &Resource::handle),
             handle_fault(rows.wred_blocks, meter_handles, &Resource::handle),
             handle_fault(rows.registers, register_handles, &Register::handle),
             handle_fault(rows.digests, digest_handles, &Digest::handle),
             handle_fault(rows.value_sets, value_set_ids, &ValueSet::id),
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
    static_assert(!found.found(), "a row breaks a rule of the catalog; the message names both");
    static constexpr bool value = true;
};

} // namespace catalog
