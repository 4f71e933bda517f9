// A catalog: all rows of one program, and the look-ups in it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "catalog/row_types.h"

namespace catalog {

// A group of tables in the pipeline. They share a file of rows, a public header and generated sources.
struct Seam {
    const char* name;
    const char* summary;
    Rows<Table> tables;
};

// A stretch of the pipeline, for people: the tables from `first_table` on, in the order of their handles.
struct Stage {
    const char* gress;
    const char* title;
    const char* first_table;
};

struct Catalog {
    const char* name;
    const char* prefix; // of the exported names
    Rows<Action> actions;
    Rows<Seam> seams;
    Rows<Profile> profiles = {};
    Rows<Resource> counters = {};
    Rows<Resource> meters = {};
    Rows<Resource> wred_blocks = {};
    Rows<Register> registers = {};
    Rows<Digest> digests = {};
    Rows<ValueSet> value_sets = {};
    Rows<HashCalculation> hash_calculations = {};
    Rows<CounterWords> counter_words = {};
    Rows<SnapshotLayout> snapshot_layouts = {}; // none, or two: bit 1 of a snapshot's handle is the index
    Rows<Stage> stages = {};
};

// The tables of all seams, one after the other.
class Tables {
public:
    constexpr explicit Tables(Rows<Seam> seams) : seams_(seams) {}

    class Iterator {
    public:
        constexpr Iterator(const Seam* seam, const Seam* end) : seam_(seam), end_(end) {
            skip_empty_seams();
        }
        constexpr const Table& operator*() const {
            return seam_->tables[row_];
        }
        constexpr Iterator& operator++() {
            if (++row_ == seam_->tables.size()) {
                ++seam_;
                row_ = 0;
                skip_empty_seams();
            }
            return *this;
        }
        constexpr bool operator!=(const Iterator& other) const {
            return seam_ != other.seam_ || row_ != other.row_;
        }

    private:
        constexpr void skip_empty_seams() {
            while (seam_ != end_ && seam_->tables.size() == 0)
                ++seam_;
        }

        const Seam* seam_;
        const Seam* end_;
        size_t row_ = 0;
    };

    constexpr Iterator begin() const {
        return {seams_.begin(), seams_.end()};
    }
    constexpr Iterator end() const {
        return {seams_.end(), seams_.end()};
    }
    constexpr size_t size() const {
        size_t count = 0;
        for (const Seam& seam : seams_)
            count += seam.tables.size();
        return count;
    }
    constexpr const Table& operator[](size_t number) const {
        const Seam* seam = seams_.begin();
        for (; number >= seam->tables.size(); ++seam)
            number -= seam->tables.size();
        return seam->tables[number];
    }

private:
    Rows<Seam> seams_;
};

constexpr Tables tables(const Catalog& rows) {
    return Tables(rows.seams);
}

inline constexpr size_t not_found = ~size_t{0};

// The number of the row with this name, or `not_found`. `rows` is a list of rows, or the tables of a catalog.
template <class AnyRows>
constexpr size_t number_of(const AnyRows& rows, const char* name) {
    size_t number = 0;
    for (const auto& row : rows) {
        if (same(row.name, name)) return number;
        ++number;
    }
    return not_found;
}

// The number of the profile that a table's entries point into, or `not_found`. A table with a profile is indirect. The
// result isn't a pointer, because with sanitizers compilers don't accept a pointer comparison as a constant.
constexpr size_t profile_of(const Catalog& rows, const Table& table) {
    size_t number = 0;
    for (const Profile& profile : rows.profiles) {
        if (same(profile.table, table.name)) return number;
        ++number;
    }
    return not_found;
}

// The actions that a table's entries may take, from its own row or from its profile's.
constexpr List<Binding> actions_of(const Catalog& rows, const Table& table) {
    const size_t profile = profile_of(rows, table);
    return profile == not_found ? table.actions : rows.profiles[profile].actions;
}

constexpr const Binding* find_binding(List<Binding> bindings, const char* action) {
    for (const Binding& binding : bindings)
        if (same(binding.action, action)) return &binding;
    return nullptr;
}

// The kind of resource that a table's actions carry in their slot. No table has more than one.
enum class ResourceKind : uint8_t { none, counter, meter, wred_block, stateful_register };

struct AttachedResource {
    ResourceKind kind = ResourceKind::none;
    uint32_t handle = 0;
    Addressing addressing = Addressing::direct;

    constexpr explicit operator bool() const {
        return kind != ResourceKind::none;
    }
};

constexpr AttachedResource resource_of(const Catalog& rows, const Table& table) {
    const auto carries = [&table](const auto& row) { return row.table && same(row.table, table.name); };
    for (const Resource& row : rows.counters)
        if (carries(row)) return {ResourceKind::counter, row.handle, row.addressing};
    for (const Resource& row : rows.meters)
        if (carries(row)) return {ResourceKind::meter, row.handle, row.addressing};
    for (const Resource& row : rows.wred_blocks)
        if (carries(row)) return {ResourceKind::wred_block, row.handle, row.addressing};
    for (const Register& row : rows.registers)
        if (carries(row)) return {ResourceKind::stateful_register, row.handle, Addressing::indirect};
    return {};
}

// The resource that an action's index parameter points into: that of the one table that has the action.
constexpr AttachedResource resource_of(const Catalog& rows, const Action& action) {
    for (const Table& table : tables(rows))
        if (find_binding(table.actions, action.name)) return resource_of(rows, table);
    return {};
}

} // namespace catalog
