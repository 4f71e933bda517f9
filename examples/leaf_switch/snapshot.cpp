// Snapshots: what a packet that matches a trigger looks like in some stages. A trigger is a record of all fields that
// the pipeline carries, and so is the packet in a stage. We look at one field.
#include <cstring>

#include "leaf_switch/steps.h"
#include "vl_driver/snapshot.h"
#include "vl_model/behaviour.h"

namespace leaf_switch {
namespace {

constexpr uint32_t ingress = 0;

void put(pd_snapshot_record& record, uint16_t value) {
    std::memcpy(&record.bytes[snapshot_field], &value, sizeof value);
}

// A trigger has its fields in the machine's byte order, a stage most significant byte first.
uint16_t captured(const pd_snapshot_record& stage) {
    return static_cast<uint16_t>(stage.bytes[snapshot_field] << 8 | stage.bytes[snapshot_field + 1]);
}

} // namespace

uint32_t arm_snapshot(const Leaf& leaf, uint16_t field) {
    uint32_t snapshot = 0;
    expect("making a snapshot", p4_pd_velmar_switch_snapshot_create(leaf.target, first_snapshot_stage,
                                                                    last_snapshot_stage, ingress, &snapshot));
    pd_snapshot_record value = {};
    pd_snapshot_record mask = {}; // all other fields may be anything
    put(value, field);
    put(mask, 0xFFFF);
    expect("setting the trigger of a snapshot",
           p4_pd_velmar_switch_snapshot_capture_trigger_set(snapshot, &value, &mask));
    return snapshot;
}

std::optional<Capture> read_snapshot(uint32_t snapshot) {
    std::vector<pd_snapshot_record> stages(PD_SNAPSHOT_MAX_STAGES);
    bf_snapshot_capture_ctrl control = {};
    uint32_t count = 0;
    expect("reading a snapshot",
           p4_pd_velmar_switch_snapshot_capture_data_get(snapshot, PD_ALL_PIPES, stages.data(), &control, &count));
    if (control.state != BF_SNAPSHOT_CAPTURED) return std::nullopt;
    Capture capture = {.trigger_stage = control.trigger_stage, .field = {}};
    for (unsigned stage = first_snapshot_stage; stage <= last_snapshot_stage; ++stage)
        capture.field.push_back(captured(stages[stage - first_snapshot_stage]));
    return capture;
}

void delete_snapshot(uint32_t snapshot) {
    expect("deleting a snapshot", p4_pd_velmar_switch_snapshot_delete(snapshot));
}

} // namespace leaf_switch
