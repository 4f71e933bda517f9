// Digests, parser value sets and hash calculations: what reaches the driver, and what the library does itself.
#include "support/forwarding.h"

#include "vl_driver/driver.h"

namespace {

using namespace support;
using vl_model::output;

using Services = ForwardingTest;

constexpr uint64_t callback = 0x1111, cookie = 0x2222;
constexpr uint32_t wide_device = 0x103; // the driver takes the low eight bits

TEST_F(Services, DigestRegistrationsCutTheDevice) {
    for (const catalog::Digest& row : catalog::program.digests) {
        const std::string name = row.name, notification = "pipe_mgr_lrn_digest_notification_";
        expect_forwarded(name + "_register", {dirty(session), wide_device, callback, cookie}, notification + "register",
                         {session, 3, row.handle, callback, cookie});
        expect_forwarded(name + "_deregister", {session, wide_device}, notification + "deregister",
                         {session, 3, row.handle});
        expect_forwarded(name + "_notify_ack", {session, 0x7777}, "pipe_mgr_flow_lrn_notify_ack",
                         {session, row.handle, 0x7777});
    }
    expect_forwarded("set_learning_timeout", {session, wide_device, dirty(500)}, "pipe_mgr_flow_lrn_set_timeout",
                     {session, 3, 500});
}

TEST_F(Services, DigestFieldsFollowEachOther) {
    const uint8_t entry[64] = {};
    uint32_t size = 0;
    const auto field = [&](const char* digest, const char* name) {
        return p4_pd_velmar_switch_get_digest_entry_field(entry, digest, name, &size);
    };
    for (const catalog::Digest& row : catalog::program.digests) {
        uint32_t offset = 0;
        for (const catalog::DigestField& each : row.fields) {
            EXPECT_EQ(field(row.name, each.pd_name), entry + offset) << each.pd_name;
            EXPECT_EQ(size, each.bytes);
            offset += each.bytes;
        }
        EXPECT_EQ(p4_pd_velmar_switch_get_digest_entry_size(row.name), offset);
    }
    EXPECT_EQ(p4_pd_velmar_switch_get_digest_entry_size("vtepLearningDigest"), 36u);
    EXPECT_EQ(field("vtepLearningDigest", "vxlanHdr_vniReserved"), entry + 35);
    EXPECT_EQ(field("macLearningDigest", "egrMd_routed"), nullptr);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(field("macLearning", "ingMd_smacOui"), nullptr);
    EXPECT_EQ(p4_pd_velmar_switch_get_digest_entry_size("macLearning"), 0u);
}

TEST_F(Services, ValueSets) {
    // A target is four words, sixteen bytes in two registers. Eight bits of the last word reach the driver.
    const Words target = {11ull << 32 | 3, 0xABCDEF0455555555}, target_args = {11, 0x55555555, 4};
    uint32_t out = 0, mask = 0;
    const std::vector<Operation> operations = {
        {"entry_add", target + Words{dirty(7), dirty(8), word(&out)}, "entry_add",
         target_args + Words{7, 8, word(&out)}},
        {"entry_modify", {dirty(3), dirty(60), 7, 8}, "entry_modify", {60, 7, 8}},
        {"entry_delete", {3, 60}, "entry_delete", {60}},
        {"entry_get", {3, 60, word(&out), word(&mask)}, "entry_get", {60, word(&out), word(&mask), 0, 0, 0}},
        {"entry_get_count", target + Words{0x201, word(&out)}, "entry_get_count", target_args + Words{1, word(&out)}},
        {"entry_handle_get", target + Words{7, 8, word(&out)}, "entry_handle_get",
         target_args + Words{7, 8, word(&out)}},
        {"entry_get_first_entry_handle", target + Words{word(&out)}, "entry_get_first",
         target_args + Words{word(&out)}},
        {"entry_get_next_entry_handles", target + Words{60, 2, word(&out)}, "entry_get_next",
         target_args + Words{60, 2, word(&out)}},
        {"set_property", {3, 1, 2, dirty(0x80000001)}, "set_property", {1, 2, 0x80000001, 0}},
        {"get_property", {3, 1, word(&out), dirty(0x80000001)}, "get_property", {1, some_address, 0x80000001, 0}},
    };
    for (const catalog::ValueSet& row : catalog::program.value_sets) {
        const std::string base = std::string("pvs_") + row.name + "_";
        vl_model::answer_calls_with("pipe_mgr_pvs_get_property", 0, output(4, 1234u));
        expect_operations(operations, base, {session}, "pipe_mgr_pvs_", {session, device, row.id});
        EXPECT_EQ(out, 1234u);
        vl_model::answer_calls_with("pipe_mgr_pvs_get_property", 77, output(4, 1234u));
        EXPECT_EQ(call(exported(base + "get_property"), {session, device, 1, word(&out), 0}), 77u);
        EXPECT_EQ(out, 0xFFFFFFFFu);
        calls();
    }
}

TEST_F(Services, HashAlgorithmSeedAndInput) {
    uint64_t seed = 0;
    uint8_t hash[4];
    vl_model::answer_calls_with("pipe_mgr_hash_calc_seed_get", 0, output(3, uint64_t{0x55}));
    for (const catalog::HashCalculation& row : catalog::program.hash_calculations) {
        SCOPED_TRACE(row.name);
        const std::string base = std::string("hash_calc_") + row.name + "_", driver = "pipe_mgr_hash_calc_";
        const std::vector<Operation> operations = {
            {"algorithm_set", {0}, "algorithm_set", {row.algorithm, 0, 0}},
            {"algorithm_set", {1}, "algorithm_set", {0, 0, 0}},
            {"input_set", {0}, "input_set", {row.input}},
            {"input_set", {2}, "input_set", {0}},
            {"seed_set", {0x123456789A}, "seed_set", {0x123456789A}},
            {"seed_get", {word(&seed)}, "seed_get", {word(&seed)}},
            {"calculate_hash_value",
             {0, 0, 0, word(hash), dirty(4)},
             "calculate_hash_value",
             {some_address, 0, word(hash), 4}},
        };
        expect_operations(operations, base, {session, device}, driver, {session, device, row.handle});
        EXPECT_EQ(seed, 0x55u);

        // The agent sees the row's handle as 0. Any other handle is refused.
        for (const auto& [get, handle] :
             {std::pair("algorithm_get", row.algorithm), std::pair("input_get", row.input)}) {
            uint32_t out = 42;
            const auto expect_get = [&, get = get](uint32_t driver_handle, pipe_status driver_status, pd_status status,
                                                   uint32_t expected) {
                vl_model::answer_calls_with(driver + get, driver_status, output(3, driver_handle));
                EXPECT_EQ(call(exported(base + get), {session, device, word(&out)}), status) << get;
                EXPECT_EQ(out, expected);
            };
            expect_get(0, 0, PD_STATUS_INVALID, 42);
            expect_get(handle ^ 1, 0, PD_STATUS_INVALID, 42);
            expect_get(handle, 0, 0, 0);
            expect_get(handle, 8, 8, 0); // the handle counts, not the status
        }
        calls();
    }
}

class HashAttributes : public Services {
protected:
    const catalog::HashCalculation& row = catalog::program.hash_calculations[0];
    const std::string base = std::string("hash_calc_") + row.name + "_input_field_attribute_";
    const std::string driver = "pipe_mgr_hash_calc_input_field_attribute_";
    pd_hash_attribute attributes[2];
    uint32_t count = 42;

