// Packets and time. Does what the pipeline does with the entries that the steps made.
#include <algorithm>

#include "leaf_switch/steps.h"
#include "vl_driver/snapshot.h"
#include "vl_model/control.h"
#include "vl_model/traffic.h"

namespace leaf_switch {
namespace {

// False for a station without an entry.
bool hit_source(const Leaf& leaf, const Station& station) {
    const auto key = source_key(station);
    pd_entry entry = 0;
    const pd_status status =
        p4_pd_velmar_switch_l2LearningLookup_match_spec_to_entry_hdl(leaf.session, leaf.target, &key, &entry);
    if (status == VL_MODEL_NOT_FOUND) return false;
    expect("finding a station", status);
    expect("sending a frame",
           vl_model_entry_hit(leaf.target.dev_id, p4_pd_velmar_switch_table_l2LearningLookup, entry));
    return true;
}

void append(std::vector<uint8_t>& bytes, uint32_t value, unsigned size) {
    while (size-- > 0)
        bytes.push_back(static_cast<uint8_t>(value >> 8 * size));
}

} // namespace

size_t send_frames(const Leaf& leaf, std::span<const Station> senders) {
    std::vector<uint8_t> entries;
    uint32_t unknown = 0;
    for (const Station& sender : senders) {
        if (hit_source(leaf, sender)) continue;
        append(entries, sender.mac.oui, 4);
        append(entries, sender.mac.station, 4);
        append(entries, sender.vlan, 2);
        append(entries, sender.interface, 4);
        ++unknown;
    }
    if (unknown != 0) {
        expect("learning from a digest",
               vl_model_digest_raise(leaf.target.dev_id, p4_pd_velmar_switch_digest_macLearningDigest, entries.data(),
                                     unknown));
    }
    return unknown;
}

void send_packets(const Leaf& leaf, const std::string& what, uint64_t packets, uint64_t bytes) {
    const auto counting = std::find_if(leaf.counting.begin(), leaf.counting.end(),
                                       [&](const CountingEntry& candidate) { return candidate.what == what; });
    if (counting == leaf.counting.end()) throw std::runtime_error("no entry counts packets " + what);
    expect("sending packets",
           vl_model_counter_add(leaf.target.dev_id, counting->table, counting->entry, packets, bytes));
}

void send_through_snapshot(uint32_t snapshot, unsigned trigger_stage, std::span<const uint16_t> field) {
    constexpr uint32_t pipe = 0;
    std::vector<uint8_t> stages(field.size() * BF_SNAPSHOT_RECORD_SIZE);
    for (size_t i = 0; i < field.size(); ++i) {
        stages[i * BF_SNAPSHOT_RECORD_SIZE + snapshot_field] = static_cast<uint8_t>(field[i] >> 8);
        stages[i * BF_SNAPSHOT_RECORD_SIZE + snapshot_field + 1] = static_cast<uint8_t>(field[i]);
    }
    expect("matching a trigger", vl_model_snapshot_match(snapshot, pipe, static_cast<uint8_t>(trigger_stage),
                                                         stages.data(), static_cast<uint32_t>(field.size())));
}

void pass_time(uint32_t seconds) {
    expect("moving the clock", vl_model_clock_advance(seconds * 1000));
}

} // namespace leaf_switch
