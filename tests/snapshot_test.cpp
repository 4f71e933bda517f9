// Snapshots: which bytes of a trigger turn, in both layouts, and how a capture is laid out for the caller.
#include "support/library.h"

#include <algorithm>
#include <cstring>
#include <set>

#include "catalog/rows.h"
#include "vl_driver/snapshot.h"

namespace {

// What reached the service, taken on its way: driver functions are interposable.
struct Service {
    pipe_status status = 0;
    std::vector<uint8_t> value, mask; // of the last trigger
    uint32_t total_size = 0, stage_size = 0;
    std::vector<uint64_t> args; // of the last other call; pointers are addresses
    const void* caller_value = nullptr;
};
Service service;

pd_snapshot_record counting_record(uint8_t start) {
    pd_snapshot_record record;
    for (unsigned i = 0; i < PD_SNAPSHOT_RECORD_SIZE; ++i)
        record.bytes[i] = static_cast<uint8_t>(start + i % 251);
    return record;
}

// The record with the fields of a layout turned, one byte at a time.
std::vector<uint8_t> turned(const pd_snapshot_record& record, const catalog::SnapshotLayout& layout) {
    std::vector<uint8_t> bytes(record.bytes, record.bytes + PD_SNAPSHOT_RECORD_SIZE);
    for (const uint16_t offset : layout.two_byte_fields)
        std::reverse(&bytes[offset], &bytes[offset] + 2);
    for (const uint16_t offset : layout.four_byte_fields)
        std::reverse(&bytes[offset], &bytes[offset] + 4);
    return bytes;
}

TEST(SnapshotLayouts, FieldsDoNotOverlap) {
    const struct {
        size_t two, four;
        unsigned last;
    } expected[] = {{90, 41, 651}, {55, 38, 441}};
    for (size_t i = 0; i < 2; ++i) {
        const catalog::SnapshotLayout& layout = catalog::program.snapshot_layouts[i];
        EXPECT_EQ(layout.two_byte_fields.size(), expected[i].two);
        EXPECT_EQ(layout.four_byte_fields.size(), expected[i].four);
        std::set<unsigned> bytes;
        size_t sum = 0;
        unsigned last = 0;
        const auto take = [&](catalog::List<uint16_t> offsets, unsigned width) {
            for (const unsigned offset : offsets) {
                for (unsigned b = 0; b < width; ++b)
                    bytes.insert(offset + b);
                sum += width;
                last = std::max(last, offset);
            }
        };
        take(layout.two_byte_fields, 2);
        take(layout.four_byte_fields, 4);
        EXPECT_EQ(bytes.size(), sum);
        EXPECT_EQ(last, expected[i].last);
        EXPECT_LE(*bytes.rbegin(), PD_SNAPSHOT_RECORD_SIZE - 1u);
    }
}

TEST(Snapshot, TriggersTurnByTheLayoutOfTheHandle) {
    const pd_snapshot_record value = counting_record(0), mask = counting_record(100);
    for (const uint32_t handle : {0u, 1u, 2u, 3u, 0x1000u, 0x1002u}) {
        service = {};
        service.status = handle;
        EXPECT_EQ(p4_pd_velmar_switch_snapshot_capture_trigger_set(handle, &value, &mask), handle);
        const catalog::SnapshotLayout& layout = catalog::program.snapshot_layouts[(handle & 2) != 0];
        EXPECT_EQ(service.value, turned(value, layout));
        EXPECT_EQ(service.mask, turned(mask, layout));
        EXPECT_NE(service.caller_value, &value) << "the caller's records stay as they are";
        // An offset of each layout alone, and one of both.
        EXPECT_EQ(service.value[2] == value.bytes[3], (handle & 2) == 0);
        EXPECT_EQ(service.value[9] == value.bytes[10], (handle & 2) != 0);
        EXPECT_EQ(service.value[86], value.bytes[87]);
    }
}

TEST(Snapshot, CreateCutsStagesAndPartsTheTarget) {
    uint32_t handle = 0;
    const pd_dev_tgt target = {.dev_id = 7, .pipe_id = 3, .reserved = 1};
    for (const pipe_status status : {0x87654321u, 0u}) {
        service = {};
        service.status = status;
        EXPECT_EQ(p4_pd_velmar_switch_snapshot_create(target, 0x101, 0x20B, 0x10001, &handle), status);
        EXPECT_EQ(service.args, (std::vector<uint64_t>{7, 0x10003, 1, 0x0B, 0x10001, support::word(&handle)}));
        EXPECT_EQ(p4_pd_velmar_switch_snapshot_delete(0x12345678), status);
        EXPECT_EQ(service.args, (std::vector<uint64_t>{0x12345678}));
    }
}

TEST(Snapshot, CapturesComeStageByStageAlsoAfterAFailure) {
    const auto read = [](uint32_t total, uint32_t stage, pipe_status status) {
        service = {};
        service.total_size = total;
        service.stage_size = stage;
        service.status = status;
        std::vector<pd_snapshot_record> stages(PD_SNAPSHOT_MAX_STAGES + 1);
        std::memset(stages.data(), 0xA5, stages.size() * sizeof stages[0]);
        uint32_t count = 99;
        bf_snapshot_capture_ctrl control;
        EXPECT_EQ(p4_pd_velmar_switch_snapshot_capture_data_get(0x12345678, 0x10002, stages.data(), &control, &count),
                  status);
        EXPECT_EQ(service.args, (std::vector<uint64_t>{0x12345678, 0x12345678, 0x10002, support::word(&control)}));
        EXPECT_EQ(count, status == 0 ? 1u : 0u);
        EXPECT_EQ(vl_model::live_allocations(), 0u);
        return stages;
    };
    std::vector<pd_snapshot_record> stages = read(3 * 700, 700, 0);
    for (unsigned stage = 0; stage < 3; ++stage) {
        EXPECT_EQ(stages[stage].bytes[0], static_cast<uint8_t>(stage * 700 % 253)) << "no turning on the way out";
        EXPECT_EQ(stages[stage].bytes[675], static_cast<uint8_t>((stage * 700 + 675) % 253));
    }
    EXPECT_EQ(stages[3].bytes[0], 0xA5);
    stages = read(25 * 676, 676, 0);
    EXPECT_EQ(stages[19].bytes[0], static_cast<uint8_t>(19 * 676 % 253));
    EXPECT_EQ(stages[20].bytes[0], 0xA5) << "twenty stages at the most";
    stages = read(2 * 676, 676, 44);
    EXPECT_EQ(stages[1].bytes[675], 0) << "after a failure the zeroed buffer";
    EXPECT_EQ(stages[2].bytes[0], 0xA5);

    vl_model::fail_allocation(1);
    uint32_t count = 99;
    EXPECT_EQ(p4_pd_velmar_switch_snapshot_capture_data_get(1, 0, stages.data(), nullptr, &count), PD_STATUS_NO_MEMORY);
    EXPECT_EQ(count, 0u);
}

} // namespace

