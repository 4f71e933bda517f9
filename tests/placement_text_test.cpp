// Placement data as print lines and value strings: the texts of its records, in the right order.
#include "support/text.h"
#include "support/views.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace support;

// What a print writes, and its result.
struct Printed {
    std::string text;
    uint32_t result = 0;
    bool operator==(const Printed&) const = default;
};

// Calls a print with a descriptor in front of these arguments.
Printed printed(const std::string& name, std::vector<uint64_t> words) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    words.insert(words.begin(), dirty(static_cast<uint32_t>(ends[1])));
    Printed out{.text = {}, .result = call(exported(name), words)};
    close(ends[1]);
    char text[4096];
    for (ssize_t length; (length = ::read(ends[0], text, sizeof text)) > 0;)
        out.text.append(text, static_cast<size_t>(length));
    close(ends[0]);
    return out;
}

class PlacementText : public LibraryTest {
protected:
    std::mt19937 random{20240713};
    // Takes no byte. A closed descriptor would do too, but each failed write to one leaks a buffer of the C library.
    const int full = open("/dev/full", O_WRONLY);
    const uint64_t no_room = static_cast<uint32_t>(full);

    PlacementText() {
        answer_with_views();
    }
    ~PlacementText() override {
        close(full);
    }

    // A table or profile, with what its functions' names have in common.
    struct Row {
        std::string name, prefix;
        uint32_t handle;
        Row(const catalog::Table& table) : name(table.name), handle(table.handle) {}
        Row(const catalog::Profile& profile) : name(profile.name), prefix("adt_"), handle(profile.data_table) {}
    };

    // The row's own function and the function by handle say the same.
    std::string value(const Row& row) {
        const std::string own = text_of(row.name + "_plcmt_data_value", {blob});
        EXPECT_EQ(text_of(row.prefix + "plcmt_data_value", {dirty(row.handle), blob}), own);
        return own;
    }
    Printed print(const Row& row, uint32_t indent) {
        const std::string function = row.name + "_" + row.prefix + "plcmt_data_print";
        const Printed own = printed(function, {dirty(indent), blob});
        EXPECT_EQ(printed(row.prefix + "plcmt_data_print", {dirty(indent), dirty(row.handle), blob}), own);
        EXPECT_EQ(call(exported(function), {no_room, indent, blob}), own.result) << "failed writes don't count";
        return own;
    }

    static std::string action_lines(const catalog::Action& action, const Bytes& spec, uint32_t indent) {
        std::string lines = std::string(indent, ' ') + exported(action.name) + ":\n";
        if (action.params.size() != 0)
            lines += printed(std::string(action.name) + "_print", {indent, word(spec.data())}).text;
        return lines;
    }

    // The value is the first half of an entry's value, if the driver reads the entry that it decodes.
    void expect_value(const catalog::Table& table) {
        hardware = software;
        const std::string entry = text_of(std::string(table.name) + "_value", {1, device, 9, 0});
        EXPECT_EQ(value(table), entry.substr(1, entry.rfind("),(")));
    }
    void expect_texts(const catalog::Table& table, uint32_t indent) {
        SCOPED_TRACE(table.name);
        Outputs out;
        ASSERT_EQ(decode(table, out), 0u);
        std::string key = std::string(indent, ' ') + exported(table.name) + ":\n", action;
        if (!is_keyless(table))
            key = printed(std::string(table.name) + "_match_spec_print", {indent, word(out.key.data())}).text;
        if (!catalog::is_indirect(table))
            action = action_lines(catalog::program.actions[out.number()], out.spec(), indent);
        EXPECT_EQ(print(table, indent), (Printed{key + action, 0}));
        expect_value(table);
        if (is_keyless(table)) return;
        software.match.key_len = 0; // the default entry
        EXPECT_EQ(print(table, indent), (Printed{action, 0}));
        expect_value(table);
    }
};

