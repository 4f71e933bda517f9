// Snapshots: which bytes of a trigger are swapped, in both layouts, and where a capture's stages go.
#include <set>

#include "support/forwarding.h"
#include "vl_driver/snapshot.h"

namespace {

using namespace support;

using Snapshot = ForwardingTest;

// A record, and the same record with the bytes of each of a layout's fields reversed.
struct Record {
    pd_snapshot_record record;

    explicit Record(unsigned start) {
        for (unsigned i = 0; i < PD_SNAPSHOT_RECORD_SIZE; ++i)
            record.bytes[i] = static_cast<uint8_t>(start + i % 251);
    }
    Bytes turned(const catalog::SnapshotLayout& layout) const {
        Bytes bytes(std::begin(record.bytes), std::end(record.bytes));
        for (const uint16_t offset : layout.two_byte_fields)
            std::reverse(&bytes[offset], &bytes[offset] + 2);
        for (const uint16_t offset : layout.four_byte_fields)
            std::reverse(&bytes[offset], &bytes[offset] + 4);
        return bytes;
    }
};

TEST_F(Snapshot, FieldsDoNotOverlap) {
    for (const catalog::SnapshotLayout& layout : catalog::program.snapshot_layouts) {
        std::set<unsigned> bytes;
        const auto take = [&](catalog::List<uint16_t> offsets, unsigned width) {
            for (const unsigned offset : offsets)
                for (unsigned byte = offset; byte < offset + width; ++byte) {
                    EXPECT_TRUE(bytes.insert(byte).second) << byte;
                }
        };
        take(layout.two_byte_fields, 2);
        take(layout.four_byte_fields, 4);
    }
}

TEST_F(Snapshot, TheHandleChoosesTheLayoutOfATrigger) {
    const Record value(0), mask(100);
    for (const uint32_t handle : {0u, 1u, 2u, 3u, 0x1000u, 0x1002u}) {
        const Call made =
            expect_forwarded("snapshot_capture_trigger_set", {handle, word(&value.record), word(&mask.record)},
                             "bf_snapshot_capture_trigger_set", {handle, some_address, some_address});
        const bool second = (handle & 2) != 0;
        EXPECT_EQ(made.inputs[0], value.turned(catalog::program.snapshot_layouts[second]));
        EXPECT_EQ(made.inputs[1], mask.turned(catalog::program.snapshot_layouts[second]));
        EXPECT_NE(made.args[1], word(&value.record)) << "the caller's records stay as they are";
        // An offset of the first layout only, one of the second only, and one of both.
        EXPECT_EQ(made.inputs[0][2] == 3, !second);
        EXPECT_EQ(made.inputs[0][9] == 10, second);
        EXPECT_EQ(made.inputs[0][86], 87);
    }
}

TEST_F(Snapshot, CreateCutsStagesAndSplitsTheTarget) {
    uint32_t handle = 0;
    constexpr uint64_t words = 0x10003ull << 32 | 7;
    expect_forwarded("snapshot_create", {words, 0x101, 0x20B, 0x10001, word(&handle)}, "bf_snapshot_create",
                     {7, 0x10003, 1, 0x0B, 0x10001, word(&handle)});
    expect_forwarded("snapshot_delete", {0x12345678}, "bf_snapshot_delete", {0x12345678});
}

TEST_F(Snapshot, CapturesComeStageByStageEvenAfterAFailure) {
    constexpr uint32_t handle = 0x12345678;
    bf_snapshot_capture_ctrl control;
    // A capture of this many stages, whose bytes count up. The agent's stages are 0xA5 where nothing is written.
    const auto expect_capture = [&](uint32_t stage_count, uint32_t stage_size, pipe_status status) {
        const uint32_t total = stage_count * stage_size;
        vl_model::answer_calls_with("bf_snapshot_capture_phv_fields_dict_size", 77, vl_model::output(1, total),
                                    vl_model::output(2, stage_size)); // the library ignores this status
        vl_model::answer_calls("bf_snapshot_capture_get", [=](const AnsweredCall& call) {
            if (status != 0) return status;
            for (uint32_t i = 0; i < total; ++i)
                call.pointer<uint8_t>(2)[i] = static_cast<uint8_t>(i % 253);
            *call.pointer<uint32_t>(4) = 1;
            return status;
        });
        std::vector<pd_snapshot_record> stages(2 * PD_SNAPSHOT_MAX_STAGES);
        std::memset(stages.data(), 0xA5, stages.size() * sizeof stages[0]);
        uint32_t count = 99;
        EXPECT_EQ(p4_pd_velmar_switch_snapshot_capture_data_get(handle, 0x10002, stages.data(), &control, &count),
                  status);
        expect_calls({{"bf_snapshot_capture_phv_fields_dict_size", {handle, some_address, some_address}},
                      {"bf_snapshot_capture_get", {handle, 0x10002, some_address, word(&control), some_address}}});
        EXPECT_EQ(count, status == 0 ? 1u : 0u);
        EXPECT_EQ(vl_model::live_allocations(), 0u);
        for (uint32_t stage = 0; stage < stages.size(); ++stage)
            for (const uint32_t i : {0u, PD_SNAPSHOT_RECORD_SIZE - 1u}) {
                const bool copied = stage < std::min<uint32_t>(stage_count, PD_SNAPSHOT_MAX_STAGES);
                const uint32_t filled = status == 0 ? (stage * stage_size + i) % 253 : 0;
                EXPECT_EQ(stages[stage].bytes[i], copied ? filled : 0xA5) << stage;
            }
    };
    expect_capture(3, 700, 0);
    expect_capture(PD_SNAPSHOT_MAX_STAGES + 5, PD_SNAPSHOT_RECORD_SIZE, 0);
    expect_capture(2, PD_SNAPSHOT_RECORD_SIZE, 44); // the zeroed buffer
}

} // namespace
