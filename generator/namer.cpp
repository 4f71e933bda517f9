// Expands each family's snippets for the rows of the family.
#include "generator/namer.h"

#include <algorithm>
#include <cstdio>

#include "catalog/layout.h"
#include "generator/snippet.h"

namespace generator {

using namespace catalog;

namespace {

struct Phrase {
    const char* name;
    const char* text;
};

// What many functions have in common, for their docs.
constexpr Phrase phrases[] = {
    {"status", "Returns the driver's status."},
    {"member_status", "Returns the driver's status, or the shadow's for an unknown member."},
    {"group_status", "Returns the driver's status, or the shadow's for a group that is unknown or never had a member."},
    {"meter_refused", "PD_STATUS_INVALID: an unknown meter_type, or a colour aware meter without has_pre_color."},
    {"written", "Returns its length."},
    {"length", "Returns its length; after a failure 0, with nothing written."},
    {"compared", "Returns 1 if they are equal. If not, returns 0 and writes one line to message."},
    {"last_write", "Returns the result of the last write."},
};

Context program_context(const Catalog& rows) {
    Context context;
    for (const Phrase& phrase : phrases)
        context.set(phrase.name, phrase.text);
    context.set("p", rows.prefix);
    size_t longest = 0;
    for (const Action& action : rows.actions)
        longest = std::max(longest, std::string_view(action.name).size());
    context.set("name_bytes", std::to_string(std::string_view(rows.prefix).size() + longest + 1));
    context.set("dimension", std::string("[").append(std::to_string(rows.actions.size())).append("]"));
    return context;
}

Context table_context(const Catalog& rows, const Table& table) {
    Context context = program_context(rows);
    context.set("table", table.name);
    context.set("match_spec", match_spec_name(rows, table));
    context.set("table_handle", hex(table.handle));
    context.flag("keyed", key_shape(table) != KeyShape::keyless);
    context.flag("priority", has_priority(table));
    context.flag("prefix", key_shape(table) == KeyShape::prefix);
    const size_t profile = profile_of(rows, table);
    context.flag("indirect", profile != not_found);
    if (profile != not_found) context.set("profile", rows.profiles[profile].name);
    const std::string specs = action_specs_name(rows, table.name, table.actions);
    context.flag("specs", !specs.empty());
    if (!specs.empty()) context.set("action_specs", specs);
    return context;
}

void add_action(Context& context, const Catalog& rows, const Action& action) {
    context.set("action", action.name);
    context.set("action_spec", action_spec_name(rows, action));
    context.flag("params", action.params.size() != 0);
}

Context field_context(const Catalog& rows, const Table& table, const KeyField& field) {
    constexpr std::string_view validity = "_valid";
    Context context = table_context(rows, table);
    std::string_view name = field.pd_name;
    if (name.ends_with(validity)) name.remove_suffix(validity.size());
    context.set("width_name", std::string(name));
    context.set("width", std::to_string(field.bits));
    return context;
}

Context binding_context(const Catalog& rows, const Table& table, const Binding& binding) {
    Context context = table_context(rows, table);
    add_action(context, rows, rows.actions[number_of(rows.actions, binding.action)]);
    const AttachedResource resource = resource_of(rows, table);
    context.flag("meter", resource.kind == ResourceKind::meter && resource.addressing == Addressing::direct);
    context.flag("ttl", table.ttl_on_add);
    return context;
}

Context profile_context(const Catalog& rows, const Profile& profile) {
    Context context = program_context(rows);
    context.set("profile", profile.name);
    context.set("data_table", hex(profile.data_table));
    context.set("selector", hex(profile.selector));
    return context;
}

Context resource_context(const Catalog& rows, const char* name, uint32_t handle) {
    Context context = program_context(rows);
    context.set("resource", name);
    context.set("handle", hex(handle));
    return context;
}

// Most operations name a direct resource by its match table.
Context cell_context(const Catalog& rows, const Resource& row) {
    Context context = resource_context(rows, row.name, row.handle);
    const bool direct = row.addressing == Addressing::direct;
    context.flag("direct", direct);
    if (direct) {
        context.set("table", row.table);
        context.set("table_handle", hex(tables(rows)[number_of(tables(rows), row.table)].handle));
    }
    return context;
}

Context register_context(const Catalog& rows, const Register& row) {
    struct Form {
        const char* cell;
        const char* type;
    };
    constexpr Form forms[] = {{"flag", "uint8_t"}, {"word", "uint32_t"}, {"word_pair", "pd_register_pair"}};
    Context context = resource_context(rows, row.name, row.handle);
    const Form& form = forms[static_cast<size_t>(row.cell)];
    context.set("cell", form.cell);
    context.set("cell_type", form.type);
    return context;
}

// Whether the table counts each of its entries.
bool has_counter(const Catalog& rows, const Table& table) {
    const AttachedResource resource = resource_of(rows, table);
    return resource.kind == ResourceKind::counter && resource.addressing == Addressing::direct;
}

// "uint32_t *a, int b" gives "a, b".
std::string argument_names(std::string_view arguments) {
    if (arguments == "void") return "";
    std::string names;
    while (!arguments.empty()) {
        const size_t end = std::min(arguments.find(','), arguments.size());
        const std::string_view argument = arguments.substr(0, end);
        names.append(names.empty() ? "" : ", ").append(argument.substr(argument.find_last_of(" *") + 1));
        arguments.remove_prefix(std::min(end + 2, arguments.size()));
    }
    return names;
}

Shard shard_of(const Area& area, const Member& member) {
    if (member.table != nullptr) return area.shard;
    if (member.profile != nullptr) return Shard::profiles;
    switch (member.family->over) {
    case Over::program:
        return Shard::program;
    case Over::every_action:
    case Over::action_with_params:
        return Shard::actions;
    default:
        return Shard::resources;
    }
}

class Namer {
public:
    explicit Namer(Exports& exports) : exports_(exports), rows_(*exports.rows) {}

