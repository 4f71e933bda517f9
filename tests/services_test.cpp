// Digests, parser value sets and hash calculations: what reaches the driver, and what is the library's own. The
// driver's functions are stood in for here.
#include "support/library.h"

#include <cstring>

#include "vl_driver/driver.h"

namespace {

using namespace support;
using Words = std::vector<uint64_t>;

struct Seen {
    std::string function;
    Words args; // integers and callbacks; null pointers as 0
    Bytes bytes;
};

std::vector<Seen> seen;
pipe_status answer;                      // of every call
std::string refused;                     // but of the function that refuses, with status 5
uint32_t driver_input, driver_algorithm; // what the driver says that a calculation has
uint32_t driver_count;
std::vector<pipe_hash_attribute> driver_attributes;

pipe_status note(const char* function, Words args, Bytes bytes = {}) {
    seen.push_back({function, std::move(args), std::move(bytes)});
    return refused == function ? 5 : answer;
}

class Services : public testing::Test {
protected:
    Services() {
        vl_model_reset();
        seen.clear();
        answer = 0;
        refused.clear();
        driver_input = driver_algorithm = driver_count = 0;
        driver_attributes.clear();
    }
    ~Services() override {
        EXPECT_EQ(vl_model::live_allocations(), 0u);
    }
    static void expect_only(const char* function, const Words& args) {
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].function, function);
        EXPECT_EQ(seen[0].args, args);
        seen.clear();
    }
    // An operation that is one call of the driver, whose status is the result.
    static void expect_forwarded(const std::string& operation, const Words& words, const char* function,
                                 const Words& args) {
        for (const pipe_status status : {0x87654321u, 0u}) {
            answer = status;
            EXPECT_EQ(call(operation, words), status) << operation;
            expect_only(function, args);
        }
    }
};

constexpr uint64_t session = 9;
constexpr uint64_t callback = 0x1111, cookie = 0x2222;

TEST_F(Services, DigestRegistrationsCutTheDevice) {
    const std::pair<const char*, uint32_t> digests[] = {
        {"macLearningDigest", 0x9000000}, {"vtepLearningDigest", 0x9000001}, {"pktTracerDigest", 0x9000002}};
    for (const auto& [name, handle] : digests) {
        const std::string base = exported(name);
        expect_forwarded(base + "_register", {dirty(session), 0x103, callback, cookie}, "register",
                         {session, 3, handle, callback, cookie});
        expect_forwarded(base + "_deregister", {session, 0x103}, "deregister", {session, 3, handle});
        expect_forwarded(base + "_notify_ack", {session, 0x7777}, "ack", {session, handle, 0x7777});
    }
    expect_forwarded(exported("set_learning_timeout"), {session, 0x103, dirty(500)}, "timeout", {session, 3, 500});
}

