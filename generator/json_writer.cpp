// The pipeline as JSON, for programs in any language. generator/pipeline.schema.json describes it. The completion of
// pd-show relies on cJSON_Print's lines.
#include <cjson/cJSON.h>

#include <cstdlib>
#include <memory>

#include "catalog/display.h"
#include "generator/writers.h"

namespace generator {

using namespace catalog;

namespace {

// Both return the new item.
cJSON* add_list(cJSON* object, const char* name) {
    return cJSON_AddArrayToObject(object, name);
}
cJSON* add_row(cJSON* list) {
    cJSON* const row = cJSON_CreateObject();
    cJSON_AddItemToArray(list, row);
    return row;
}

void put(cJSON* object, const char* name, uint32_t number) {
    cJSON_AddNumberToObject(object, name, number);
}
// Null is "there is none".
void put(cJSON* object, const char* name, const char* text) {
    if (text != nullptr)
        cJSON_AddStringToObject(object, name, text);
    else
        cJSON_AddNullToObject(object, name);
}
void put_bool(cJSON* object, const char* name, bool value) {
    cJSON_AddBoolToObject(object, name, value);
}

const char* text_of(KeyShape shape) {
    constexpr const char* texts[] = {"keyless", "exact", "masked", "prefix"};
    return texts[static_cast<size_t>(shape)];
}
const char* text_of(Match match) {
    constexpr const char* texts[] = {"exact", "ternary", "lpm"};
    return texts[static_cast<size_t>(match)];
}
const char* text_of(Tag tag) {
    constexpr const char* texts[] = {nullptr, "mac", "v4addr", "v6addr", "port", "vport", "dec"};
    return texts[static_cast<size_t>(tag)];
}
const char* text_of(Use use) {
    constexpr const char* texts[] = {"entry", "entry_or_default", "default_only"};
    return texts[static_cast<size_t>(use)];
}
const char* text_of(Role role) {
    constexpr const char* texts[] = {"data", "slot_index", "data_and_slot_index"};
    return texts[static_cast<size_t>(role)];
}
const char* text_of(Addressing addressing) {
    return addressing == Addressing::direct ? "direct" : "indirect";
}
const char* text_of(Cell cell) {
    constexpr const char* texts[] = {"flag", "word", "word_pair"};
    return texts[static_cast<size_t>(cell)];
}

// What follows the field in the record; null for nothing.
const char* partner_kind(const KeyField& field) {
    if (field.match == Match::exact) return nullptr;
    return field.match == Match::lpm ? "prefix_length" : "mask";
}

void add_key(cJSON* table, const Table& row) {
    const KeyLayout layout = key_layout(row);
    cJSON* const key = add_list(table, "key");
    for (size_t i = 0; i < layout.field_count; ++i) {
        const KeyField& field = row.key.begin()[i];
        const FieldLayout& place = layout.fields[i];
        cJSON* const item = add_row(key);
        put(item, "name", field.name);
        put(item, "pd_name", field.pd_name);
        put(item, "bits", field.bits);
        put(item, "match", text_of(field.match));
        put(item, "tag", text_of(field.tag));
        put(item, "matched_bits", matched_bits(field).c_str());
        put(item, "key_offset", place.key_position);
        put(item, "key_bytes", place.key_bytes);
        put(item, "record_offset", place.record_offset);
        put(item, "record_bytes", place.record_bytes);
        if (place.partner_bytes == 0) {
            put(item, "partner", nullptr);
            continue;
        }
        cJSON* const partner = cJSON_AddObjectToObject(item, "partner");
        put(partner, "kind", partner_kind(field));
        put(partner, "pd_name", (field.pd_name + partner_suffix(field)).c_str());
        put(partner, "record_offset", place.partner_offset);
        put(partner, "record_bytes", place.partner_bytes);
    }
    put(table, "key_bits", layout.bits);
    put(table, "key_bytes", layout.bytes);
    cJSON* const order = add_list(table, "record_order");
    for (size_t i = 0; i < layout.field_count; ++i)
        cJSON_AddItemToArray(order, cJSON_CreateString(row.key.begin()[layout.record_order[i]].pd_name));
    put(table, "record_size", layout.record_size);
}

void add_bindings(cJSON* owner, List<Binding> bindings) {
    cJSON* const actions = add_list(owner, "actions");
    for (const Binding& binding : bindings) {
        cJSON* const action = add_row(actions);
        put(action, "name", binding.action);
        put(action, "handle", binding.handle);
        put(action, "use", text_of(binding.use));
    }
}

void add_resource(cJSON* table, const Catalog& rows, const Table& row) {
    constexpr const char* kinds[] = {nullptr, "counter", "meter", "wred_block", "register"};
    const AttachedResource resource = resource_of(rows, row);
    if (!resource) return put(table, "resource", nullptr);
    cJSON* const item = cJSON_AddObjectToObject(table, "resource");
    put(item, "kind", kinds[static_cast<size_t>(resource.kind)]);
    put(item, "handle", resource.handle);
    put(item, "addressing", text_of(resource.addressing));
}

void add_tables(cJSON* pipeline, const Catalog& rows) {
    cJSON* const list = add_list(pipeline, "tables");
    for (const Seam& seam : rows.seams) {
        for (const Table& row : seam.tables) {
            const size_t profile = profile_of(rows, row);
            cJSON* const table = add_row(list);
            put(table, "name", row.name);
            put(table, "handle", row.handle);
            put(table, "seam", seam.name);
            put(table, "summary", row.summary);
            put(table, "shape", text_of(key_shape(row)));
            put_bool(table, "partitioned", row.partitioned);
            put_bool(table, "idle_time", row.idle_time);
            put_bool(table, "ttl_on_add", row.ttl_on_add);
            put(table, "profile", profile == not_found ? nullptr : rows.profiles[profile].name);
            add_resource(table, rows, row);
            add_key(table, row);
            add_bindings(table, row.actions);
        }
    }
}

void add_actions(cJSON* pipeline, const Catalog& rows) {
    cJSON* const list = add_list(pipeline, "actions");
    for (size_t number = 0; number < rows.actions.size(); ++number) {
        const Action& row = rows.actions[number];
        const ActionLayout layout = action_layout(row);
        cJSON* const action = add_row(list);
        put(action, "name", row.name);
        put(action, "number", static_cast<uint32_t>(number));
        put(action, "record_size", layout.record_size);
        cJSON* const params = add_list(action, "params");
        for (size_t i = 0; i < layout.param_count; ++i) {
            const Param& param = row.params.begin()[i];
            const ParamLayout& place = layout.params[i];
            cJSON* const item = add_row(params);
            put(item, "name", param.name);
            put(item, "bits", param.bits);
            put(item, "tag", text_of(param.tag));
            put(item, "role", text_of(param.role));
            put(item, "record_offset", place.record_offset);
            put(item, "record_bytes", place.record_bytes);
            put(item, "data_offset", place.data_position);
            put(item, "data_bytes", place.data_bytes);
        }
    }
}

void add_profiles(cJSON* pipeline, const Catalog& rows) {
    cJSON* const list = add_list(pipeline, "profiles");
    for (const Profile& row : rows.profiles) {
        cJSON* const profile = add_row(list);
        put(profile, "name", row.name);
        put(profile, "data_table", row.data_table);
        put(profile, "selector", row.selector);
        put(profile, "table", row.table);
        add_bindings(profile, row.actions);
    }
}

// `add_facts` adds what is special to the kind.
template <class AnyRows, class AddFacts>
void add_named(cJSON* pipeline, const char* kind, const AnyRows& rows, AddFacts add_facts) {
    cJSON* const list = add_list(pipeline, kind);
    for (const auto& row : rows) {
        cJSON* const item = add_row(list);
        put(item, "name", row.name);
        add_facts(item, row);
    }
}

void add_resources(cJSON* pipeline, const Catalog& rows) {
    const auto add_facts = [](cJSON* item, const Resource& row) {
        put(item, "handle", row.handle);
        put(item, "addressing", text_of(row.addressing));
        put(item, "table", row.table);
    };
    add_named(pipeline, "counters", rows.counters, add_facts);
    add_named(pipeline, "meters", rows.meters, add_facts);
    add_named(pipeline, "wred_blocks", rows.wred_blocks, add_facts);
    add_named(pipeline, "registers", rows.registers, [](cJSON* item, const Register& row) {
        put(item, "handle", row.handle);
        put(item, "cell", text_of(row.cell));
        put(item, "table", row.table);
    });
}

void add_services(cJSON* pipeline, const Catalog& rows) {
    add_named(pipeline, "digests", rows.digests, [](cJSON* item, const Digest& row) {
        put(item, "handle", row.handle);
        cJSON* const fields = add_list(item, "fields");
        uint32_t size = 0;
        for (const DigestField& slot : row.fields) {
            cJSON* const field = add_row(fields);
            put(field, "name", slot.pd_name);
            put(field, "offset", size);
            put(field, "bytes", slot.bytes);
            size += slot.bytes;
        }
        put(item, "entry_size", size);
    });
    add_named(pipeline, "value_sets", rows.value_sets,
              [](cJSON* item, const ValueSet& row) { put(item, "id", row.id); });
    add_named(pipeline, "hash_calculations", rows.hash_calculations, [](cJSON* item, const HashCalculation& row) {
        put(item, "handle", row.handle);
        put(item, "input", row.input);
        put(item, "algorithm", row.algorithm);
    });
    cJSON* const layouts = add_list(pipeline, "snapshot_layouts");
    for (const SnapshotLayout& row : rows.snapshot_layouts) {
        cJSON* const layout = add_row(layouts);
        const auto add_offsets = [&](const char* name, List<uint16_t> offsets) {
            cJSON* const list = add_list(layout, name);
            for (const uint16_t offset : offsets)
                cJSON_AddItemToArray(list, cJSON_CreateNumber(offset));
        };
        add_offsets("two_byte_fields", row.two_byte_fields);
        add_offsets("four_byte_fields", row.four_byte_fields);
    }
}

// The columns of a table's key or of an action, each with the names of its fields or parameters.
template <class Field, class Name, class Partner>
void add_columns(cJSON* object, const char* name, const std::vector<Shown>& columns, List<Field> fields, Name name_of,
                 Partner partner_of) {
    cJSON* const list = add_list(object, name);
    for (const Shown& column : columns) {
        cJSON* const item = add_row(list);
        put(item, "label", column.label.c_str());
        put(item, "tag", text_of(column.tag));
        put(item, "partner", partner_of(fields.begin()[column.first]));
        cJSON* const parts = add_list(item, "fields");
        for (size_t i = column.first; i < column.first + column.count; ++i)
            cJSON_AddItemToArray(parts, cJSON_CreateString(name_of(fields.begin()[i])));
    }
}

void add_display(cJSON* pipeline, const Catalog& rows) {
    cJSON* const display = cJSON_AddObjectToObject(pipeline, "display");
    cJSON* const keys = cJSON_AddObjectToObject(display, "keys");
    for (const Table& table : tables(rows))
        add_columns(
            keys, table.name, shown_fields(table), table.key, [](const KeyField& field) { return field.pd_name; },
            partner_kind);
    cJSON* const params = cJSON_AddObjectToObject(display, "actions");
    for (const Action& action : rows.actions)
        add_columns(
            params, action.name, shown_params(action), action.params, [](const Param& param) { return param.name; },
            [](const Param&) -> const char* { return nullptr; });
}

} // namespace

std::string write_json(const Catalog& rows) {
    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> pipeline(cJSON_CreateObject(), &cJSON_Delete);
    put(pipeline.get(), "$schema", "pipeline.schema.json");
    put(pipeline.get(), "name", rows.name);
    put(pipeline.get(), "prefix", rows.prefix);
    add_tables(pipeline.get(), rows);
    add_actions(pipeline.get(), rows);
    add_profiles(pipeline.get(), rows);
    add_resources(pipeline.get(), rows);
    add_services(pipeline.get(), rows);
    add_display(pipeline.get(), rows);
    const std::unique_ptr<char, decltype(&std::free)> text(cJSON_Print(pipeline.get()), &std::free);
    return text.get() + std::string("\n");
}

} // namespace generator
