// The snapshot service, and packets that match its triggers. Its calls take no session.
#include <algorithm>

#include <vl_driver/snapshot.h>
#include <vl_model/traffic.h>

#include "core/model.h"

using namespace vl_model;

namespace {

constexpr uint32_t both_ways = 2; // directions
constexpr uint32_t most_snapshots = UINT32_C(0x3FFFFFFF);

static_assert(VL_MODEL_SNAPSHOT_STAGE_SIZE >= BF_SNAPSHOT_RECORD_SIZE);

// Bit 1 is the direction. The bits above are a number that is never reused.
bf_snapshot_hdl snapshot_handle(uint32_t number, uint32_t direction) {
    return number << 2 | direction << 1;
}

// A snapshot and its device, under the mutex.
struct LockedSnapshot {
    explicit LockedSnapshot(bf_snapshot_hdl hdl)
        : lock(model().mutex),
          device(find(hdl)),
          snapshot(device.snapshots.at(hdl)) {}

    static Device& find(bf_snapshot_hdl hdl) {
        for (auto& [dev_id, device] : model().devices)
            if (device->snapshots.contains(hdl)) return *device;
        refuse(VL_MODEL_NOT_FOUND);
    }

    const std::lock_guard<std::mutex> lock;
    Device& device;
    Snapshot& snapshot;
};

bool is_seen_by(const Device& device, const Snapshot& snapshot, uint32_t pipe) {
    return device.has_pipe(pipe) && (snapshot.pipe == PIPE_ALL_PIPES || snapshot.pipe == pipe);
}

size_t capture_size(const Snapshot& snapshot) {
    return size_t{snapshot.stage_count} * VL_MODEL_SNAPSHOT_STAGE_SIZE;
}

} // namespace

pipe_status bf_snapshot_create(pipe_dev_id dev_id, uint32_t pipe, uint8_t start_stage, uint8_t end_stage,
                               uint32_t direction, bf_snapshot_hdl* hdl) {
    return Boundary(__func__, dev_id, pipe, start_stage, end_stage, direction, hdl)([&] {
        refuse_if(direction >= both_ways || start_stage > end_stage, VL_MODEL_INVALID);
        const auto device = lock_device(Target{dev_id, pipe});
        uint32_t& last = model().last_snapshot;
        refuse_if(last == most_snapshots, VL_MODEL_TABLE_FULL);
        const bf_snapshot_hdl added = snapshot_handle(last + 1, direction);
        Snapshot& snapshot = device->snapshots[added];
        snapshot.pipe = pipe;
        snapshot.first_stage = start_stage;
        snapshot.stage_count = uint32_t{end_stage} - start_stage + 1;
        ++last;
        *hdl = added;
    });
}

pipe_status bf_snapshot_delete(bf_snapshot_hdl hdl) {
    return Boundary(__func__, hdl)([&] { LockedSnapshot(hdl).device.snapshots.erase(hdl); });
}

pipe_status bf_snapshot_capture_trigger_set(bf_snapshot_hdl hdl, const void* value, const void* mask) {
    return Boundary(__func__, hdl, input(static_cast<const uint8_t*>(value), BF_SNAPSHOT_RECORD_SIZE),
                    input(static_cast<const uint8_t*>(mask), BF_SNAPSHOT_RECORD_SIZE))([&] {
        const LockedSnapshot found(hdl);
        found.snapshot.control = {.state = BF_SNAPSHOT_ARMED, .trigger_stage = 0};
        found.snapshot.capture.clear();
    });
}

pipe_status bf_snapshot_capture_phv_fields_dict_size(bf_snapshot_hdl hdl, uint32_t* total_size, uint32_t* stage_size) {
    return Boundary(__func__, hdl, total_size, stage_size)([&] {
        *total_size = static_cast<uint32_t>(capture_size(LockedSnapshot(hdl).snapshot));
        *stage_size = VL_MODEL_SNAPSHOT_STAGE_SIZE;
    });
}

pipe_status bf_snapshot_capture_get(bf_snapshot_hdl hdl, uint32_t pipe, uint8_t* buffer, bf_snapshot_capture_ctrl* ctrl,
                                    uint32_t* count) {
    return Boundary(__func__, hdl, pipe, buffer, ctrl, count)([&] {
        const LockedSnapshot found(hdl);
        const Snapshot& snapshot = found.snapshot;
        refuse_if(!is_seen_by(found.device, snapshot, pipe), VL_MODEL_OUT_OF_RANGE);
        const bool is_captured = !snapshot.capture.empty();
        const bool is_of_pipe = pipe == PIPE_ALL_PIPES || pipe == snapshot.captured_pipe;
        std::fill_n(buffer, capture_size(snapshot), uint8_t{0});
        *ctrl = snapshot.control;
        if (is_captured && is_of_pipe) std::copy(snapshot.capture.begin(), snapshot.capture.end(), buffer);
        if (is_captured && !is_of_pipe) *ctrl = {.state = BF_SNAPSHOT_ARMED, .trigger_stage = 0};
        *count = is_captured && is_of_pipe ? 1 : 0;
    });
}

uint32_t vl_model_snapshot_match(uint32_t snapshot_hdl, uint32_t pipe, uint8_t stage, const uint8_t* records,
                                 uint32_t count) {
    return guarded([&] {
        refuse_if(records == nullptr || count == 0, VL_MODEL_INVALID);
        const LockedSnapshot found(snapshot_hdl);
        Snapshot& snapshot = found.snapshot;
        const bool has_stage =
            stage >= snapshot.first_stage && uint32_t{stage} - snapshot.first_stage < snapshot.stage_count;
        refuse_if(pipe == PIPE_ALL_PIPES || !is_seen_by(found.device, snapshot, pipe) || !has_stage ||
                      count > snapshot.stage_count,
                  VL_MODEL_OUT_OF_RANGE);
        refuse_if(snapshot.control.state != BF_SNAPSHOT_ARMED, VL_MODEL_NOT_FOUND);
        std::vector<uint8_t> captured(capture_size(snapshot));
        for (size_t i = 0; i < count; ++i)
            std::copy_n(records + i * BF_SNAPSHOT_RECORD_SIZE, BF_SNAPSHOT_RECORD_SIZE,
                        &captured[i * VL_MODEL_SNAPSHOT_STAGE_SIZE]);
        snapshot.capture = std::move(captured);
        snapshot.captured_pipe = pipe;
        snapshot.control = {.state = BF_SNAPSHOT_CAPTURED, .trigger_stage = stage};
    });
}