TEST_F(Services, DigestFieldsStandOneBehindTheOther) {
    EXPECT_EQ(p4_pd_velmar_switch_get_digest_entry_size("macLearningDigest"), 14u);
    EXPECT_EQ(p4_pd_velmar_switch_get_digest_entry_size("vtepLearningDigest"), 36u);
    EXPECT_EQ(p4_pd_velmar_switch_get_digest_entry_size("pktTracerDigest"), 9u);
    EXPECT_EQ(p4_pd_velmar_switch_get_digest_entry_size("macLearning"), 0u);
    const uint8_t entry[36] = {};
    const struct {
        const char* digest;
        const char* field;
        unsigned offset, size;
    } fields[] = {{"macLearningDigest", "ingMd_smacOui", 0, 4},
                  {"macLearningDigest", "ingMd_smacStation", 4, 4},
                  {"macLearningDigest", "ingMd_ingL2Domain", 8, 2},
                  {"macLearningDigest", "ingMd_ingL2Aintf", 10, 4},
                  {"vtepLearningDigest", "ingMd_ingL2Domain", 0, 2},
                  {"vtepLearningDigest", "innerEthHdr_smacOui", 2, 4},
                  {"vtepLearningDigest", "innerEthHdr_smacStation", 6, 4},
                  {"vtepLearningDigest", "outerIpv4Hdr_sip", 10, 4},
                  {"vtepLearningDigest", "outerIpv6Hdr_sip", 14, 16},
                  {"vtepLearningDigest", "outerEthHdr_etherType", 30, 2},
                  {"vtepLearningDigest", "ingMd_ingressVniHigh", 32, 2},
                  {"vtepLearningDigest", "ingMd_ingressVniLow", 34, 1},
                  {"vtepLearningDigest", "vxlanHdr_vniReserved", 35, 1},
                  {"pktTracerDigest", "pktGen_pktId", 0, 2},
                  {"pktTracerDigest", "pktTracerMd_copy_to_cpu", 2, 1},
                  {"pktTracerDigest", "egrMd_egrL2Domain", 3, 2},
                  {"pktTracerDigest", "pktTracerMd_ucast_egress_port", 5, 2},
                  {"pktTracerDigest", "egrMd_routed", 7, 1},
                  {"pktTracerDigest", "ig_intr_md_for_dprsr_drop_ctl", 8, 1}};
    uint32_t size = 0;
    for (const auto& field : fields) {
        EXPECT_EQ(p4_pd_velmar_switch_get_digest_entry_field(entry, field.digest, field.field, &size),
                  entry + field.offset)
            << field.field;
        EXPECT_EQ(size, field.size);
    }
    EXPECT_EQ(p4_pd_velmar_switch_get_digest_entry_field(entry, "macLearningDigest", "egrMd_routed", &size), nullptr);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(p4_pd_velmar_switch_get_digest_entry_field(entry, "macLearning", "ingMd_smacOui", &size), nullptr);
}

TEST_F(Services, ValueSets) {
    const std::pair<const char*, uint64_t> sets[] = {{"egr_cpu_port", 506},       {"vxlan_ports", 507},
                                                     {"vxlan_ports_32bVni", 508}, {"allow_ntags", 509},
                                                     {"allow_vlan0", 510},        {"fabric_port", 511}};
    // A target is four words of which the last counts with eight bits: sixteen bytes, in two registers.
    const uint64_t low = 11ull << 32 | 3, high = 0xABCDEF0455555555;
    for (const auto& [name, id] : sets) {
        SCOPED_TRACE(name);
        const std::string base = exported("pvs_") + name + "_";
        uint32_t out = 0, mask = 0;
        const auto forward = [&, id = id](const char* operation, const Words& words, const char* function, Words args) {
            args.insert(args.begin(), {session, 3, id});
            expect_forwarded(base + operation, words, function, args);
        };
        forward("entry_add", {session, low, high, dirty(7), dirty(8), word(&out)}, "add",
                {11, 0x55555555, 4, 7, 8, word(&out)});
        forward("entry_modify", {session, dirty(3), dirty(60), 7, 8}, "modify", {60, 7, 8});
        forward("entry_delete", {session, 3, 60}, "delete", {60});
        forward("entry_get", {session, 3, 60, word(&out), word(&mask)}, "get", {60, word(&out), word(&mask), 0, 0, 0});
        forward("entry_get_count", {session, low, high, 0x201, word(&out)}, "count",
                {11, 0x55555555, 4, 1, word(&out)});
        forward("entry_handle_get", {session, low, high, 7, 8, word(&out)}, "handle",
                {11, 0x55555555, 4, 7, 8, word(&out)});
        forward("entry_get_first_entry_handle", {session, low, high, word(&out)}, "first",
                {11, 0x55555555, 4, word(&out)});
        forward("entry_get_next_entry_handles", {session, low, high, 60, 2, word(&out)}, "next",
                {11, 0x55555555, 4, 60, 2, word(&out)});
        forward("set_property", {session, 3, 1, 2, dirty(0x80000001)}, "set_property", {1, 2, 0x80000001});
        forward("get_property", {session, 3, 1, word(&out), dirty(0x80000001)}, "get_property", {1, 0x80000001});
        EXPECT_EQ(out, 1234u);
        answer = 77;
        EXPECT_EQ(call(base + "get_property", {session, 3, 1, word(&out), 0}), 77u);
        EXPECT_EQ(out, 0xFFFFFFFFu);
        answer = 0;
        seen.clear();
    }
}

