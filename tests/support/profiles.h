// What the tests of action profiles share: calls as lines of text, whose words name values of the profile under test.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <sstream>

#include "support/library.h"
#include "vl_driver/member_shadow.h"

namespace support {

using Lines = std::vector<std::string>;

// An action spec or key whose values are wider than every field.
inline const Bytes wide_values = {0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8};

class ProfileTest : public LibraryTest {
protected:
    ProfileTest() {
        std::free(vl_model_state_log(device));
        for (const vl_model::Call& call : calls_of("p4_pd_ms_log_state"))
            states_.push_back(call.args[1]);
    }

    // The values of the words in a line. A name without a value is an argument that the function doesn't have.
    std::map<std::string, std::optional<uint64_t>> names = {
        {"sess", session}, {"tgt", target_word}, {"dev", device}, {"all_pipes", all_pipes_word}, {"*", ~0ull}};
    const catalog::Profile* profile = nullptr;

    template <class Body>
    void for_profiles(Body body) {
        for (const catalog::Profile& each : catalog::program.profiles) {
            SCOPED_TRACE(each.name);
            use(each);
            body();
        }
    }
    void use(const catalog::Profile& next) {
        profile = &next;
        names["adt"] = next.data_table;
        names["sel"] = next.selector;
        names["tbl"] = table_named(next.table).handle;
        names["state"] = states_.at(static_cast<size_t>(&next - catalog::program.profiles.begin()));
    }

    const catalog::Binding& action(size_t i) const {
        return profile->actions.begin()[i];
    }

    // Calls an operation of the profile, of its table, or by its name. Integers have garbage above their 32 bits.
    pd_status run(const std::string& operation, const std::string& arguments) {
        return run_export(profile->name + ("_" + operation), arguments);
    }
    pd_status run_on_table(const std::string& operation, const std::string& arguments) {
        return run_export(profile->table + ("_" + operation), arguments);
    }
    pd_status run_export(const std::string& name, const std::string& arguments) {
        std::vector<uint64_t> words;
        for (const std::string& name_or_number : split(arguments))
            if (const auto value = value_of(name_or_number))
                words.push_back(*value >> 32 == 0 ? dirty(static_cast<uint32_t>(*value)) : *value);
        return call(exported(name), words);
    }

    // Expects that just these calls were made since the last look, in this order: "function argument ...", where `*` is
    // an address inside the library.
    std::vector<vl_model::Call> expect_calls(const Lines& expected) {
        std::vector<vl_model::Call> made = calls();
        Lines made_lines, expected_lines;
        for (const vl_model::Call& call : made)
            made_lines.push_back(line_of(call.function, call.args));
        made.resize(std::max(made.size(), expected.size()));
        for (size_t i = 0; i < expected.size(); ++i) {
            const Lines words = split(expected[i]);
            std::vector<uint64_t>& args = made[i].args;
            args.resize(std::max(args.size(), words.size() - 1));
            std::vector<uint64_t> wanted;
            for (size_t j = 1; j < words.size(); ++j)
                wanted.push_back(words[j] == "*" && args[j - 1] != 0 ? args[j - 1] : value_of(words[j]).value());
            expected_lines.push_back(line_of(words[0], wanted));
        }
        EXPECT_EQ(made_lines, expected_lines);
        return made;
    }

    // Expects that an operation is one driver call with these arguments. The driver refuses it, and its status is the
    // result.
    void expect_forwarded(const std::string& name, const std::string& arguments, const std::string& expected) {
        SCOPED_TRACE(name);
        vl_model::fail_call(split(expected)[0], 1, 77);
        EXPECT_EQ(run_export(name, arguments), 77u);
        expect_calls({expected});
    }

    // The same for rows of a profile's operations, their arguments and their calls. `handle_operation` returns a handle
    // without a call.
    template <size_t count>
    void expect_profile_forwards(const char* const (&operations)[count][3], const char* handle_operation,
                                 uint32_t catalog::Profile::*handle) {
        constexpr uint32_t untouched = 0xA5A5A5A5;
        uint32_t out = untouched, cookie = 0;
        names["out"] = word(&out);
        names["cookie"] = word(&cookie);
        for_profiles([&] {
            out = untouched;
            for (const auto& [operation, arguments, expected] : operations)
                expect_forwarded(std::string(profile->name) + "_" + operation, arguments, expected);
            EXPECT_EQ(out, untouched) << "refused calls write nothing";
            EXPECT_EQ(call(exported(profile->name) + "_" + handle_operation, {0}), 0u);
            EXPECT_EQ(run(handle_operation, "out"), 0u);
            EXPECT_EQ(out, profile->*handle);
            expect_calls({});
        });
    }

    // Names "spec", if the action has parameters.
    void name_spec(const catalog::Binding& binding, const Bytes& values = wide_values) {
        names["spec"] = action_of(binding).params.size() == 0 ? std::nullopt : std::optional(word(values.data()));
    }

    // Set-up that leaves no recorded calls behind.
    pd_member add_member(size_t i = 0) {
        pd_member member = 0;
        names["made"] = word(&member);
        name_spec(action(i));
        EXPECT_EQ(run(std::string("add_member_with_") + action(i).action, "sess tgt spec made"), 0u);
        calls();
        return member;
    }
    pd_group add_group(std::initializer_list<pd_member> members = {}) {
        pd_group group = 0;
        names["made"] = word(&group);
        EXPECT_EQ(run("create_group", "sess tgt 0 made"), 0u);
        names["made"] = group;
        for (const pd_member member : members)
            EXPECT_EQ(run("add_member_to_group", "sess dev made " + std::to_string(member)), 0u);
        calls();
        return group;
    }

    p4_pd_ms_state* state() {
        return reinterpret_cast<p4_pd_ms_state*>(*names["state"]);
    }
    // The action that the shadow has for a group, or 0.
    uint32_t action_of_group(pd_group group) {
        uint32_t action_hdl = 0;
        p4_pd_ms_get_grp_act(state(), device, group, &action_hdl);
        calls();
        return action_hdl;
    }

    Lines functions_called() {
        Lines functions;
        for (const vl_model::Call& call : calls())
            functions.push_back(call.function);
        return functions;
    }

private:
    static std::string line_of(const std::string& function, const std::vector<uint64_t>& args) {
        std::ostringstream line;
        line << function << std::hex;
        for (const uint64_t arg : args)
            line << ' ' << arg;
        return line.str();
    }
    static Lines split(const std::string& line) {
        std::istringstream words(line);
        return {std::istream_iterator<std::string>(words), {}};
    }
    std::optional<uint64_t> value_of(const std::string& name_or_number) const {
        if (name_or_number[0] >= '0' && name_or_number[0] <= '9') return std::stoull(name_or_number, nullptr, 0);
        return names.at(name_or_number);
    }

    std::vector<uint64_t> states_;
};

// Expects that the record has no resources, and that every reserved byte is 0.
inline void expect_clear_rest(const vl_model::ActionCopy& action) {
    EXPECT_TRUE(is_clear(action.slots.data(), sizeof action.slots));
    EXPECT_EQ(action.reserved, decltype(action.reserved){});
    EXPECT_EQ(action.resource_count, 0);
}

} // namespace support
