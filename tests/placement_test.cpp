// Fetching and decoding placement data: where decoders and reads make the same of the driver's records, where they
// differ, and which arguments of a fetch reach the driver.
#include "support/views.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <tuple>

#include "support/profiles.h"
#include "support/text.h"

namespace {

using namespace support;

class Placement : public ProfileTest {
protected:
    std::mt19937 random{20240712};
    const Outputs fresh{};

    Placement() {
        answer_with_views();
        names["blob"] = blob;
    }

    // The driver gives the decoder and the read the same records. Only the kinds may differ, because a read refuses
    // kinds that a decoder ignores.
    void expect_agreement(const catalog::Table& table, const View& view, unsigned kind, pd_status when_decoded = 0,
                          pd_status when_read = 0) {
        software = hardware = view;
        software.action.kind = static_cast<uint8_t>(kind);
        const catalog::KeyLayout layout = catalog::key_layout(table);
        hardware.key.resize(layout.bytes); // a read gives the table's own entries
        hardware.mask.resize(layout.bytes);
        Outputs decoded, as_read;
        EXPECT_EQ(decode(table, decoded), when_decoded);
        EXPECT_EQ(read(table, as_read), when_read);
        EXPECT_TRUE(decoded == as_read) << hex(decoded.key) << "\n" << hex(as_read.key);
        const auto expect_untouched = [](const Bytes& bytes, size_t from) {
            for (; from < bytes.size(); ++from)
                EXPECT_EQ(bytes[from], 0xA5);
        };
        expect_untouched(decoded.key, layout.record_size);
        size_t action_size = 0;
        if (!catalog::is_indirect(table) && when_decoded == 0)
            action_size = 4 + catalog::action_layout(catalog::program.actions[decoded.number()]).record_size;
        expect_untouched(decoded.action, action_size);
    }