TEST_F(Services, HashAlgorithmSeedAndInput) {
    for (const catalog::HashCalculation& row : catalog::program.hash_calculations) {
        SCOPED_TRACE(row.name);
        const std::string base = exported("hash_calc_") + row.name + "_";
        uint32_t out = 42;
        uint64_t seed = 0;
        const auto forward = [&](const char* operation, Words words, const char* function, Words args) {
            words.insert(words.begin(), {session, device});
            args.insert(args.begin(), {session, device, row.handle});
            expect_forwarded(base + operation, words, function, args);
        };
        forward("algorithm_set", {0}, "algorithm_set", {row.algorithm, 0, 0});
        forward("algorithm_set", {1}, "algorithm_set", {0, 0, 0});
        forward("input_set", {0}, "input_set", {row.input});
        forward("input_set", {2}, "input_set", {0});
        forward("seed_set", {0x123456789A}, "seed_set", {0x123456789A});
        forward("seed_get", {word(&seed)}, "seed_get", {});
        EXPECT_EQ(seed, 0x55u);
        uint8_t hash[4];
        forward("calculate_hash_value", {0, 0, 0, word(hash), dirty(4)}, "calculate", {0, word(hash), 4});

        // What isn't this calculation's is refused, and a refusal of the driver looks alike.
        for (const char* const get : {"algorithm_get", "input_get"}) {
            out = 42;
            driver_algorithm = driver_input = 0;
            EXPECT_EQ(call(base + get, {session, device, word(&out)}), +PD_STATUS_INVALID);
            EXPECT_EQ(out, 42u);
            driver_algorithm = row.algorithm;
            driver_input = row.input;
            EXPECT_EQ(call(base + get, {session, device, word(&out)}), 0u);
            EXPECT_EQ(out, 0u);
            answer = 8;
            EXPECT_EQ(call(base + get, {session, device, word(&out)}), 8u) << "only the handle is looked at";
            answer = 0;
        }
        seen.clear();
    }
}

