// The generator with the small program of the tests, and the rules for every catalog.
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "catalog/checks.h"
#include "generator/snippet.h"
#include "generator/writers.h"
#include "tests/tiny_switch/program.h"

namespace {

using namespace catalog;
using namespace generator;

const Catalog& tiny = tiny_switch::program;

bool contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

const Member& member(const Exports& exports, std::string_view name) {
    for (const Member& member : exports.members)
        if (member.name == name) return member;
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

TEST(Snippets, UnknownNamesAndOpenBracketsAreRefused) {
    Context context;
    context.flag("yes", true);
    for (const char* const wrong : {"{tabel}", "[no?x]", "{open", "[yes?open", "[yes]", "stray]", "stray}"})
        EXPECT_THROW(expand(wrong, context), std::runtime_error) << wrong;
}

TEST(Generator, MembersFollowFromTheRows) {
    const Exports exports = name_exports(tiny);
    EXPECT_EQ(member(exports, "p4_pd_tiny_switch_acl_table_add_with_forward").arguments,
              "pd_session sess_hdl, pd_dev_tgt dev_tgt, const p4_pd_tiny_switch_acl_match_spec_t *match_spec, "
              "uint32_t priority, const p4_pd_tiny_switch_forward_action_spec_t *action_spec, pd_entry *entry_hdl");
    EXPECT_EQ(member(exports, "p4_pd_tiny_switch_acl_table_modify_with_drop").call,
              "entries::modify<t::acl, a::drop>(sess_hdl, dev_id, entry_hdl, nullptr, nullptr)");
    EXPECT_EQ(member(exports, "p4_pd_tiny_switch_hosts_table_delete").call,
              "entries::remove(0x1000001, sess_hdl, dev_id, entry_hdl)");
    for (const char* const absent : {"p4_pd_tiny_switch_tail_table_delete", "unbuild_key_tail", "unbuild_mask_hosts",
                                     "unbuild_action_spec_drop", "p4_pd_tiny_switch_tail_table_add_with_drop"})
        EXPECT_THROW(member(exports, absent), std::runtime_error) << absent;
}

// What users read beside a declaration or a member.
TEST(Generator, HeadersTellWhatAReaderNeeds) {
    const Exports exports = name_exports(tiny);
    std::string headers;
    for (const File& file : files(tiny)) {
        if (file.text == Text::header) headers += write_header(exports, file);
        if (file.text == Text::handles) headers += write_handles_header(exports);
    }
    for (const char* const part :
         {R"(
/** Reads an entry of acl: its key, its priority, and its action: full name (29 bytes), record and number.
 *  action_name and action_id may be null. action_spec needs room for p4_pd_tiny_switch_acl_action_specs_t.
 *  *is_default is 1 for the default entry; its key is zero. Returns the driver's status. PD_STATUS_UNEXPECTED: the
 *  answer holds no action of this table. PD_STATUS_NO_MEMORY: nothing is written. */
pd_status p4_pd_tiny_switch_acl_get_entry()",
          "\n/** Deletes the entry of hosts with this key. Returns the driver's status. */\n",
          "\n/** Reads the count of an entry of hosts to *value",
          " uint16_t md_part; /* 16 bits; names a partition, isn't matched */\n",
          " uint32_t md_nextHop; /* 16 bits, of which 0x0fff are matched */\n", " uint16_t md_port; /* 9 bits */\n",
          "    p4_pd_tiny_switch_setNextHop_action_spec_t setNextHop;\n} p4_pd_tiny_switch_hosts_action_specs_t;\n",
          "    uint8_t md_port[2]; /* offset 4 */\n} p4_pd_tiny_switch_learned_entry_t;\n",
          "    p4_pd_tiny_switch_table_tail = 0x1000012\n};\n", "    p4_pd_tiny_switch_profile_hops = 0x2000001\n",
          "    p4_pd_tiny_switch_selector_hops = 0x3000001\n", "    p4_pd_tiny_switch_counter_hostCount = 0x4000001\n"})
        EXPECT_TRUE(contains(headers, part)) << part;
    // `drop` has no record, and C has no empty unions or enumerations.
    for (const char* const part : {"tail_action_specs_t", "_action_spec_t drop;", "enum p4_pd_tiny_switch_wred"})
        EXPECT_FALSE(contains(headers, part)) << part;
    for (const Member& exported : exports.members)
        EXPECT_TRUE(contains(headers, " */\n" + exported.signature())) << exported.name << " has no text";
}

TEST(Generator, TextsNameEveryExportOnce) {
    const Exports exports = name_exports(tiny);
    const std::string list = write_export_list(exports);
    const std::string script = write_version_script(exports);
    EXPECT_EQ(static_cast<size_t>(std::count(list.begin(), list.end(), '\n')),
              exports.members.size() + exports.data.size());
    std::string sources;
    for (const File& file : files(tiny))
        if (file.text == Text::source) sources += write_source(exports, file);
    for (const Member& exported : exports.members) {
        EXPECT_TRUE(contains(script, "    " + exported.name + ";\n"));
        EXPECT_TRUE(contains(sources, exported.definition.empty() ? exported.signature() : exported.definition))
            << exported.name << " is defined nowhere";
    }
    EXPECT_TRUE(contains(script, "local:\n    *;"));
}

// A copy of the catalog, for one change. Its rows refer to the arrays here.
struct Variant {
    Table tables[5] = {tiny_switch::edge[0], tiny_switch::edge[1], tiny_switch::core[0], tiny_switch::core[1],
                       tiny_switch::core[2]};
    Table& acl = tables[1];
    Table& tail = tables[4];
    Action actions[4] = {tiny_switch::actions[0], tiny_switch::actions[1], tiny_switch::actions[2],
                         tiny_switch::actions[3]};
    Resource meters[1] = {tiny_switch::meters[0]};
    Seam seams[1] = {{"all", "All.", tables}};
    Catalog rows = [this] {
        Catalog changed = tiny;
        changed.actions = actions;
        changed.seams = seams;
        changed.meters = meters;
        return changed;
    }();

    std::string broken() const {
        Fault found;
        for (size_t number = 0; !found.found() && number < catalog::tables(rows).size(); ++number)
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
    static constexpr List<Binding> misspelt = {{"dorp", 0x20000003, Use::entry_or_default}};
    static constexpr List<const char*> short_order = {"ip_proto", "md_port"};
    static constexpr List<const char*> doubled_order = {"ip_proto", "md_port", "md_port"};
    static constexpr List<KeyField> lpm_first = {{"a", "a_a", 32, Match::lpm}, {"b", "b_b", 8}};
    static constexpr List<KeyField> mixed = {{"a", "a_a", 32, Match::ternary}, {"b", "b_b", 32, Match::lpm}};
    static constexpr List<KeyField> wide = {{"a", "a_a", 48}};
    static constexpr List<KeyField> masked_beyond = {{"a", "a_a", 4, Match::exact, Tag::untagged, 0x1F}};
    static constexpr List<Binding> shared_handle = {{"drop", 0x20000003, Use::default_only}};
    static constexpr List<Binding> drop_alone = {{"drop", 0x20000003, Use::entry_or_default}};
    static constexpr List<Binding> not_default = {{"drop", 0x20000007, Use::entry}};
    expect("dorp: a binding names an action row", [&](Variant& v) { v.acl.actions = misspelt; });
    expect("acl: the record order names every key field once", [&](Variant& v) { v.acl.record_order = short_order; });
    expect("acl: the record order names every key field once", [&](Variant& v) { v.acl.record_order = doubled_order; });
    const auto keyed = [&](const auto& key) {
        return [&](Variant& v) {
            v.acl.key = key;
            v.acl.record_order = no_order;
        };
    };
    expect("acl: a prefix field is the last field", keyed(lpm_first));
    expect("acl: a key has masks or a prefix length, not both", keyed(mixed));
    expect("acl: a field has 1 to 32 or 128 bits", keyed(wide));
    expect("acl: a field mask lies within its field", keyed(masked_beyond));
    expect("acl: a partition is the 16-bit first field of a prefix table",
           [](Variant& v) { v.acl.partitioned = true; });
    expect("acl: an action handle names one action of one table or profile",
           [&](Variant& v) { v.tail.actions = shared_handle; });
    expect("tail: an action is default_only exactly if its table has no key",
           [&](Variant& v) { v.tail.actions = not_default; });
    expect("acl: a handle names one row", [](Variant& v) { v.tail.handle = v.acl.handle; });
    expect("acl: an index parameter needs an indirect resource",
           [](Variant& v) { v.meters[0].addressing = Addressing::direct; });
    expect("aclRate: a resource belongs to one existing table, and a table has one resource", [](Variant& v) {
        v.meters[0].table = "nowhere";
        v.actions[1].params = no_params;
    });
    expect("aclRate: a handle lies in its space", [](Variant& v) { v.meters[0].handle = 0x4000001; });
    expect("idle: an action belongs to a table or profile", [&](Variant& v) {
        v.actions[1] = {"idle"};
        v.acl.actions = drop_alone;
    });
}

} // namespace
