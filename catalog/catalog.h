// The whole catalog of the pipeline, and how rows are found in it.
//
// `velmar_switch` gathers the rows. Functions that need more than one row take the catalog as an argument, so that the
// generator and the checks work on any catalog; the library's templates take a row of velmar_switch as an argument.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "catalog/actions.h"
#include "catalog/hash_calculations.h"
#include "catalog/notifications.h"
#include "catalog/profiles.h"
#include "catalog/resources.h"
#include "catalog/row_types.h"
#include "catalog/tables/acl.h"
#include "catalog/tables/egress_rewrite.h"
#include "catalog/tables/ingress_classification.h"
#include "catalog/tables/layer2.h"
#include "catalog/tables/layer3.h"
#include "catalog/tables/mirror_cpu.h"
#include "catalog/tables/qos_telemetry.h"

namespace catalog {

// Tables that belong together in the pipeline. They share a file of rows, a public header and generated sources.
struct Seam {
    const char* name;
    const char* summary;
    Rows<Table> tables;
};

struct Catalog {
    const char* program;
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
};

inline constexpr Seam seams[] = {
    {"ingress_classification", "The head of ingress: from the port to layer-2 domain, VRF and tunnel state.",
     ingress_classification},
    {"layer2", "Layer 2: learning, look-up, the miss, pruning and remapping.", layer2},
    {"layer3", "Layer 3: routes, next hops, ECMP and LAG selection, IPv4 multicast.", layer3},
    {"acl", "The ACL engine, classification, flow steering and the last ingress decision.", acl},
    {"qos_telemetry", "QoS, WRED, and the flow, queue and drop reports.", qos_telemetry},
    {"egress_rewrite", "Egress: encapsulation, multicast copies, membership and drop checks.", egress_rewrite},
    {"mirror_cpu", "Mirroring, sFlow sampling, and the packet path to and from the CPU.", mirror_cpu},
};

inline constexpr Catalog velmar_switch{.program = "velmar_switch",
                                       .actions = actions,
                                       .seams = seams,
                                       .profiles = profiles,
                                       .counters = counters,
                                       .meters = meters,
                                       .wred_blocks = wred_blocks,
                                       .registers = registers,
                                       .digests = digests,
                                       .value_sets = value_sets,
                                       .hash_calculations = hash_calculations};

// A row of velmar_switch as a template argument. `table("ipv4Host")` doesn't compile for a name that is no row's.
struct TableRef {
    uint8_t seam;
    uint8_t row;

    constexpr const Table& operator*() const {
        return seams[seam].tables[row];
    }
    constexpr const Table* operator->() const {
        return &**this;
    }
    friend bool operator==(TableRef, TableRef) = default;
};

struct ActionRef {
    uint16_t number;

    constexpr const Action& operator*() const {
        return actions[number];
    }
    constexpr const Action* operator->() const {
        return &**this;
    }
    friend bool operator==(ActionRef, ActionRef) = default;
};

struct ProfileRef {
    uint8_t index;

    constexpr const Profile& operator*() const {
        return profiles[index];
    }
    constexpr const Profile* operator->() const {
        return &**this;
    }
    friend bool operator==(ProfileRef, ProfileRef) = default;
};

// Never defined: a look-up that fails while compiling calls one, and the compiler's message tells its name.
void no_table_has_this_name();
void no_action_has_this_name();
void no_profile_has_this_name();
void no_hash_calculation_has_this_name();

consteval TableRef table(const char* name) {
    for (size_t seam = 0; seam < std::size(seams); ++seam)
        for (size_t row = 0; row < seams[seam].tables.size(); ++row)
            if (same(seams[seam].tables[row].name, name))
                return {static_cast<uint8_t>(seam), static_cast<uint8_t>(row)};
    no_table_has_this_name();
    return {};
}

consteval ProfileRef profile(const char* name) {
    for (size_t index = 0; index < std::size(profiles); ++index)
        if (same(profiles[index].name, name)) return {static_cast<uint8_t>(index)};
    no_profile_has_this_name();
    return {};
}

consteval const HashCalculation& hash_calculation(const char* name) {
    for (const HashCalculation& row : hash_calculations)
        if (same(row.name, name)) return row;
    no_hash_calculation_has_this_name();
    return hash_calculations[0];
}

// The profile that an indirect table of velmar_switch points into.
consteval ProfileRef profile_of(TableRef table) {
    for (size_t index = 0; index < std::size(profiles); ++index)
        if (same(profiles[index].table, table->name)) return {static_cast<uint8_t>(index)};
    no_profile_has_this_name();
    return {};
}

inline constexpr size_t no_action = ~size_t{0};

// The number of an action, or no_action.
constexpr size_t action_number(const Catalog& rows, const char* name) {
    for (size_t number = 0; number < rows.actions.size(); ++number)
        if (same(rows.actions[number].name, name)) return number;
    return no_action;
}

consteval ActionRef action(const char* name) {
    const size_t number = action_number(velmar_switch, name);
    if (number == no_action) no_action_has_this_name();
    return {static_cast<uint16_t>(number)};
}

// The profile that a table's entries point into, or null: an indirect table has one.
constexpr const Profile* profile_of(const Catalog& rows, const Table& table) {
    for (const Profile& profile : rows.profiles)
        if (same(profile.table, table.name)) return &profile;
    return nullptr;
}

// The same question of velmar_switch. Not by profile_of(): with sanitizers the compiler doesn't take a comparison of
// its result for a constant.
constexpr bool is_indirect(const Table& table) {
    for (const Profile& profile : profiles)
        if (same(profile.table, table.name)) return true;
    return false;
}

// Which kind of resource a table's actions carry in their slot. No table has more than one.
enum class ResourceKind : uint8_t { none, counter, meter, wred_block, stateful_register };

struct AttachedResource {
    ResourceKind kind = ResourceKind::none;
    uint32_t handle = 0;
    Addressing addressing = direct;

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
        if (carries(row)) return {ResourceKind::stateful_register, row.handle, indirect};
    return {};
}

// The resource that an action's index parameter points into: that of the one table which has the action.
constexpr AttachedResource resource_of(const Catalog& rows, const Action& action) {
    for (const Seam& seam : rows.seams)
        for (const Table& table : seam.tables)
            for (const Binding& binding : table.actions)
                if (same(binding.action, action.name)) return resource_of(rows, table);
    return {};
}

constexpr const Binding* find_binding(List<Binding> bindings, const char* action) {
    for (const Binding& binding : bindings)
        if (same(binding.action, action)) return &binding;
    return nullptr;
}

} // namespace catalog