TEST_F(Services, HashAttributes) {
    constexpr uint64_t calc = 0x8000009, input = 0x21000009;
    const auto set = exported("hash_calc_hashOuterIpAndL4Hdr_input_field_attribute_set");
    const auto get = exported("hash_calc_hashOuterIpAndL4Hdr_input_field_attribute_get");
    const auto get_count = exported("hash_calc_hashOuterIpAndL4Hdr_input_field_attribute_count_get");
    expect_forwarded(set, {session, device, 0, 0, 0}, "attribute_set", {session, device, calc, input, 0, 0});
    EXPECT_EQ(vl_model::allocations_made(), 0u);

    pd_hash_attribute attributes[2];
    std::memset(attributes, 0xEE, sizeof attributes); // above attr_value too: 32 bits of it travel
    attributes[0].input_field = 5;
    attributes[0].attr_type = 6;
    attributes[0].attr_value = 7;
    EXPECT_EQ(call(set, {session, device, 0, 2, word(attributes)}), 0u);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].args[4], 2u);
    ASSERT_EQ(seen[0].bytes.size(), 64u);
    uint32_t sent[16];
    std::memcpy(sent, seen[0].bytes.data(), sizeof sent);
    const uint32_t expected[16] = {5, 0, 0, 6, 6, 0, 7, 0, 0xEEEEEEEE, 0, 0, 0xEEEEEEEF, 0xEEEEEEEE, 0, 0xEEEEEEEE, 0};
    EXPECT_EQ(std::memcmp(sent, expected, sizeof sent), 0);
    seen.clear();

    driver_input = input;
    driver_count = 1;
    driver_attributes = {{.input_field = 1,
                          .reserved_4 = 9,
                          .reserved_8 = 9,
                          .input_field_plus_1 = 9,
                          .attr_type = 2,
                          .reserved_20 = 9,
                          .attr_value = 3,
                          .reserved_28 = 9}};
    uint32_t count = 42;
    EXPECT_EQ(call(get, {session, device, 0, 2, word(attributes), word(&count)}), 0u);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(attributes[0].input_field, 1u);
    EXPECT_EQ(attributes[0].attr_type, 2u);
    EXPECT_EQ(attributes[0].attr_value, 3u);
    EXPECT_EQ(attributes[1].input_field, 0xEEEEEEEEu);
    EXPECT_EQ(seen.back().args, (Words{session, device, calc, input, 2}));

    // Another input than the calculation's: the count is 0 in the one, untouched in the other.
    seen.clear();
    count = 42;
    EXPECT_EQ(call(get, {session, device, 1, 2, word(attributes), word(&count)}), +PD_STATUS_INVALID);
    EXPECT_EQ(count, 0u);
    count = 42;
    EXPECT_EQ(call(get_count, {session, device, 1, word(&count)}), +PD_STATUS_INVALID);
    EXPECT_EQ(count, 42u);
    EXPECT_EQ(seen.size(), 2u) << "only the inputs were asked for";
    EXPECT_EQ(call(get_count, {session, device, 0, word(&count)}), 0u);
    EXPECT_EQ(count, 1u);

    // With no room nothing is asked. The input that the driver has goes back to it, with whatever enumeration value and
    // also where it didn't tell one.
    seen.clear();
    EXPECT_EQ(call(get, {session, device, 0, 0, 0, word(&count)}), 0u);
    EXPECT_EQ(seen.size(), 1u);
    EXPECT_EQ(count, 0u);
    for (const uint32_t other : {0x21000001u, 0u}) {
        driver_input = other;
        refused = other == 0 ? "input_get" : "";
        EXPECT_EQ(call(get_count, {session, device, 1, word(&count)}), 0u);
        EXPECT_EQ(seen.back().args, (Words{session, device, calc, other}));
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(call(get, {session, device, 1, 2, word(attributes), word(&count)}), 0u);
        EXPECT_EQ(seen.back().args, (Words{session, device, calc, other, 2}));
    }
    refused = "attribute_count";
    EXPECT_EQ(call(get_count, {session, device, 0, word(&count)}), 5u);

    vl_model::fail_allocation(1);
    EXPECT_EQ(call(set, {session, device, 0, 1, word(attributes)}), +PD_STATUS_NO_MEMORY);
    vl_model::fail_allocation(1);
    EXPECT_EQ(call(get, {session, device, 0, 1, word(attributes), word(&count)}), +PD_STATUS_NO_MEMORY);
    refused.clear();
    answer = 6;
    EXPECT_EQ(call(set, {session, device, 0, 1, word(attributes)}), 6u);
    attributes[0].input_field = 77;
    driver_attributes[0].input_field = 78;
    EXPECT_EQ(call(get, {session, device, 0, 1, word(attributes), word(&count)}), 6u);
    EXPECT_EQ(attributes[0].input_field, 77u) << "nothing is copied after a failure";
}

// A field of up to 32 bits is an integer, a wider one the address of its bytes; the first is the top of the stream.
TEST_F(Services, HashesOfFieldValues) {
    const uint8_t wide[] = {0x01, 0x80, 0x00, 0x00, 0x01};
    pd_hash_attribute fields[3];
    std::memset(fields, 0xEE, sizeof fields);
    fields[0].attr_bytes = wide;
    fields[1].attr_value = 0xAABBCCDD;
    fields[2].attr_value = 5;
    const uint32_t widths[] = {33, 32, 3};
    const struct {
        uint32_t count, length;
        const char* stream;
    } cases[] = {{3, 9, "0c 00 00 00 0d 55 de 66 ed"},
                 {2, 9, "01 80 00 00 01 aa bb cc dd"},
                 {1, 5, "01 80 00 00 01"},
                 {0, 0, ""}};
    for (const auto& [count, length, stream] : cases)
        for (const pipe_status status : {0x87654321u, 0u}) {
            uint8_t hash[3];
            answer = status;
            const size_t allocations = vl_model::allocations_made();
            EXPECT_EQ(p4_pd_velmar_switch_hash_calc_hashInnerIpv6Hdr_calculate_hash_value(session, device, count,
                                                                                          fields, widths, hash, 3),
                      status);
            EXPECT_EQ(vl_model::allocations_made() - allocations, 1u);
            EXPECT_EQ(vl_model::live_allocations(), 0u);
            ASSERT_EQ(seen.size(), 1u);
            EXPECT_EQ(hex(seen[0].bytes), stream);
            expect_only("calculate", {session, device, 0x8000007, length, word(hash), 3});
        }
    for (const uint32_t count : {0u, 1u}) {
        vl_model::fail_allocation(1); // none is needed for no fields
        EXPECT_EQ(p4_pd_velmar_switch_hash_calc_hashInnerIpv6Hdr_calculate_hash_value(session, device, count, fields,
                                                                                      widths, nullptr, 0),
                  count == 0 ? 0u : +PD_STATUS_NO_MEMORY);
    }
    expect_only("calculate", {session, device, 0x8000007, 0, 0, 0});
}

