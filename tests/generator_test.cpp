// The generator on a catalog of its own with two tables, and the rules that a catalog keeps.
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "catalog/checks.h"
#include "generator/snippet.h"
#include "generator/writers.h"

namespace {

using namespace catalog;
using namespace generator;

constexpr Action toy_actions[] = {
    {"drop"},
    {"forward", {{"port", 9}, {"rate", 32, Tag::untagged, Role::slot_index}}},
};

constexpr Table toy_tables[] = {
    {.name = "acl",
     .handle = 0x1000001,
     .summary = "Drops.",
     .key = {{"port", "md_port", 9}, {"dst", "ip_dst", 128, Match::ternary}, {"proto", "ip_proto", 8, Match::ternary}},
     .record_order = {"ip_proto", "md_port", "ip_dst"},
     .actions = {{"drop", 0x20000000, Use::entry_or_default}, {"forward", 0x20000001, Use::entry}}},
    {.name = "tail", .handle = 0x1000002, .summary = "Always.", .actions = {{"drop", 0x20000002, Use::default_only}}},
    {.name = "hosts",
     .handle = 0x1000003,
     .summary = "Odd ends.",
     .key = {{"vrf", "md_vrf", 8}, {"dst", "ip_dst", 128}, {"ttl", "ip_ttl", 8}},
     .actions = {{"drop", 0x20000003, Use::entry}}},
};

constexpr Seam toy_seams[] = {{"toys", "Toys.", toy_tables}};
constexpr Resource toy_counters[] = {{"hits", 0x4000001, Addressing::indirect, "acl"}};
constexpr Catalog toy{.program = "toy", .actions = toy_actions, .seams = toy_seams, .counters = toy_counters};

bool contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

const Member& member(const Exports& exports, std::string_view name) {
    for (const Member* member : exports.functions())
        if (member->name == name) return *member;
    throw std::runtime_error("no member " + std::string(name));
}

TEST(Snippets, NamesAndChoices) {
    Context context;
    context.set("table", "acl");
    context.flag("yes", true);
    context.flag("no", false);
    EXPECT_EQ(expand("{table}_add", context), "acl_add");
    EXPECT_EQ(expand("a[yes?b][no?c]d", context), "abd");
    EXPECT_EQ(expand("[yes?x|y][no?x|y]", context), "xy");
    EXPECT_EQ(expand("[yes?[no?1|{table}]|2][no?[yes?3|4]|5]", context), "acl5");
}

TEST(Snippets, WhatIsNotKnownIsRefused) {
    Context context;
    context.flag("yes", true);
    for (const char* const wrong : {"{tabel}", "[no?x]", "{open", "[yes?open", "[yes]", "stray]", "stray}"})
        EXPECT_THROW(expand(wrong, context), std::runtime_error) << wrong;
}

TEST(Generator, MembersFollowFromTheRows) {
    const Exports exports = name_exports(toy);
    EXPECT_EQ(
        member(exports, "p4_pd_toy_acl_table_add_with_forward").arguments,
        "pd_session sess_hdl, pd_dev_tgt dev_tgt, const p4_pd_toy_acl_match_spec_t *match_spec, uint32_t priority, "
        "const p4_pd_toy_forward_action_spec_t *action_spec, pd_entry *entry_hdl");
    EXPECT_EQ(member(exports, "p4_pd_toy_acl_table_modify_with_drop").body,
              "return entries::modify<t::acl, a::drop>(sess_hdl, dev_id, entry_hdl, nullptr, nullptr);");
    EXPECT_EQ(member(exports, "p4_pd_toy_tail_get_entry").arguments,
              "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw, char *action_name, "
              "void *action_spec, uint32_t *action_id");
    EXPECT_NO_THROW(member(exports, "unbuild_mask_acl"));
    EXPECT_NO_THROW(member(exports, "unbuild_action_spec_forward"));
    for (const char* const absent : {"p4_pd_toy_tail_table_delete", "unbuild_key_tail", "unbuild_action_spec_drop",
                                     "p4_pd_toy_tail_table_add_with_drop"})
        EXPECT_THROW(member(exports, absent), std::runtime_error) << absent;
}

TEST(Generator, TextsNameEveryExportOnce) {
    const Exports exports = name_exports(toy);
    const std::string list = write_export_list(exports);
    const std::string script = write_version_script(exports);
    EXPECT_EQ(static_cast<size_t>(std::count(list.begin(), list.end(), '\n')),
              exports.functions().size() + exports.data.size());
    EXPECT_TRUE(contains(list, "bf_drv_hdl\tuint32_t bf_drv_hdl\n"));
    EXPECT_TRUE(contains(list, "p4_pd_toy_acl_table_delete\tpd_status (pd_session sess_hdl, "));
    for (const Member* exported : exports.functions())
        EXPECT_TRUE(contains(script, "    " + exported->name + ";\n"));
    EXPECT_TRUE(contains(script, "local:\n    *;"));
}

TEST(Generator, RecordsFollowTheRecordOrder) {
    const Exports exports = name_exports(toy);
    const std::string header = write_seam_header(exports, exports.seams[0]);
    EXPECT_TRUE(contains(header, "typedef struct p4_pd_toy_acl_match_spec {\n"
                                 "    uint8_t ip_proto;\n"
                                 "    uint8_t ip_proto_mask;\n"
                                 "    uint16_t md_port; /* 9 bits */\n"
                                 "    pd_bytes16 ip_dst;\n"
                                 "    pd_bytes16 ip_dst_mask;\n"
                                 "} p4_pd_toy_acl_match_spec_t;\n"));
    EXPECT_TRUE(contains(header, "    uint8_t md_vrf;\n"
                                 "    uint8_t reserved_1[1];\n"
                                 "    pd_bytes16 ip_dst;\n"
                                 "    uint8_t ip_ttl;\n"
                                 "    uint8_t reserved_19[1];\n"
                                 "} p4_pd_toy_hosts_match_spec_t;\n"));
    const std::string asserts = write_record_asserts(exports);
    EXPECT_TRUE(contains(asserts, "static_assert(offsetof(p4_pd_toy_acl_match_spec_t, ip_dst_mask) == 20 && "));
    EXPECT_TRUE(contains(asserts, "static_assert(sizeof(p4_pd_toy_acl_match_spec_t) == 36);"));
    EXPECT_TRUE(contains(write_pipeline_description(toy), "{0x1000001, \"acl\", VL_MODEL_TERNARY, 145, 19, "));
}

// A catalog with one thing changed; `seams` refers to tables that must outlive it.
struct Variant {
    Table tables[2] = {toy_tables[0], toy_tables[1]};
    Action actions[2] = {toy_actions[0], toy_actions[1]};
    Resource counters[1] = {toy_counters[0]};
    Seam seams[1] = {{"toys", "Toys.", tables}};
    Catalog rows{.program = "toy", .actions = actions, .seams = seams, .counters = counters};

