// What an operation leaves behind when one of its steps fails. A step is a call of the driver or an allocation. Every
// exported function is called with its first step refused, then with its second, until no step is left. The same is
// done to the library's callbacks. The work of the embedded driver itself isn't swept.
#include "support/every_export.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include "vl_driver/profiles.h"
#include "vl_driver/tables.h"

namespace {

using namespace support;
using vl_model::AnsweredCall;

constexpr uint32_t refusal = 77;

// What is known of the members and groups of all profiles, a line for each fact.
using Facts = std::set<std::string>;

std::string fact(const char* profile, const char* what, uint32_t handle) {
    return std::string(profile) + what + std::to_string(handle);
}

Facts driver_facts(pd_session session) {
    Facts facts;
    for (const catalog::Profile& profile : catalog::program.profiles) {
        uint32_t at = 0;
        const auto first = [&](uint32_t table) {
            return pipe_mgr_get_first_entry_handle(session, table, {device, PIPE_ALL_PIPES, 0}, &at) == 0;
        };
        const auto next = [&](uint32_t table) {
            return pipe_mgr_get_next_entry_handles(session, table, {device, PIPE_ALL_PIPES, 0}, at, 1, &at) == 0 &&
                   at != PIPE_HDL_END;
        };
        for (bool more = first(profile.data_table); more; more = next(profile.data_table))
            facts.insert(fact(profile.name, " member ", at));
        for (bool more = first(profile.selector); more; more = next(profile.selector)) {
            const std::string group = fact(profile.name, " group ", at);
            facts.insert(group);
            uint32_t members[8], count = 0;
            uint8_t states[8];
            pipe_mgr_sel_grp_mbrs_get(session, device, profile.selector, at, 8, members, states, &count, 0);
            for (uint32_t i = 0; i < count; ++i)
                facts.insert(fact(group.c_str(), " has ", members[i]));
        }
    }
    return facts;
}

// The facts that a device state log tells, actions included.
Facts logged_facts(const char* text) {
    Facts facts;
    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> json(cJSON_Parse(text), &cJSON_Delete);
    const auto in = [](const cJSON* object, const char* key) { return cJSON_GetObjectItem(object, key); };
    const auto handle = [&](const cJSON* object, const char* key) {
        return static_cast<uint32_t>(cJSON_GetNumberValue(in(object, key)));
    };
    const cJSON *profile, *each, *member;
    cJSON_ArrayForEach(profile, in(in(json.get(), "p4_pd_velmar_switch_pd"), "act_profs")) {
        for (const char* const kind : {"member", "group"}) {
            cJSON_ArrayForEach(each, in(profile, (kind + std::string("s")).c_str())) {
                const std::string line = fact(cJSON_GetStringValue(in(profile, "name")),
                                              (std::string(" ") + kind + " ").c_str(), handle(each, kind));
                facts.insert(line);
                if (in(each, "action") != nullptr) facts.insert(line + " acts");
                cJSON_ArrayForEach(member, in(each, "members"))
                    facts.insert(fact(line.c_str(), " has ", static_cast<uint32_t>(cJSON_GetNumberValue(member))));
            }
        }
    }
    return facts;
}

using Text = std::unique_ptr<char, decltype(&std::free)>;

Text state_log() {
    return {vl_model_state_log(device), &std::free};
}

Facts shadow_facts() {
    return logged_facts(state_log().get());
}

// What became true and what no longer is. Handles are left out, because they differ from attempt to attempt.
Facts change(const Facts& before, const Facts& after) {
    Facts changes;
    const auto compare = [&](const Facts& of, const Facts& other, const char* sign) {
        for (const std::string& line : of) {
            if (other.contains(line)) continue;
            std::string kind = sign + line;
            std::erase_if(kind, [](char c) { return c >= '0' && c <= '9'; });
            changes.insert(kind);
        }
    };
    compare(after, before, "+");
    compare(before, after, "-");
    return changes;
}

Facts without(Facts facts, const char* ending) {
    std::erase_if(facts, [&](const std::string& line) { return line.ends_with(ending); });
    return facts;
}

// A call of an exported function with one step refused.
struct Attempt {
    std::string refused; // the step; empty if the call had fewer steps
    size_t position = 0; // the number of calls up to the step
    uint64_t result = 0;
    std::vector<std::string> functions; // that were called, and what they were sent
    std::vector<std::string> sent;
    uint32_t last_status = 0;
    std::map<std::string, std::string> outputs;
    Facts driver, shadow; // changes