    // Adds the members of the families over the program, its actions and its resources.
    void add_common_members() {
        each_family([&](const Area& area, const Family& family) {
            const auto add_each = [&](const auto& space, auto context_of) {
                for (const auto& row : space)
                    add(area, family, context_of(row), {});
            };
            const auto action = [&](const Action& row) {
                Context context = program_context(rows_);
                add_action(context, rows_, row);
                return context;
            };
            const auto plain = [&](const auto& row) { return resource_context(rows_, row.name, row.handle); };
            const auto cell = [&](const Resource& row) { return cell_context(rows_, row); };
            switch (family.over) {
            case Over::program:
                return add(area, family, program_context(rows_), {});
            case Over::every_action:
                return add_each(rows_.actions, action);
            case Over::action_with_params:
                for (const Action& row : rows_.actions)
                    if (row.params.size() != 0) add(area, family, action(row), {});
                return;
            case Over::counter:
                return add_each(rows_.counters, cell);
            case Over::meter:
                return add_each(rows_.meters, cell);
            case Over::wred_block:
                return add_each(rows_.wred_blocks, cell);
            case Over::named_register:
                return add_each(rows_.registers, [&](const Register& row) { return register_context(rows_, row); });
            case Over::digest:
                return add_each(rows_.digests, plain);
            case Over::value_set:
                return add_each(rows_.value_sets,
                                [&](const ValueSet& row) { return resource_context(rows_, row.name, row.id); });
            case Over::hash_calculation:
                return add_each(rows_.hash_calculations, [&](const HashCalculation& row) {
                    Context context = program_context(rows_);
                    context.set("calc", row.name);
                    return context;
                });
            default:
                return;
            }
        });
    }

    void add_profile_members(const Profile& profile) {
        const Member owner{.profile = &profile};
        each_family([&](const Area& area, const Family& family) {
            if (family.over == Over::profile) add(area, family, profile_context(rows_, profile), owner);
            if (family.over != Over::profile_binding) return;
            for (const Binding& binding : profile.actions) {
                Context context = profile_context(rows_, profile);
                add_action(context, rows_, rows_.actions[number_of(rows_.actions, binding.action)]);
                add(area, family, context, owner);
            }
        });
    }

