// The snapshot service, and the packets that its triggers match. It takes no sessions.
#include <algorithm>

#include <vl_driver/snapshot.h>
#include <vl_model/traffic.h>

#include "core/boundary.h"
#include "core/model.h"

using namespace vl_model;

namespace {

constexpr uint32_t both_ways = 2; // directions
constexpr uint32_t most_snapshots = UINT32_C(0x3FFFFFFF);

static_assert(VL_MODEL_SNAPSHOT_STAGE_SIZE >= BF_SNAPSHOT_RECORD_SIZE);

// Above bit 1, which is the direction, stands a number that is never reused.
bf_snapshot_hdl snapshot_handle(uint32_t number, uint32_t direction) {
    return number << 2 | direction << 1;
}

template <class Body>
pipe_status with_snapshot(bf_snapshot_hdl hdl, Body&& body) {
    Model& m = model();
    const std::lock_guard lock(m.mutex);
    for (auto& [dev_id, device] : m.devices) {
        const auto found = device->snapshots.find(hdl);
        if (found != device->snapshots.end()) return body(*device, found->second);
    }
    return VL_MODEL_NOT_FOUND;
}

bool is_seen_by(const Device& device, const Snapshot& snapshot, uint32_t pipe) {
    return device.has_pipe(pipe) && (snapshot.pipe == PIPE_ALL_PIPES || snapshot.pipe == pipe);
}

size_t capture_size(const Snapshot& snapshot) {
    return size_t{snapshot.stage_count} * VL_MODEL_SNAPSHOT_STAGE_SIZE;
}

} // namespace

pipe_status bf_snapshot_create(pipe_dev_id dev_id, uint32_t pipe, uint8_t start_stage, uint8_t end_stage,
                               uint32_t direction, bf_snapshot_hdl* hdl) {
    const auto body = [&]() -> pipe_status {
        if (hdl == nullptr || direction >= both_ways || start_stage > end_stage) return VL_MODEL_INVALID;
        Model& m = model();
        const std::lock_guard lock(m.mutex);
        pipe_status status = VL_MODEL_OK;
        Device* device = find_device({dev_id, pipe}, status);
        if (device == nullptr) return status;
        if (m.last_snapshot == most_snapshots) return VL_MODEL_TABLE_FULL;
        const bf_snapshot_hdl added = snapshot_handle(m.last_snapshot + 1, direction);
        Snapshot& snapshot = device->snapshots[added];
        snapshot.pipe = pipe;
        snapshot.first_stage = start_stage;
        snapshot.stage_count = uint32_t{end_stage} - start_stage + 1;
        ++m.last_snapshot;
        *hdl = added;
        return VL_MODEL_OK;
    };
    return boundary("bf_snapshot_create", body, dev_id, pipe, start_stage, end_stage, direction, hdl);
}

pipe_status bf_snapshot_delete(bf_snapshot_hdl hdl) {
    const auto body = [&]() -> pipe_status {
        return with_snapshot(hdl, [&](Device& device, const Snapshot&) -> pipe_status {
            device.snapshots.erase(hdl);
            return VL_MODEL_OK;
        });
    };
    return boundary("bf_snapshot_delete", body, hdl);
}

pipe_status bf_snapshot_capture_trigger_set(bf_snapshot_hdl hdl, const void* value, const void* mask) {
    const auto body = [&]() -> pipe_status {
        if (value == nullptr || mask == nullptr) return VL_MODEL_INVALID;
        return with_snapshot(hdl, [](const Device&, Snapshot& snapshot) -> pipe_status {
            snapshot.control = {.state = BF_SNAPSHOT_ARMED, .trigger_stage = 0};
            snapshot.capture.clear();
            return VL_MODEL_OK;
        });
    };
    return boundary("bf_snapshot_capture_trigger_set", body, hdl,
                    input(static_cast<const uint8_t*>(value), BF_SNAPSHOT_RECORD_SIZE),
                    input(static_cast<const uint8_t*>(mask), BF_SNAPSHOT_RECORD_SIZE));
}

pipe_status bf_snapshot_capture_phv_fields_dict_size(bf_snapshot_hdl hdl, uint32_t* total_size, uint32_t* stage_size) {
    const auto body = [&]() -> pipe_status {
        if (total_size == nullptr || stage_size == nullptr) return VL_MODEL_INVALID;
        return with_snapshot(hdl, [&](const Device&, const Snapshot& snapshot) -> pipe_status {
            *total_size = static_cast<uint32_t>(capture_size(snapshot));
            *stage_size = VL_MODEL_SNAPSHOT_STAGE_SIZE;
            return VL_MODEL_OK;
        });
    };
    return boundary("bf_snapshot_capture_phv_fields_dict_size", body, hdl, total_size, stage_size);
}

pipe_status bf_snapshot_capture_get(bf_snapshot_hdl hdl, uint32_t pipe, uint8_t* buffer, bf_snapshot_capture_ctrl* ctrl,
                                    uint32_t* count) {
    const auto read = [&](const Device& device, const Snapshot& snapshot) -> pipe_status {
        if (!is_seen_by(device, snapshot, pipe)) return VL_MODEL_OUT_OF_RANGE;
        std::fill_n(buffer, capture_size(snapshot), uint8_t{0});
        *ctrl = snapshot.control;
        *count = 0;
        if (!snapshot.capture.empty()) {
            if (pipe != PIPE_ALL_PIPES && pipe != snapshot.captured_pipe) {
                *ctrl = {.state = BF_SNAPSHOT_ARMED, .trigger_stage = 0};
                return VL_MODEL_OK;
            }
            std::copy(snapshot.capture.begin(), snapshot.capture.end(), buffer);
            *count = 1;
        }
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (buffer == nullptr || ctrl == nullptr || count == nullptr) return VL_MODEL_INVALID;
        return with_snapshot(hdl, read);
    };
    return boundary("bf_snapshot_capture_get", body, hdl, pipe, buffer, ctrl, count);
}

uint32_t vl_model_snapshot_match(uint32_t snapshot_hdl, uint32_t pipe, uint8_t stage, const uint8_t* records,
                                 uint32_t count) {
    const auto capture = [&](const Device& device, Snapshot& snapshot) -> pipe_status {
        const bool has_stage =
            stage >= snapshot.first_stage && uint32_t{stage} - snapshot.first_stage < snapshot.stage_count;
        if (pipe == PIPE_ALL_PIPES || !is_seen_by(device, snapshot, pipe) || !has_stage || count > snapshot.stage_count)
            return VL_MODEL_OUT_OF_RANGE;
        if (snapshot.control.state != BF_SNAPSHOT_ARMED) return VL_MODEL_NOT_FOUND;
        std::vector<uint8_t> captured(capture_size(snapshot));
        for (size_t i = 0; i < count; ++i)
            std::copy_n(records + i * BF_SNAPSHOT_RECORD_SIZE, BF_SNAPSHOT_RECORD_SIZE,
                        &captured[i * VL_MODEL_SNAPSHOT_STAGE_SIZE]);
        snapshot.capture = std::move(captured);
        snapshot.captured_pipe = pipe;
        snapshot.control = {.state = BF_SNAPSHOT_CAPTURED, .trigger_stage = stage};
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        return records == nullptr || count == 0 ? pipe_status{VL_MODEL_INVALID} : with_snapshot(snapshot_hdl, capture);
    };
    return run_guarded(body);
}
