// Digests, value sets, hash calculations and snapshots in the embedded driver.
#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include <vl_model/traffic.h>

#include "support/model.h"

namespace {

using namespace support;

constexpr uint32_t hosts = 0x9000000, other_digest = 0x9000001;
constexpr vl_model_digest digests[] = {{hosts, 3}, {other_digest, 1}};
constexpr uint32_t value_sets[] = {506, 507};
constexpr uint32_t identity = 0x8000000, crc64 = 0x8000001, crc32 = 0x8000002;
constexpr vl_model_hash_calculation calculations[] = {
    {identity, 0x21000000, 0x23000000}, {crc64, 0x21000001, 0x23000001}, {crc32, 0x21000002, 0x23000002}};

class ServicesTest : public DeviceTest {
protected:
    void SetUp() override {
        start({.name = "p",
               .tables = nullptr,
               .table_count = 0,
               .digests = digests,
               .digest_count = std::size(digests),
               .value_sets = value_sets,
               .value_set_count = std::size(value_sets),
               .hash_calculations = calculations,
               .hash_calculation_count = std::size(calculations)});
    }

    static uint32_t unacked() {
        return output_of(vl_model_digest_unacked, 3, hosts).value();
    }
    uint32_t attribute_count() const {
        return output_of(pipe_mgr_hash_calc_input_field_attribute_count_get, session, 3, crc32, 0x21000002).value();
    }
    pipe_status add(uint32_t set, uint32_t pipe, uint32_t value, uint32_t* handle) const {
        return pipe_mgr_pvs_entry_add(session, 3, set, 0, pipe, 1, value, 0xFFFF, handle);
    }
    Handles walk(uint32_t pipe, uint32_t from, uint32_t room) const {
        Handles found(room, 7);
        EXPECT_EQ(pipe_mgr_pvs_entry_get_next(session, 3, 506, 0, pipe, 1, from, room, found.data()), VL_MODEL_OK);
        return found;
    }
    Bytes hash(uint32_t calculation, const std::string& stream, uint32_t len) const {
        Bytes result(len, 0xEE);
        const Bytes bytes(stream.begin(), stream.end());
        EXPECT_EQ(pipe_mgr_hash_calc_calculate_hash_value(session, 3, calculation, bytes.data(),
                                                          static_cast<uint32_t>(bytes.size()), result.data(), len),
                  VL_MODEL_OK);
        return result;
    }
};

// The arguments of a digest callback, and whether it acknowledges the message.
struct Learner {
    uint32_t session = 0;
    pipe_digest_msg* message = nullptr;
    bool acks = false;
};

pipe_status learn(pipe_sess_hdl session, pipe_digest_msg* message, void* cookie) {
    auto& learner = *static_cast<Learner*>(cookie);
    learner.session = session;
    learner.message = message;
    return learner.acks ? pipe_mgr_flow_lrn_notify_ack(session, hosts, message) : 44;
}

TEST_F(ServicesTest, DigestsStayUntilTheyAreAcknowledged) {
    const Bytes entries{1, 2, 3, 4, 5, 6};
    const auto raise = [&](uint32_t count) { return vl_model_digest_raise(3, hosts, entries.data(), count); };
    EXPECT_EQ(raise(2), VL_MODEL_NOT_FOUND);
    Learner learner;
    EXPECT_EQ(pipe_mgr_lrn_digest_notification_register(session, 3, hosts, learn, &learner), VL_MODEL_OK);
    EXPECT_EQ(pipe_mgr_lrn_digest_notification_register(session, 3, hosts, learn, &learner), VL_MODEL_EXISTS);
    EXPECT_EQ(pipe_mgr_lrn_digest_notification_register(session, 3, 0x9000002, learn, &learner),
              VL_MODEL_UNKNOWN_RESOURCE);

    EXPECT_EQ(raise(2), 44U); // the callback's own status
    pipe_digest_msg* const kept = learner.message;
    EXPECT_EQ(learner.session, session);
    EXPECT_EQ(kept->dev_tgt.dev_id, 3U);
    EXPECT_EQ(unacked(), 1U);

    learner.acks = true; // within the callback, which runs outside the lock
    EXPECT_EQ(raise(1), VL_MODEL_OK);
    EXPECT_EQ(unacked(), 1U);

    EXPECT_EQ(pipe_mgr_lrn_digest_notification_deregister(session, 3, hosts), VL_MODEL_OK);
    EXPECT_EQ(pipe_mgr_lrn_digest_notification_deregister(session, 3, hosts), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(raise(1), VL_MODEL_NOT_FOUND);
    ASSERT_EQ(kept->entry_count, 2U);
    EXPECT_EQ(Bytes(kept->entries, kept->entries + 6), entries);
    EXPECT_EQ(pipe_mgr_flow_lrn_notify_ack(session, other_digest, kept), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(pipe_mgr_flow_lrn_notify_ack(session, hosts, kept), VL_MODEL_OK);
    EXPECT_EQ(pipe_mgr_flow_lrn_notify_ack(session, hosts, kept), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(unacked(), 0U);

    EXPECT_EQ(output_of(vl_model_learning_timeout, 3), 0U);
    EXPECT_EQ(pipe_mgr_flow_lrn_set_timeout(session, 3, 500), VL_MODEL_OK);
    EXPECT_EQ(output_of(vl_model_learning_timeout, 3), 500U);
}

TEST_F(ServicesTest, ValueSetsListEachPipeSeparately) {
    uint32_t first = 0, second = 0, elsewhere = 0, refused = 77;
    ASSERT_EQ(add(506, 0, 4789, &first), VL_MODEL_OK);
    ASSERT_EQ(add(506, 1, 4789, &elsewhere), VL_MODEL_OK);
    ASSERT_EQ(add(506, 0, 8472, &second), VL_MODEL_OK);
    EXPECT_EQ(add(506, 0, 4789, &refused), VL_MODEL_EXISTS);
    EXPECT_EQ(add(505, 0, 4789, &refused), VL_MODEL_UNKNOWN_RESOURCE);
    EXPECT_EQ(refused, 77U);

    uint32_t found = 0;
    EXPECT_EQ(output_of(pipe_mgr_pvs_entry_get_count, session, 3, 506, 0, 0, 1, 0), 2U);
    EXPECT_EQ(output_of(pipe_mgr_pvs_entry_get_first, session, 3, 506, 0, 0, 1), first);
    EXPECT_EQ(walk(0, first, 3), (Handles{second, PIPE_HDL_END, 7}));
    EXPECT_EQ(walk(0, first, 1), (Handles{second}));
    EXPECT_EQ(pipe_mgr_pvs_entry_get_first(session, 3, 507, 0, 0, 1, &found), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(pipe_mgr_pvs_entry_get_next(session, 3, 507, 0, 0, 1, first, 1, &found), VL_MODEL_NOT_FOUND);

    EXPECT_EQ(pipe_mgr_pvs_entry_modify(session, 3, 506, first, 8472, 0xFFFF), VL_MODEL_EXISTS);
    EXPECT_EQ(pipe_mgr_pvs_entry_modify(session, 3, 506, first, 4790, 0xFF), VL_MODEL_OK);
    EXPECT_EQ(output_of(pipe_mgr_pvs_entry_handle_get, session, 3, 506, 0, 0, 1, 4790, 0xFF), first);
    EXPECT_EQ(pipe_mgr_pvs_entry_handle_get(session, 3, 506, 0, 0, 1, 4789, 0xFFFF, &found), VL_MODEL_NOT_FOUND);
    uint32_t value = 0, mask = 0, pipe = 9;
    EXPECT_EQ(pipe_mgr_pvs_entry_get(session, 3, 506, elsewhere, &value, &mask, nullptr, &pipe, nullptr), VL_MODEL_OK);
    EXPECT_EQ(std::tuple(value, mask, pipe), std::tuple(4789U, 0xFFFFU, 1U));

    EXPECT_EQ(pipe_mgr_pvs_entry_delete(session, 3, 506, first), VL_MODEL_OK);
    EXPECT_EQ(pipe_mgr_pvs_entry_delete(session, 3, 506, first), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(walk(0, first, 1), (Handles{second})); // continues after a deleted entry
}

TEST_F(ServicesTest, ValueSetPropertiesHaveTheScopeOfTheirArgument) {
    const auto calls = recorded(
        [&] { EXPECT_EQ(pipe_mgr_pvs_set_property(session, 3, 506, 1, 5, {.arg = 1, .unused = 9}), VL_MODEL_OK); });
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].args, (std::vector<uint64_t>{session, 3, 506, 1, 5, 1, 9}));
    uint32_t value = 7;
    EXPECT_EQ(pipe_mgr_pvs_get_property(session, 3, 506, 1, &value, {.arg = 1, .unused = 0}), VL_MODEL_OK);
    EXPECT_EQ(value, 5U);
    EXPECT_EQ(pipe_mgr_pvs_get_property(session, 3, 506, 1, &value, {.arg = 2, .unused = 0}), VL_MODEL_OK);
    EXPECT_EQ(value, 0U);
    EXPECT_EQ(pipe_mgr_pvs_set_property(session, 3, 506, VL_MODEL_PROPERTIES + 1, 5, {}), VL_MODEL_INVALID);
}

// Compares with the published check values of the CRCs.
TEST_F(ServicesTest, HashesAreTheKnownAlgorithms) {
    const Bytes crc = hash(crc32, "123456789", 4);
    EXPECT_EQ(crc, (Bytes{0xCB, 0xF4, 0x39, 0x26}));
    EXPECT_EQ(hash(crc32, "123456789", 2), (Bytes{0x39, 0x26}));
    EXPECT_EQ(hash(crc32, "123456789", 6), (Bytes{0, 0, 0xCB, 0xF4, 0x39, 0x26}));
    EXPECT_EQ(hash(crc64, "123456789", 8), (Bytes{0x99, 0x5D, 0xC9, 0xBB, 0xDF, 0x19, 0x39, 0xFA}));
    EXPECT_EQ(hash(identity, "123", 2), (Bytes{'2', '3'}));
    EXPECT_EQ(hash(identity, "", 2), (Bytes{0, 0}));

    // A seed continues the checksum of the bytes before.
    uint64_t seed = 0;
    for (const uint8_t byte : hash(crc32, "12345678", 4))
        seed = seed << 8 | byte;
    EXPECT_EQ(pipe_mgr_hash_calc_seed_set(session, 3, crc32, seed), VL_MODEL_OK);
    EXPECT_EQ(hash(crc32, "9", 4), crc);
    EXPECT_EQ(output_of(pipe_mgr_hash_calc_seed_get, session, 3, crc32), seed);
    EXPECT_EQ(pipe_mgr_hash_calc_seed_set(session, 3, identity, 0x0102), VL_MODEL_OK);
    EXPECT_EQ(hash(identity, "123", 3), (Bytes{'1', '2' ^ 1, '3' ^ 2}));
}

TEST_F(ServicesTest, AlgorithmsInputsAndAttributes) {
    uint32_t handle = 0;
    EXPECT_EQ(pipe_mgr_hash_calc_algorithm_set(session, 3, identity, 0x23000002, 0, 0), VL_MODEL_OK);
    EXPECT_EQ(pipe_mgr_hash_calc_algorithm_get(session, 3, identity, &handle, 0, 0), VL_MODEL_OK);
    EXPECT_EQ(handle, 0x23000002U);
    EXPECT_EQ(hash(identity, "123456789", 4), (Bytes{0xCB, 0xF4, 0x39, 0x26}));
    EXPECT_EQ(pipe_mgr_hash_calc_algorithm_set(session, 3, identity, 0, 0, 0), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(pipe_mgr_hash_calc_input_set(session, 3, crc32, 0x21000001), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(pipe_mgr_hash_calc_input_set(session, 3, crc32, 0x21000002), VL_MODEL_OK);
    EXPECT_EQ(pipe_mgr_hash_calc_seed_set(session, 3, 0x8000003, 1), VL_MODEL_UNKNOWN_RESOURCE);

    std::array<pipe_hash_attribute, 3> attributes{};
    attributes[1].attr_value = 6;
    const auto set_attributes = [&](uint32_t count, pipe_hash_attribute* list) {
        return pipe_mgr_hash_calc_input_field_attribute_set(session, 3, crc32, 0x21000002, count, list);
    };
    const auto calls = recorded([&] { EXPECT_EQ(set_attributes(3, attributes.data()), VL_MODEL_OK); });
    EXPECT_EQ(vl_model::input_record<pipe_hash_attribute>(calls.at(0), 0, 1).attr_value, 6U);
    EXPECT_EQ(attribute_count(), 3U);
    uint32_t count = 0;
    std::array<pipe_hash_attribute, 2> read{};
    EXPECT_EQ(pipe_mgr_hash_calc_input_field_attribute_get(session, 3, crc32, 0x21000002, 2, read.data(), &count),
              VL_MODEL_OK);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(read[1].attr_value, 6U);
    EXPECT_EQ(set_attributes(0, nullptr), VL_MODEL_OK);
    EXPECT_EQ(attribute_count(), 0U);
}

TEST_F(ServicesTest, SnapshotsCaptureOnceATriggerIsSet) {
    uint32_t hdl = 0, other = 0, refused = 77, total = 0, stage_size = 0, count = 9;
    ASSERT_EQ(bf_snapshot_create(3, 1, 2, 4, 1, &hdl), VL_MODEL_OK);
    ASSERT_EQ(bf_snapshot_create(3, PIPE_ALL_PIPES, 0, 0, 0, &other), VL_MODEL_OK);
    EXPECT_EQ(hdl >> 1 & 1, 1U); // the direction
    EXPECT_EQ(other >> 1 & 1, 0U);
    EXPECT_EQ(bf_snapshot_create(3, 1, 4, 2, 0, &refused), VL_MODEL_INVALID);
    EXPECT_EQ(bf_snapshot_create(3, VL_MODEL_DEFAULT_PIPES, 0, 0, 0, &refused), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(bf_snapshot_create(3, UINT32_MAX, 0, 0, 0, &refused), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(refused, 77U);
    ASSERT_EQ(bf_snapshot_capture_phv_fields_dict_size(hdl, &total, &stage_size), VL_MODEL_OK);
    ASSERT_EQ(stage_size, uint32_t{VL_MODEL_SNAPSHOT_STAGE_SIZE});
    ASSERT_EQ(total, 3 * stage_size);

    Bytes records(2 * BF_SNAPSHOT_RECORD_SIZE, 0xAA);
    records[BF_SNAPSHOT_RECORD_SIZE] = 0xBB;
    bf_snapshot_capture_ctrl control{};
    Bytes buffer(total, 0xEE);
    const auto expect_captures = [&](uint32_t state, uint32_t captures) {
        EXPECT_EQ(bf_snapshot_capture_get(hdl, 1, buffer.data(), &control, &count), VL_MODEL_OK);
        EXPECT_EQ(control.state, state);
        EXPECT_EQ(count, captures);
    };
    EXPECT_EQ(vl_model_snapshot_match(hdl, 1, 3, records.data(), 2), VL_MODEL_NOT_FOUND); // no trigger yet
    EXPECT_EQ(bf_snapshot_capture_trigger_set(hdl, records.data(), records.data()), VL_MODEL_OK);
    expect_captures(BF_SNAPSHOT_ARMED, 0);
    EXPECT_EQ(buffer, Bytes(total));

    EXPECT_EQ(vl_model_snapshot_match(hdl, 2, 3, records.data(), 2), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(vl_model_snapshot_match(hdl, 1, 5, records.data(), 2), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(vl_model_snapshot_match(hdl, 1, 3, records.data(), 4), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(vl_model_snapshot_match(hdl, 1, 3, records.data(), 2), VL_MODEL_OK);
    EXPECT_EQ(vl_model_snapshot_match(hdl, 1, 4, records.data(), 1), VL_MODEL_NOT_FOUND); // has matched
    expect_captures(BF_SNAPSHOT_CAPTURED, 1);
    EXPECT_EQ(control.trigger_stage, 3U);
    Bytes expected(total);
    std::copy_n(records.begin(), BF_SNAPSHOT_RECORD_SIZE, expected.begin());
    std::copy_n(records.begin() + BF_SNAPSHOT_RECORD_SIZE, BF_SNAPSHOT_RECORD_SIZE, expected.begin() + stage_size);
    EXPECT_EQ(buffer, expected);

    EXPECT_EQ(bf_snapshot_capture_trigger_set(hdl, records.data(), records.data()), VL_MODEL_OK); // starts anew
    expect_captures(BF_SNAPSHOT_ARMED, 0);
    EXPECT_EQ(bf_snapshot_capture_trigger_set(other, records.data(), records.data()), VL_MODEL_OK);
    EXPECT_EQ(bf_snapshot_capture_get(other, 9, buffer.data(), &control, &count), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(vl_model_snapshot_match(other, 9, 0, records.data(), 1), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(vl_model_snapshot_match(other, 3, 0, records.data(), 1), VL_MODEL_OK);
    EXPECT_EQ(bf_snapshot_delete(hdl), VL_MODEL_OK);
    EXPECT_EQ(bf_snapshot_capture_phv_fields_dict_size(hdl, &total, &stage_size), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(vl_model_device_remove(3), VL_MODEL_OK);
    EXPECT_EQ(bf_snapshot_delete(other), VL_MODEL_NOT_FOUND);
}

} // namespace