    void expect_assertion(const std::string& function) {
        const std::vector<std::string> lines = log_lines();
        ASSERT_FALSE(lines.empty());
        EXPECT_TRUE(lines[0].starts_with("ASSERTION FAILED: \"((void *)0)\" (NULL) from " + exported(function) + ":"))
            << lines[0];
    }
};

TEST_F(Placement, DecodersAgreeWithReads) {
    for (const catalog::Table* table : all_tables()) {
        SCOPED_TRACE(table->name);
        const auto every_key = [&](View view, unsigned kind) {
            expect_agreement(*table, view, kind);
            view.key_null = true;
            expect_agreement(*table, view, kind);
            view.key_null = false;
            view.match.key_len = 0;
            expect_agreement(*table, view, kind);
        };
        for (const catalog::Binding& binding : table->actions)
            for (const unsigned kind : {0u, 1u, 2u, 4u})
                every_key(random_view(random, table, &binding), kind);
        if (!catalog::is_indirect(*table)) continue;
        View view = random_view(random, table, nullptr);
        view.action_hdl = 0x20000001;   // ignored
        view.action.resource_count = 1; // but no list of resources is made
        const size_t before = vl_model::allocations_made();
        for (const unsigned kind : {0u, 1u, 2u, 3u, 4u, 6u}) {
            view.set_target(kind, static_cast<uint32_t>(random()));
            every_key(view, kind);
        }
        EXPECT_EQ(vl_model::allocations_made(), before);
    }
    EXPECT_TRUE(log_lines().empty());
}

// A table's functions get the data of any other table's entry and take no more than fits their records and buffers.
TEST_F(Placement, DataOfAnyTableByEveryTable) {
    const int nowhere = open("/dev/null", O_WRONLY);
    vl_model::record_calls(false); // there are very many
    vl_model_log_sink_set([](int, int, const char*, void*) {}, nullptr);
    for (const catalog::Table* owner : all_tables()) {
        const catalog::Binding* const binding = catalog::is_indirect(*owner) ? nullptr : owner->actions.begin();
        View view = random_view(random, owner, binding);
        view.action.kind = PIPE_KIND_ACTION_DATA; // reads refuse other kinds
        for (const catalog::Table* table : all_tables()) {
            SCOPED_TRACE(owner->name + std::string(" by ") + table->name);
            const bool known = table == owner || catalog::is_indirect(*table);
            expect_agreement(*table, view, PIPE_KIND_ACTION_DATA, known ? 0 : +PD_STATUS_INVALID,
                             known ? 0 : +PD_STATUS_UNEXPECTED);
            const std::string text = text_of(table->name + std::string("_plcmt_data_value"), {blob});
            EXPECT_EQ(text.empty(), !known);
            EXPECT_EQ(call(exported(table->name) + "_plcmt_data_print", {static_cast<uint32_t>(nowhere), 0, blob}),
                      known ? 0 : +PD_STATUS_INVALID);
            char message[256];
            EXPECT_EQ(call(exported(table->name) + "_plcmt_data_eq_to_hw", {1, device, 0, 9, blob, word(message)}),
                      known);
        }
    }
    close(nowhere);
}

TEST_F(Placement, RefusalsAndForeignActions) {
    for (const catalog::Table* table : all_tables()) {
        SCOPED_TRACE(table->name);
        const catalog::Binding* const binding = catalog::is_indirect(*table) ? nullptr : table->actions.begin();
        View view = random_view(random, table, binding);
        software = view;
        software.status = 77;
        Outputs out;
        EXPECT_EQ(decode(*table, out), 77u);
        EXPECT_TRUE(out == fresh);
        if (catalog::is_indirect(*table)) continue;
        software.status = 0;
        software.action.kind = 0;
        vl_model::fail_allocation(1);
        EXPECT_EQ(decode(*table, out), +PD_STATUS_NO_MEMORY) << "the kind doesn't matter to the list";
        EXPECT_TRUE(out == fresh);
        for (const uint32_t foreign : {0u, binding->handle ^ 0x1000}) {
            view.action_hdl = foreign;
            calls();
            expect_agreement(*table, view, 2, PD_STATUS_INVALID, PD_STATUS_UNEXPECTED);
            expect_assertion(table->name + std::string("_get_entry_from_plcmt_data"));
        }
        EXPECT_EQ(decode(*table, out), +PD_STATUS_INVALID);
        EXPECT_EQ(out.action, fresh.action);
        EXPECT_EQ(out.is_default, is_keyless(*table) ? 1 : 0);
    }
}

TEST_F(Placement, Members) {
    Bytes record;
    names["mbr"] = 0x1234;
    const auto run_reader = [&](const char* operation, const char* arguments) {
        calls();
        record.assign(40, 0xA5);
        names["record"] = word(record.data());
        return run(operation, arguments);
    };
    const auto of_data = [&] { return run_reader("get_member_from_plcmt_data", "blob record"); };
    const auto in_full = [&] { return run_reader("get_full_member_info_from_plcmt_data", "dev mbr blob record"); };
    const std::string decoded = "pipe_mgr_plcmt_adt_data_get_entry blob * *";
    const auto expect_all = [&](bool has_shadow) {
        for_profiles([&] {
            for (const catalog::Binding& binding : profile->actions) {
                SCOPED_TRACE(binding.action);
                software = hardware = random_view(random, nullptr, &binding);
                EXPECT_EQ(run_reader("get_member", "sess dev mbr 0 record"), 0u);
                const std::string as_read = hex(record);
                const std::string ask = "p4_pd_ms_mbr_get_res state dev mbr * *";
                const bool has_params = action_of(binding).params.size() != 0;
                EXPECT_EQ(has_params, calls().back().function == "p4_pd_ms_mbr_get_res") << "also without a shadow";
                EXPECT_EQ(of_data(), 0u);
                EXPECT_EQ(hex(record), as_read);
                expect_calls({decoded});
                EXPECT_EQ(in_full(), 0u);
                EXPECT_EQ(hex(record), as_read);
                expect_calls(has_shadow && has_params ? Lines{decoded, ask} : Lines{decoded});
            }
        });
    };
    expect_all(true);
    for_profiles([&] {
        const auto expect_refusal = [&](pd_status status, bool asserts) {
            EXPECT_EQ(of_data(), status);
            if (asserts) expect_assertion(profile->name + std::string("_get_member_from_plcmt_data"));
            EXPECT_EQ(in_full(), status);
            if (asserts) expect_assertion(profile->name + std::string("_get_full_member_info_from_plcmt_data"));
            EXPECT_EQ(record, Bytes(40, 0xA5));
        };
        // A member of no profile, and the other profiles' members.
        software = {};
        software.action_hdl = profile->actions.begin()->handle ^ 0x1000;
        expect_refusal(PD_STATUS_UNEXPECTED, true);
        for (const catalog::Profile& other : catalog::program.profiles)
            for (const catalog::Binding& binding : other.actions)
                if (&other != profile) {
                    software = random_view(random, nullptr, &binding);
                    expect_refusal(PD_STATUS_UNEXPECTED, true);
                }
        software.status = 77;
        expect_refusal(77, false);
    });
    // A library without shadows, because the driver made none, is like a library that hasn't started.
    vl_model_reset();
    answer_with_views();
    for (unsigned i = 1; i <= catalog::program.profiles.size(); ++i)
        vl_model::fail_call("p4_pd_ms_init_state", i, 1);
    p4_pd_velmar_switch_init();
    vl_model::record_calls(true);
    expect_all(false);
}

using Real = double;
using Integer = uint64_t;

// More arguments than registers for integers and for floating-point numbers.
using Passed = std::tuple<uint32_t, Integer, uint32_t, Integer, Integer, Integer, Integer, Integer, Real, Real, Real,
                          Real, Real, Real, Real, Real, Real, Real>;
Passed passed;
const char* passed_to;

TEST_F(Placement, FetchingReplacesTheThirdArgumentAlone) {
    const auto expect_passed = [&](const std::string& name, const char* to, uint32_t handle) {
        SCOPED_TRACE(name);
        auto* const fetch =
            reinterpret_cast<uint32_t (*)(uint32_t, Integer, uint32_t, Integer, Integer, Integer, Integer, Integer,
                                          Real, Real, Real, Real, Real, Real, Real, Real, Real, Real)>(
                dlsym(RTLD_DEFAULT, exported(name + "_plcmt_data").c_str()));
        ASSERT_NE(fetch, nullptr);
        Passed sent = {0xFFFFFFF1, target_word, 0xFFFFFFFF, 4ull << 40, 5,  6,  7ull << 60, 8,  .1,
                       .2,         .3,          .4,         .5,         .6, .7, .8,         .9, 1.1};
        passed = {};
        EXPECT_EQ(std::apply(fetch, sent), 0xFEDCBA98u);
        std::get<2>(sent) = handle;
        EXPECT_STREQ(passed_to, to);
        EXPECT_TRUE(passed == sent);
    };
    for (const catalog::Table* table : all_tables())
        expect_passed(table->name + std::string("_get"), "entry", table->handle);
    for (const catalog::Profile& each : catalog::program.profiles) {
        expect_passed(each.name + std::string("_get"), "member", each.data_table);
        expect_passed(each.name + std::string("_sel_get"), "group", each.selector);
    }
}

} // namespace

// The embedded driver records only the arguments that the boundary declares. These functions replace its own, to see
// more of them. So this file can't include the boundary's header.
#define VL_FETCH(function, name)                                                                                       \
    extern "C" [[gnu::visibility("default")]] uint32_t function(                                                       \
        uint32_t s, Integer t, uint32_t h, Integer a, Integer b, Integer c, Integer d, Integer e, Real f, Real g,      \
        Real i, Real j, Real k, Real l, Real m, Real n, Real o, Real p) {                                              \
        passed = {s, t, h, a, b, c, d, e, f, g, i, j, k, l, m, n, o, p};                                               \
        passed_to = name;                                                                                              \
        return 0xFEDCBA98;                                                                                             \
    }
VL_FETCH(pipe_mgr_plcmt_mat_data_get, "entry")
VL_FETCH(pipe_mgr_plcmt_adt_data_get, "member")
VL_FETCH(pipe_mgr_plcmt_sel_data_get, "group")