template <class Pointer>
uint64_t as_word(Pointer pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}

} // namespace

extern "C" {

pipe_status pipe_mgr_lrn_digest_notification_register(pipe_sess_hdl s, uint8_t d, pipe_digest_hdl h, pipe_digest_cb f,
                                                      void* c) {
    return note("register", {s, d, h, as_word(f), as_word(c)});
}
pipe_status pipe_mgr_lrn_digest_notification_deregister(pipe_sess_hdl s, uint8_t d, pipe_digest_hdl h) {
    return note("deregister", {s, d, h});
}
pipe_status pipe_mgr_flow_lrn_notify_ack(pipe_sess_hdl s, pipe_digest_hdl h, pipe_digest_msg* message) {
    return note("ack", {s, h, as_word(message)});
}
pipe_status pipe_mgr_flow_lrn_set_timeout(pipe_sess_hdl s, uint8_t d, uint32_t timeout) {
    return note("timeout", {s, d, timeout});
}
pipe_status pipe_mgr_pvs_entry_add(pipe_sess_hdl s, pipe_dev_id d, pipe_pvs_id id, uint32_t gress, uint32_t pipe,
                                   uint8_t parser, uint32_t value, uint32_t mask, pipe_pvs_ent_hdl* out) {
    return note("add", {s, d, id, gress, pipe, parser, value, mask, as_word(out)});
}
pipe_status pipe_mgr_pvs_entry_modify(pipe_sess_hdl s, pipe_dev_id d, pipe_pvs_id id, pipe_pvs_ent_hdl e,
                                      uint32_t value, uint32_t mask) {
    return note("modify", {s, d, id, e, value, mask});
}
pipe_status pipe_mgr_pvs_entry_delete(pipe_sess_hdl s, pipe_dev_id d, pipe_pvs_id id, pipe_pvs_ent_hdl e) {
    return note("delete", {s, d, id, e});
}
pipe_status pipe_mgr_pvs_entry_get(pipe_sess_hdl s, pipe_dev_id d, pipe_pvs_id id, pipe_pvs_ent_hdl e, uint32_t* value,
                                   uint32_t* mask, uint32_t* gress, uint32_t* pipe, uint8_t* parser) {
    return note("get", {s, d, id, e, as_word(value), as_word(mask), as_word(gress), as_word(pipe), as_word(parser)});
}
pipe_status pipe_mgr_pvs_entry_get_count(pipe_sess_hdl s, pipe_dev_id d, pipe_pvs_id id, uint32_t gress, uint32_t pipe,
                                         uint8_t parser, uint8_t from_hw, uint32_t* out) {
    return note("count", {s, d, id, gress, pipe, parser, from_hw, as_word(out)});
}
pipe_status pipe_mgr_pvs_entry_handle_get(pipe_sess_hdl s, pipe_dev_id d, pipe_pvs_id id, uint32_t gress, uint32_t pipe,
                                          uint8_t parser, uint32_t value, uint32_t mask, pipe_pvs_ent_hdl* out) {
    return note("handle", {s, d, id, gress, pipe, parser, value, mask, as_word(out)});
}
pipe_status pipe_mgr_pvs_entry_get_first(pipe_sess_hdl s, pipe_dev_id d, pipe_pvs_id id, uint32_t gress, uint32_t pipe,
                                         uint8_t parser, pipe_pvs_ent_hdl* out) {
    return note("first", {s, d, id, gress, pipe, parser, as_word(out)});
}
pipe_status pipe_mgr_pvs_entry_get_next(pipe_sess_hdl s, pipe_dev_id d, pipe_pvs_id id, uint32_t gress, uint32_t pipe,
                                        uint8_t parser, pipe_pvs_ent_hdl e, uint32_t n, pipe_pvs_ent_hdl* out) {
    return note("next", {s, d, id, gress, pipe, parser, e, n, as_word(out)});
}
pipe_status pipe_mgr_pvs_set_property(pipe_sess_hdl s, pipe_dev_id d, pipe_pvs_id id, uint32_t property, uint32_t value,
                                      pipe_pvs_property_args args) {
    return note("set_property", {s, d, id, property, value, args.arg});
}
pipe_status pipe_mgr_pvs_get_property(pipe_sess_hdl s, pipe_dev_id d, pipe_pvs_id id, uint32_t property,
                                      uint32_t* value, pipe_pvs_property_args args) {
    *value = 1234;
    return note("get_property", {s, d, id, property, args.arg});
}
pipe_status pipe_mgr_hash_calc_algorithm_set(pipe_sess_hdl s, pipe_dev_id d, pipe_hash_hdl h, pipe_hash_algo_hdl a,
                                             uint64_t b, uint64_t c) {
    return note("algorithm_set", {s, d, h, a, b, c});
}
pipe_status pipe_mgr_hash_calc_algorithm_get(pipe_sess_hdl s, pipe_dev_id d, pipe_hash_hdl h, pipe_hash_algo_hdl* out,
                                             uint64_t b, uint64_t c) {
    *out = driver_algorithm;
    return note("algorithm_get", {s, d, h, b, c});
}
pipe_status pipe_mgr_hash_calc_seed_set(pipe_sess_hdl s, pipe_dev_id d, pipe_hash_hdl h, uint64_t seed) {
    return note("seed_set", {s, d, h, seed});
}
pipe_status pipe_mgr_hash_calc_seed_get(pipe_sess_hdl s, pipe_dev_id d, pipe_hash_hdl h, uint64_t* seed) {
    *seed = 0x55;
    return note("seed_get", {s, d, h});
}
pipe_status pipe_mgr_hash_calc_input_set(pipe_sess_hdl s, pipe_dev_id d, pipe_hash_hdl h, pipe_hash_input_hdl i) {
    return note("input_set", {s, d, h, i});
}
pipe_status pipe_mgr_hash_calc_input_get(pipe_sess_hdl s, pipe_dev_id d, pipe_hash_hdl h, pipe_hash_input_hdl* out) {
    *out = driver_input;
    return note("input_get", {s, d, h});
}
pipe_status pipe_mgr_hash_calc_input_field_attribute_set(pipe_sess_hdl s, pipe_dev_id d, pipe_hash_hdl h,
                                                         pipe_hash_input_hdl i, uint32_t count,
                                                         const pipe_hash_attribute* records) {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(records);
    return note("attribute_set", {s, d, h, i, count, records == nullptr ? 0u : 1u},
                records == nullptr ? Bytes{} : Bytes(bytes, bytes + count * sizeof *records));
}
pipe_status pipe_mgr_hash_calc_input_field_attribute_get(pipe_sess_hdl s, pipe_dev_id d, pipe_hash_hdl h,
                                                         pipe_hash_input_hdl i, uint32_t room,
                                                         pipe_hash_attribute* records, uint32_t* count) {
    *count = driver_count;
    for (uint32_t n = 0; n < driver_count; ++n)
        records[n] = driver_attributes[n];
    return note("attribute_get", {s, d, h, i, room});
}
pipe_status pipe_mgr_hash_calc_input_field_attribute_count_get(pipe_sess_hdl s, pipe_dev_id d, pipe_hash_hdl h,
                                                               pipe_hash_input_hdl i, uint32_t* count) {
    EXPECT_EQ(*count, 0u) << "written before the driver is asked";
    *count = driver_count;
    return note("attribute_count", {s, d, h, i});
}
pipe_status pipe_mgr_hash_calc_calculate_hash_value(pipe_sess_hdl s, pipe_dev_id d, pipe_hash_hdl h,
                                                    const uint8_t* stream, uint32_t length, uint8_t* hash,
                                                    uint32_t hash_length) {
    return note("calculate", {s, d, h, length, as_word(hash), hash_length}, Bytes(stream, stream + length));
}
}