    HashAttributes() {
        std::memset(attributes, 0xEE, sizeof attributes);
        vl_model::answer_calls(driver + "count_get", [](const AnsweredCall& call) {
            EXPECT_EQ(*call.pointer<uint32_t>(4), 0u) << "the library writes it first";
            *call.pointer<uint32_t>(4) = 1;
            return 0;
        });
        vl_model::answer_calls(driver + "get", [](const AnsweredCall& call) {
            *call.pointer<pipe_hash_attribute>(5) = {1, 9, 9, 9, 2, 9, 3, 9};
            *call.pointer<uint32_t>(6) = 1;
            return 0;
        });
    }
    static void answer_input(uint32_t input, pipe_status status = 0) {
        vl_model::answer_calls_with("pipe_mgr_hash_calc_input_get", status, output(3, input));
    }
    pd_status set(uint32_t attribute_count) {
        return call(exported(base + "set"), {session, device, 0, attribute_count, word(attributes)});
    }
    pd_status get(uint32_t input, uint32_t room) {
        return call(exported(base + "get"), {session, device, input, room, word(attributes), word(&count)});
    }
    pd_status get_count(uint32_t input) {
        return call(exported(base + "count_get"), {session, device, input, word(&count)});
    }
    // The input's handle was asked for, and then one call was made with these arguments.
    void expect_asked(const std::string& function, const Words& args) {
        expect_calls({{"pipe_mgr_hash_calc_input_get", {session, device, row.handle, some_address}},
                      {driver + function, Words{session, device, row.handle} + args}});
    }
};

TEST_F(HashAttributes, Set) {
    const Words args = {session, device, row.handle, row.input};
    expect_forwarded(base + "set", {session, device, 0, 0, 0}, driver + "set", args + Words{0, 0});
    EXPECT_EQ(vl_model::allocations_made(), 0u);
    attributes[0].input_field = 5; // the driver gets the low 32 bits of each value
    attributes[0].attr_type = 6;
    attributes[0].attr_value = 7;
    const Call sent = expect_forwarded(base + "set", {session, device, 0, 2, word(attributes)}, driver + "set",
                                       args + Words{2, some_address});
    const pipe_hash_attribute expected[2] = {{5, 0, 0, 6, 6, 0, 7, 0},
                                             {0xEEEEEEEE, 0, 0, 0xEEEEEEEF, 0xEEEEEEEE, 0, 0xEEEEEEEE, 0}};
    EXPECT_EQ(hex(sent.inputs[0]), hex(bytes_of(expected)));
}

TEST_F(HashAttributes, Get) {
    answer_input(row.input);
    EXPECT_EQ(get(0, 2), 0u);
    expect_asked("get", {row.input, 2, some_address, word(&count)});
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(attributes[0].input_field, 1u);
    EXPECT_EQ(attributes[0].attr_type, 2u);
    EXPECT_EQ(attributes[0].attr_value, 3u);
    EXPECT_EQ(attributes[1].input_field, 0xEEEEEEEEu);
    EXPECT_EQ(get_count(0), 0u);
    expect_asked("count_get", {row.input, word(&count)});

    // The calculation has one input, with the number 0. For another number, get writes a count of 0 and get_count none.
    count = 42;
    EXPECT_EQ(get_count(1), +PD_STATUS_INVALID);
    EXPECT_EQ(count, 42u);
    EXPECT_EQ(get(1, 2), +PD_STATUS_INVALID);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(driver_calls().size(), 2u) << "the library only asks for the inputs";

    count = 42;
    EXPECT_EQ(get(0, 0), 0u);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(driver_calls().size(), 1u) << "without room, the attributes aren't read";
}

// If the driver names another input, the library passes that input on, whichever number the agent gives. After a failed
// call the input is 0.
TEST_F(HashAttributes, GetOfAnotherInput) {
    for (const auto& [input, status] : {std::pair(row.input ^ 1, 0u), std::pair(0u, 5u)}) {
        answer_input(input, status);
        EXPECT_EQ(get_count(1), 0u);
        expect_asked("count_get", {input, word(&count)});
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(get(1, 2), 0u);
        expect_asked("get", {input, 2, some_address, word(&count)});
    }
}

TEST_F(HashAttributes, AFailedGetWritesNoAttributes) {
    vl_model::answer_calls(driver + "get", [](const AnsweredCall& call) {
        call.pointer<pipe_hash_attribute>(5)->input_field = 78;
        *call.pointer<uint32_t>(6) = 1;
        return 6;
    });
    EXPECT_EQ(get(0, 1), 6u);
    EXPECT_EQ(attributes[0].input_field, 0xEEEEEEEEu);
}

// A field of up to 32 bits is an integer. A wider field is the address of its bytes. The stream begins with the first
// field.
TEST_F(Services, HashesOfFieldValues) {
    const uint8_t wide[] = {0x01, 0x80, 0x00, 0x00, 0x01};
    pd_hash_attribute fields[3];
    std::memset(fields, 0xEE, sizeof fields);
    fields[0].attr_bytes = wide;
    fields[1].attr_value = 0xAABBCCDD;
    fields[2].attr_value = 5;
    const uint32_t widths[] = {33, 32, 3};
    uint8_t hash[3];
    const catalog::HashCalculation& row = catalog::program.hash_calculations[0];
    const std::string calculate = std::string("hash_calc_") + row.name + "_calculate_hash_value";
    const auto words = [&](uint32_t count) {
        return Words{session, device, count, word(fields), word(widths), word(hash), 3};
    };
    const struct {
        uint32_t count, length;
        const char* stream;
    } cases[] = {{3, 9, "0c 00 00 00 0d 55 de 66 ed"},
                 {2, 9, "01 80 00 00 01 aa bb cc dd"},
                 {1, 5, "01 80 00 00 01"},
                 {0, 0, ""}};
    for (const auto& [count, length, stream] : cases) {
        const size_t allocations = vl_model::allocations_made();
        const Call made = expect_forwarded(calculate, words(count), "pipe_mgr_hash_calc_calculate_hash_value",
                                           {session, device, row.handle, some_address, length, word(hash), 3});
        EXPECT_EQ(hex(made.bytes), stream);
        EXPECT_EQ(vl_model::allocations_made() - allocations, 2u) << "one for each of the two calls";
        EXPECT_EQ(vl_model::live_allocations(), 0u);
        vl_model::fail_allocation(1); // no fields need no memory
        EXPECT_EQ(call(exported(calculate), words(count)), count == 0 ? 0u : +PD_STATUS_NO_MEMORY);
        EXPECT_EQ(driver_calls().size(), count == 0 ? 1u : 0u);
    }
}

} // namespace