    std::string broken() const {
        Fault found;
        for (size_t number = 0; !found.found() && number < table_count(rows); ++number)
            found = table_fault(rows, number);
        for (size_t number = 0; !found.found() && number < rows.actions.size(); ++number)
            found = action_fault(rows, number);
        if (!found.found()) found = reference_and_handle_fault(rows);
        return found.found() ? std::string(found.row) + ": " + found.rule : std::string();
    }
};

TEST(CatalogRules, ASoundCatalogHasNoFault) {
    EXPECT_EQ(Variant().broken(), "");
}

TEST(CatalogRules, EachFaultNamesRowAndRule) {
    const auto expect = [](std::string_view fault, auto change) {
        Variant variant;
        change(variant);
        EXPECT_EQ(variant.broken(), fault);
    };
    static constexpr List<const char*> no_order;
    static constexpr List<Param> no_params;
    static constexpr List<Binding> misspelt = {{"dorp", 0x20000000, Use::entry_or_default}};
    static constexpr List<const char*> short_order = {"ip_proto", "md_port"};
    static constexpr List<const char*> doubled_order = {"ip_proto", "md_port", "md_port"};
    static constexpr List<KeyField> lpm_first = {{"a", "a_a", 32, Match::lpm}, {"b", "b_b", 8}};
    static constexpr List<KeyField> mixed = {{"a", "a_a", 32, Match::ternary}, {"b", "b_b", 32, Match::lpm}};
    static constexpr List<KeyField> wide = {{"a", "a_a", 48}};
    static constexpr List<KeyField> masked_beyond = {{"a", "a_a", 4, Match::exact, Tag::untagged, 0x1F}};
    static constexpr List<Binding> shared_handle = {{"drop", 0x20000000, Use::default_only}};
    static constexpr List<Binding> drop_alone = {{"drop", 0x20000000, Use::entry_or_default}};
    static constexpr List<Binding> not_default = {{"drop", 0x20000002, Use::entry}};
    expect("dorp: a binding names an action row", [&](Variant& v) { v.tables[0].actions = misspelt; });
    expect("acl: the record order names every key field once",
           [&](Variant& v) { v.tables[0].record_order = short_order; });
    expect("acl: the record order names every key field once",
           [&](Variant& v) { v.tables[0].record_order = doubled_order; });
    const auto keyed = [&](const auto& key) {
        return [&](Variant& v) {
            v.tables[0].key = key;
            v.tables[0].record_order = no_order;
        };
    };
    expect("acl: a prefix field is the last one", keyed(lpm_first));
    expect("acl: a key has masks or a prefix length, not both", keyed(mixed));
    expect("acl: a field has 1 to 32 or 128 bits", keyed(wide));
    expect("acl: a field mask lies within its field", keyed(masked_beyond));
    expect("acl: a partition is the 16-bit first field of a prefix table",
           [](Variant& v) { v.tables[0].partitioned = true; });
    expect("tail: an action handle lies in its space and names one action",
           [&](Variant& v) { v.tables[1].actions = shared_handle; });
    expect("tail: only and all keyless tables have a mere default",
           [&](Variant& v) { v.tables[1].actions = not_default; });
    expect("tail: a table handle lies in its space and names one table",
           [](Variant& v) { v.tables[1].handle = v.tables[0].handle; });
    expect("acl: an index parameter needs an indirect resource",
           [](Variant& v) { v.counters[0].addressing = Addressing::direct; });
    expect("hits: a resource belongs to one existing table, and a table has one resource", [](Variant& v) {
        v.counters[0].table = "nowhere";
        v.actions[1].params = no_params;
    });
    expect("hits: a handle lies in its space", [](Variant& v) { v.counters[0].handle = 0x400000a; });
    expect("idle: a table or profile has the action", [&](Variant& v) {
        v.actions[1] = {"idle"};
        v.tables[0].actions = drop_alone;
    });
}

} // namespace