    void add_table_members(const Seam& seam, const Table& table) {
        const Member owner{.seam = &seam, .table = &table};
        const KeyShape shape = key_shape(table);
        each_family([&](const Area& area, const Family& family) {
            const auto add_if = [&](bool wanted) {
                if (wanted) add(area, family, table_context(rows_, table), owner);
            };
            const auto add_bindings = [&](bool (*wanted)(const Binding&)) {
                for (const Binding& binding : table.actions)
                    if (wanted(binding)) add(area, family, binding_context(rows_, table, binding), owner);
            };
            switch (family.over) {
            case Over::every_table:
                return add_if(true);
            case Over::keyed_table:
                return add_if(shape != KeyShape::keyless);
            case Over::masked_table:
                return add_if(shape == KeyShape::masked || shape == KeyShape::prefix);
            case Over::idle_table:
                return add_if(table.idle_time);
            case Over::indirect_table:
                return add_if(profile_of(rows_, table) != not_found);
            case Over::counted_table:
                return add_if(has_counter(rows_, table));
            case Over::entry_binding:
                return add_bindings(for_entries);
            case Over::default_binding:
                return add_bindings(for_default);
            case Over::key_field:
                for (const KeyField& field : table.key)
                    add(area, family, field_context(rows_, table, field), owner);
                return;
            default:
                return;
            }
        });
    }

private:
    static void each_family(auto visit) {
        for (const std::span<const Area> list : areas)
            for (const Area& area : list)
                for (const Family& family : area.families)
                    visit(area, family);
    }

    // `owner` has the rows that the member belongs to.
    void add(const Area& area, const Family& family, Context context, const Member& owner) {
        Member member = owner;
        member.family = &family;
        member.area = &area;
        member.shard = shard_of(area, member);
        member.name = expand(family.name, context);
        member.doc = expand(family.doc, context);
        member.result = family.result;
        member.arguments = expand(family.arguments, context);
        context.set("name", member.name);
        context.set("args", argument_names(member.arguments));
        member.call = expand(family.call, context);
        member.definition = expand(family.definition, context);
        exports_.members.push_back(member);
    }

    Exports& exports_;
    const Catalog& rows_;
};

} // namespace

std::string Member::signature() const {
    const bool pointer = result.ends_with('*');
    return result + (pointer ? "" : " ") + name + "(" + arguments + ")";
}

std::string match_spec_name(const Catalog& rows, const Table& table) {
    return std::string(rows.prefix) + table.name + "_match_spec_t";
}

std::string action_spec_name(const Catalog& rows, const Action& action) {
    return std::string(rows.prefix) + action.name + "_action_spec_t";
}

std::string action_specs_name(const Catalog& rows, const char* owner, List<Binding> bindings) {
    for (const Binding& binding : bindings)
        if (rows.actions[number_of(rows.actions, binding.action)].params.size() != 0)
            return std::string(rows.prefix) + owner + "_action_specs_t";
    return {};
}

std::string digest_entry_name(const Catalog& rows, const Digest& digest) {
    return std::string(rows.prefix) + digest.name + "_entry_t";
}

std::string partner_suffix(const KeyField& field) {
    return field.match == Match::lpm ? "_prefix_length" : "_mask";
}

std::string matched_bits(const KeyField& field) {
    std::string text = "0x";
    for (unsigned byte = whole_bytes(field.bits); byte-- > 0;) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", matched_byte(field, byte));
        text += digits;
    }
    return text;
}

std::string hex(uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", value);
    return text;
}

Exports name_exports(const Catalog& rows) {
    Exports exports{.rows = &rows, .data = {}, .members = {}};
    const Context context = program_context(rows);
    for (const ExportedData& data : exported_data)
        exports.data.push_back({expand(data.name, context), expand(data.declaration, context)});
    Namer namer(exports);
    namer.add_common_members();
    for (const Profile& profile : rows.profiles)
        namer.add_profile_members(profile);
    for (const Seam& seam : rows.seams)
        for (const Table& table : seam.tables)
            namer.add_table_members(seam, table);
    return exports;
}

} // namespace generator