    Attempt(ExportCalls& calls, const Export& each, size_t step) {
        const bool of_profile = each.has("ActionProfile_");
        calls.prepare(each);
        const Facts driver_before = of_profile ? driver_facts(calls.session()) : Facts{};
        const Facts shadow_before = of_profile ? shadow_facts() : Facts{};
        vl_model::record_calls(true);
        size_t count = 0, seen = 0, depth = 0;
        vl_model::answer_calls("*", [&](const AnsweredCall& call) -> uint64_t {
            // A snapshot service that doesn't tell the size of a capture doesn't deliver it either.
            const bool is_silent = refused == "bf_snapshot_capture_phv_fields_dict_size";
            const bool is_step =
                depth == 0 && call.function != "bf_sys_free" && call.function != "bf_sys_log_and_trace";
            ++seen;
            if (is_step && ++count == step) {
                refused = call.function;
                position = seen;
                return refused == "bf_sys_calloc" ? 0 : refusal;
            }
            if (is_silent && call.function.starts_with("bf_snapshot_")) return refusal;
            ++depth;
            const uint64_t driver_result = call.driver();
            --depth;
            return driver_result;
        });
        result = calls.run();
        vl_model::answer_calls("*", {});
        std::vector<uint32_t> handles = calls.handles();
        for (const auto& [what, bytes] : calls.outputs()) {
            std::string text(bytes->begin(), bytes->end());
            if (what.ends_with("_hdl") && text[0] != '\xEE') { // differs from attempt to attempt
                if (of_profile) handles.push_back(*reinterpret_cast<const uint32_t*>(bytes->data()));
                text.replace(0, 4, "made");
            }
            outputs[what] = text;
        }
        for (const vl_model::Call& made : vl_model::take_calls()) {
            functions.push_back(made.function);
            sent.push_back(calls.sent(made, handles));
            if (!made.function.starts_with("bf_sys_")) last_status = made.status;
        }
        vl_model::record_calls(false);
        EXPECT_EQ(vl_model::live_allocations(), 0u);
        if (!of_profile) return;
        driver = change(driver_before, driver_facts(calls.session()));
        shadow = change(shadow_before, shadow_facts());
    }
};

// The shadow learns of a change after the driver has accepted it, so its refusal doesn't count. No member has
// resources, so a refusal to list them doesn't count either.
bool is_ignored(const std::string& step) {
    return step.starts_with("p4_pd_ms_") && !step.starts_with("p4_pd_ms_get_") && step != "p4_pd_ms_del_grp";
}

// After these steps fail, the call goes on, but sends something else.
bool is_guessed(const Export& each, const std::string& step) {
    return step == "bf_snapshot_capture_phv_fields_dict_size" ||
           (step == "pipe_mgr_hash_calc_input_get" && each.has("_input_field_attribute_"));
}

uint64_t expected_result(const Export& each, const Attempt& failed, const Attempt& good) {
    const bool by_number = each.name.ends_with("_algorithm_get") || each.name.ends_with("_input_get");
    if (is_ignored(failed.refused)) return good.result;
    if (is_guessed(each, failed.refused)) return failed.last_status;
    if (each.result.starts_with("int")) return 0; // no text
    if (failed.refused == "bf_sys_calloc") return PD_STATUS_NO_MEMORY;
    return by_number ? uint32_t{PD_STATUS_INVALID} : refusal;
}

// Outputs that are written although a step fails.
std::map<std::string, std::string> expected_outputs(const Export& each, const Attempt& failed, const Attempt& good,
                                                    const std::string& row) {
    if (is_ignored(failed.refused)) return good.outputs;
    const std::string ones(4, '\xFF'), zeros(4, 0);
    std::map<std::string, std::string> outputs;
    for (const auto& [what, bytes] : good.outputs) {
        std::string begin;
        if (each.has("_get_property")) begin = ones;
        if (what == "hit_state") begin = zeros;
        if (what == "count" && (each.has("_input_field_attribute_") || each.has("_snapshot_"))) begin = zeros;
        if (what == "stages" && failed.refused == "bf_snapshot_capture_get") begin.assign(PD_SNAPSHOT_RECORD_SIZE, 0);
        if (what == "message") {
            const bool was_decoded = std::count(failed.functions.begin(), failed.functions.end(), "pipe_mgr_get_entry");
            begin = was_decoded ? exported(row) + "_get_entry failed" : "Failed to decode plcmt_data in table " + row;
            begin += '\0';
        }
        outputs[what] = begin + std::string(bytes.size() - begin.size(), '\xEE');
    }
    return outputs;
}

void expect_calls(const Export& each, const Attempt& failed, const Attempt& good) {
    if (is_ignored(failed.refused)) {
        EXPECT_EQ(failed.sent, good.sent);
    } else if (is_guessed(each, failed.refused)) {
        EXPECT_EQ(failed.functions, good.functions);
    } else {
        const auto stop = static_cast<std::ptrdiff_t>(failed.position);
        EXPECT_EQ(
            std::vector(failed.sent.begin(), failed.sent.begin() + stop),
            std::vector(good.sent.begin(), good.sent.begin() + std::min<std::ptrdiff_t>(stop, std::ssize(good.sent))));
        // These two allocate both their lists before they check either.
        std::set<std::string> after(failed.functions.begin() + stop, failed.functions.end());
        after.erase("bf_sys_free");
        if ((each.has("_range_read_") || each.has("_del_group")) && failed.refused == "bf_sys_calloc")
            after.erase("bf_sys_calloc");
        EXPECT_EQ(after, std::set<std::string>());
    }
}

// If the shadow refuses a step, it misses what that step and the steps that depend on it should have told it.
void expect_facts(const Attempt& failed, const Attempt& good) {
    const std::string& step = failed.refused;
    const bool is_accepted = is_ignored(step) || step == "p4_pd_ms_del_grp";
    EXPECT_EQ(failed.driver, is_accepted ? good.driver : Facts());
    Facts shadow;
    for (const std::string& line : good.shadow) {
        const bool acts = line.ends_with(" acts");
        const bool told = acts ? step == "p4_pd_ms_add_mbr_to_grp" : step.starts_with("p4_pd_ms_set_");
        if (told) shadow.insert(line);
    }
    EXPECT_EQ(failed.shadow, shadow);
}

// True for the few functions that can't succeed here. No digest has come to acknowledge. The program has no direct
// register. A keyless table has no entries to walk, and ingressPortMapping has no default entry.
bool must_fail(const Export& each, const std::string& row) {
    if (each.has("Digest_notify_ack")) return true;
    if (each.has("_register_")) return each.name.ends_with("_direct");
    if (row == "ingressPortMapping") return each.has("_get_default_entry");
    const bool is_walk = each.has("_get_first_entry_handle") || each.has("_get_next_entry_handles");
    for (const catalog::Table* table : keyed_tables())
        if (row == table->name) return false;
    return is_walk && !row.starts_with("pvs_");
}

void refuse_each_step(ExportCalls& calls) {
    size_t refused_steps = 0;
    for (const Export& each : every_export()) {
        std::vector<Attempt> failed;
        Attempt good(calls, each, 1);
        for (; !good.refused.empty(); good = Attempt(calls, each, failed.size() + 1)) {
            failed.push_back(good);
            ASSERT_LT(failed.size(), 50u) << each.name << " has no end";
        }
        if (good.result == 0) calls.keep();
        SCOPED_TRACE(each.name);
        if (each.result.starts_with("pd_status")) {
            EXPECT_EQ(good.result != 0, must_fail(each, calls.row())) << good.result;
        }
        EXPECT_EQ(without(good.shadow, " acts"), good.driver);
        for (const Attempt& attempt : failed) {
            SCOPED_TRACE(attempt.refused + " is refused");
            EXPECT_EQ(attempt.result, expected_result(each, attempt, good));
            EXPECT_EQ(attempt.outputs, expected_outputs(each, attempt, good, calls.row()));
            expect_calls(each, attempt, good);
            expect_facts(attempt, good);
            ++refused_steps;
        }
    }
    EXPECT_GT(refused_steps, every_export().size() / 2);
}

TEST(Faults, EachStepOfEachExport) {
    ExportCalls calls;
    refuse_each_step(calls);
}

TEST(Faults, EachStepOfEachExportWithOtherArguments) {
    ExportCalls calls;
    calls.read_otherwise();
    refuse_each_step(calls);
}

// What a restore or a state log lacks if one call about a profile was refused.
Facts lost_by(const std::string& step, const std::string& profile, const std::string& handle, const Facts& all) {
    const std::string member = profile + " member " + handle, group = profile + " group " + handle;
    Facts joined, wanted;
    for (const std::string& line : all) {
        if (line.starts_with(profile) && line.ends_with(" has " + handle)) joined.insert(line);
        const bool is_whole =
            step.find("_state") != step.npos || (step == "p4_pd_ms_new_grp" && line.starts_with(group));
        if (is_whole && line.starts_with(profile)) wanted.insert(line);
    }
    if (step == "p4_pd_ms_add_mbr_to_grp") return joined;
    if (step == "p4_pd_ms_new_mbr") wanted.insert(member);
    if (step == "p4_pd_ms_new_mbr" || step == "p4_pd_ms_set_mbr_act") wanted.insert(member + " acts");
    if (step == "p4_pd_ms_set_grp_act") wanted.insert(group + " acts");
    if (step.ends_with("mbr") || step.ends_with("mbr_act")) // a group takes its action from its member
        for (const std::string& line : joined)
            wanted.insert(line.substr(0, line.find(" has ")) + " acts");
    return wanted;
}

void make_members_and_groups(ExportCalls& exports) {
    for (const Export& each : every_export()) {
        if (!each.has("ActionProfile_") || each.turn > 2) continue;
        exports.prepare(each);
        ASSERT_EQ(exports.run(), 0u);
        exports.keep();
    }
}

// The driver asks the library to log a device's state, to forget it, to restore it, and to restore it by a replay. If
// the shadow refuses a call, the other calls still follow, and only what depends on that call is missing.
TEST(Faults, EachShadowCallOfEachCallback) {
    ExportCalls exports;
    make_members_and_groups(exports);
    const Facts all = shadow_facts();
    const Text log = state_log();
    std::map<uint64_t, std::string> profiles; // by their states
    vl_model::answer_calls("p4_pd_ms_log_state", [&](const AnsweredCall& call) {
        profiles[call.args[1]] = catalog::program.profiles[profiles.size()].name;
        return call.driver();
    });
    ASSERT_EQ(shadow_facts(), all);
    vl_model::answer_calls("p4_pd_ms_log_state", {});

    const auto drop = [] { EXPECT_EQ(vl_model_device_state_drop(device), 0u); };
    const auto restore = [&] { EXPECT_EQ(vl_model_state_restore(device, log.get()), 0u); };
    const auto replay = [&] {
        EXPECT_EQ(p4_pd_velmar_switch_restore_virtual_dev_state(device, exports.session(), 0, 0, 0), 0u);
    };
    Facts logged;
    const std::function<void()> operations[] = {[&] { logged = shadow_facts(); }, drop, restore, replay};
    for (const auto& operation : operations) {
        const bool is_log = &operation == &operations[0], is_drop = &operation == &operations[1];
        std::optional<vl_model::Call> refused;
        size_t n = 0;
        do {
            drop();
            if (is_log || is_drop) restore();
            refused.reset();
            size_t count = 0;
            vl_model::answer_calls("p4_pd_ms_*", [&](const AnsweredCall& call) -> uint64_t {
                if (count++ != n) return call.driver();
                refused = call;
                return refusal;
            });
            operation();
            vl_model::answer_calls("p4_pd_ms_*", {});
            Facts expected = is_drop ? Facts() : all;
            for (size_t i = 0; refused && i < refused->args.size(); ++i) {
                const auto profile = profiles.find(refused->args[i]);
                if (profile == profiles.end()) continue;
                const uint64_t handle = i + 2 < refused->args.size() ? refused->args[i + 2] : 0;
                Facts lost = lost_by(refused->function, profile->second, std::to_string(handle), all);
                for (const std::string& line : lost)
                    expected.erase(line);
                if (is_drop) expected = lost; // these weren't forgotten
            }
            EXPECT_EQ(is_log ? logged : shadow_facts(), expected) << (refused ? refused->function : "nothing");
            ++n;
        } while (refused);
        EXPECT_GT(n, catalog::program.profiles.size());
    }
}

// The number of cJSON's allocation that fails, counted down, and cJSON's blocks in use.
size_t json_failing = 0;
std::set<void*> json_blocks;

// The library doesn't look at what cJSON's functions return, so what cJSON can't take in is lost.
TEST(Faults, AStateLogWhileMemoryIsShort) {
    ExportCalls exports;
    make_members_and_groups(exports);
    const Facts all = shadow_facts();
    const Text complete = state_log();
    cJSON_Hooks hooks = {.malloc_fn = [](size_t size) -> void* {
                             if (json_failing != 0 && --json_failing == 0) return nullptr;
                             return *json_blocks.insert(std::malloc(size)).first;
                         },
                         .free_fn =
                             [](void* block) {
                                 json_blocks.erase(block);
                                 std::free(block);
                             }};
    for (size_t n = 1; json_failing == 0; ++n) { // until no allocation fails
        cJSON_InitHooks(&hooks);
        json_failing = n;
        const Text log = state_log();
        cJSON_InitHooks(nullptr);
        std::for_each(json_blocks.begin(), json_blocks.end(), std::free);
        json_blocks.clear();
        EXPECT_EQ(vl_model_device_state_drop(device), 0u);
        if (log != nullptr) { // else the driver's own part failed
            EXPECT_EQ(vl_model_state_restore(device, log.get()), 0u);
        }
        const Facts restored = shadow_facts();
        EXPECT_TRUE(std::includes(all.begin(), all.end(), restored.begin(), restored.end())) << n;
        EXPECT_TRUE(restored == all || json_failing == 0) << n;
        EXPECT_EQ(vl_model_device_state_drop(device), 0u);
        EXPECT_EQ(vl_model_state_restore(device, complete.get()), 0u);
    }
    json_failing = 0;
}

} // namespace