extern "C" {

pipe_status bf_snapshot_create(pipe_dev_id dev_id, uint32_t pipe, uint8_t start_stage, uint8_t end_stage,
                               uint32_t direction, bf_snapshot_hdl* handle) {
    service.args = {dev_id, pipe, start_stage, end_stage, direction, support::word(handle)};
    return service.status;
}

pipe_status bf_snapshot_delete(bf_snapshot_hdl handle) {
    service.args = {handle};
    return service.status;
}

pipe_status bf_snapshot_capture_trigger_set(bf_snapshot_hdl, const void* value, const void* mask) {
    const auto copy = [](const void* record) {
        const auto* const bytes = static_cast<const uint8_t*>(record);
        return std::vector<uint8_t>(bytes, bytes + PD_SNAPSHOT_RECORD_SIZE);
    };
    service.caller_value = value;
    service.value = copy(value);
    service.mask = copy(mask);
    return service.status;
}

pipe_status bf_snapshot_capture_phv_fields_dict_size(bf_snapshot_hdl handle, uint32_t* total, uint32_t* stage) {
    service.args = {handle};
    *total = service.total_size;
    *stage = service.stage_size;
    return 77; // not looked at
}

pipe_status bf_snapshot_capture_get(bf_snapshot_hdl handle, uint32_t pipe, uint8_t* buffer,
                                    bf_snapshot_capture_ctrl* control, uint32_t* count) {
    service.args.insert(service.args.end(), {handle, pipe, support::word(control)});
    if (service.status != 0) return service.status;
    for (uint32_t i = 0; i < service.total_size; ++i)
        buffer[i] = static_cast<uint8_t>(i % 253);
    *count = 1;
    return 0;
}
}