TEST_F(PlacementText, EveryTableAndAction) {
    uint32_t indent = 0;
    for (const catalog::Table* table : all_tables()) {
        for (const catalog::Binding& binding : table->actions) {
            software = random_view(random, table, &binding);
            expect_texts(*table, indent++ % 4);
        }
        if (!catalog::is_indirect(*table)) continue;
        for (const unsigned kind : {1u, 2u, 4u}) {
            software = random_view(random, table, nullptr);
            software.set_target(kind, 0x20000005);
            expect_texts(*table, 3);
        }
    }
}

TEST_F(PlacementText, Members) {
    for (const catalog::Profile& profile : catalog::program.profiles)
        for (const catalog::Binding& binding : profile.actions) {
            software = random_view(random, nullptr, &binding);
            Bytes record(64);
            ASSERT_EQ(call(exported(profile.name) + "_get_member_from_plcmt_data", {blob, word(record.data())}), 0u);
            const Bytes spec(record.begin() + 4, record.end());
            std::vector<uint64_t> params;
            if (action_of(binding).params.size() != 0) params.push_back(word(spec.data()));
            EXPECT_EQ(value(profile), text_of(std::string(binding.action) + "_value", params));
            EXPECT_EQ(print(profile, 2), (Printed{action_lines(action_of(binding), spec, 2), 0}));
        }
}

TEST_F(PlacementText, InFull) {
    const catalog::Table& host = table_named("ipv4Host");
    software = random_view(random, &host, catalog::find_binding(host.actions, "setNextHop"));
    software.key = {1, 10, 0, 0, 1};
    software.data = {0, 0, 0, 5};
    EXPECT_EQ(value(host), "(( 0x01,0x0a000001,),('setNextHop',(0x00000005,)),)");
    EXPECT_EQ(print(host, 3).text, "   p4_pd_velmar_switch_ipv4Host_match_spec_t:\n    l3Info_vrfId: 0x01\n"
                                   "    ingIpv4_dip: 0x0a000001\n   p4_pd_velmar_switch_setNextHop:\n"
                                   "    action_nextHop: 0x00000005\n");
    const catalog::Table& group = table_named("ecmpGroup");
    software = random_view(random, &group, nullptr);
    software.key = {1, 0x23};
    software.set_target(PIPE_KIND_MEMBER, 5);
    EXPECT_EQ(value(group), "(( 0x0123,),('setMbrHdl',(0x5,)))");
    software.set_target(0, 0);
    EXPECT_EQ(value(group), "(( 0x0123,),)");
    const catalog::Profile& ecmp = catalog::program.profiles[catalog::profile_of(catalog::program, group)];
    software = random_view(random, nullptr, ecmp.actions.begin());
    software.data = {1, 8, 7, 6, 5};
    EXPECT_EQ(value(ecmp), "('setEcmpNextHop',(0x01,0x08070605,)),");
}

TEST_F(PlacementText, FailuresAndUnknownHandles) {
    software.status = 77;
    const auto expect_failure = [&](const Row& row, const std::string& named) {
        EXPECT_EQ(value(row), "");
        EXPECT_EQ(print(row, 3), (Printed{"cannot decode plcmt_data for " + exported(named) + "\n", 77}));
    };
    for (const catalog::Table* table : all_tables())
        expect_failure(*table, table->name);
    for (const catalog::Profile& profile : catalog::program.profiles)
        expect_failure(profile, std::string(profile.name) + "_adt_plcmt_data_print");
    for (const auto& [prefix, known] : {std::pair("", Known::tables), std::pair("adt_", Known::profiles)})
        for (const uint32_t handle : unknown_handles(known)) {
            const std::string function = std::string(prefix) + "plcmt_data_print";
            char expected[40];
            std::snprintf(expected, sizeof expected, "0x%08x table not found\n", handle);
            EXPECT_EQ(printed(function, {3, handle, blob}), (Printed{expected, 27}));
            EXPECT_EQ(call(exported(function), {no_room, 3, handle, blob}), 0xFFFFFFFF)
                << "the result is that of the write";
            EXPECT_EQ(text_of(std::string(prefix) + "plcmt_data_value", {handle, blob}), "");
        }
}

} // namespace
