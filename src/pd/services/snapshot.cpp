// The byte order of trigger records, and the read-out of a capture stage by stage.
#include "pd/services/snapshot.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "catalog/rows.h"
#include "codec/bytes.h"
#include "pd/driver_array.h"
#include "vl_driver/snapshot.h"

namespace vl_pd::snapshot {

namespace {

constexpr bool fields_fit(const catalog::SnapshotLayout& layout) {
    const auto fit = [](catalog::List<uint16_t> offsets, unsigned bytes) {
        return std::all_of(offsets.begin(), offsets.end(),
                           [=](unsigned offset) { return offset + bytes <= PD_SNAPSHOT_RECORD_SIZE; });
    };
    return fit(layout.two_byte_fields, 2) && fit(layout.four_byte_fields, 4);
}

constexpr const catalog::Rows<catalog::SnapshotLayout>& layouts = catalog::program.snapshot_layouts;
static_assert(std::all_of(layouts.begin(), layouts.end(), fields_fit));

// Bit 1 of a snapshot's handle tells which layout its records have.
const catalog::SnapshotLayout& layout_of(uint32_t snapshot_hdl) {
    static constexpr catalog::SnapshotLayout bytes_alone{};
    return layouts.size() == 0 ? bytes_alone : layouts[snapshot_hdl >> 1 & 1];
}

pd_snapshot_record to_network_order(pd_snapshot_record record, const catalog::SnapshotLayout& layout) {
    for (const uint16_t offset : layout.two_byte_fields) {
        uint8_t* const field = record.bytes + offset;
        bytes::store_big_endian<2>(field, bytes::load<2>(field));
    }
    for (const uint16_t offset : layout.four_byte_fields) {
        uint8_t* const field = record.bytes + offset;
        bytes::store_big_endian<4>(field, bytes::load<4>(field));
    }
    return record;
}

} // namespace

pd_status create(pd_dev_tgt dev_tgt, uint32_t start_stage, uint32_t end_stage, uint32_t direction,
                 uint32_t* snapshot_hdl) noexcept {
    const auto target = std::bit_cast<uint64_t>(dev_tgt);
    return bf_snapshot_create(static_cast<uint32_t>(target), static_cast<uint32_t>(target >> 32),
                              static_cast<uint8_t>(start_stage), static_cast<uint8_t>(end_stage), direction,
                              snapshot_hdl);
}

pd_status remove(uint32_t snapshot_hdl) noexcept {
    return bf_snapshot_delete(snapshot_hdl);
}

pd_status capture_trigger_set(uint32_t snapshot_hdl, const pd_snapshot_record* value,
                              const pd_snapshot_record* mask) noexcept {
    const catalog::SnapshotLayout& layout = layout_of(snapshot_hdl);
    const pd_snapshot_record service_value = to_network_order(*value, layout);
    const pd_snapshot_record service_mask = to_network_order(*mask, layout);
    return bf_snapshot_capture_trigger_set(snapshot_hdl, &service_value, &service_mask);
}

pd_status capture_data_get(uint32_t snapshot_hdl, uint32_t pipe, pd_snapshot_record* stages,
                           bf_snapshot_capture_ctrl* capture_ctrl, uint32_t* count) noexcept {
    *count = 0;
    uint32_t total_size = 0;
    uint32_t stage_size = 0;
    bf_snapshot_capture_phv_fields_dict_size(snapshot_hdl, &total_size, &stage_size);
    const DriverArray<uint8_t> capture(total_size);
    if (capture.get() == nullptr) return PD_STATUS_NO_MEMORY;
    const pd_status status = bf_snapshot_capture_get(snapshot_hdl, pipe, capture.get(), capture_ctrl, count);
    // A stage is at least as large as a record. A size of 0 means that there is no stage to copy.
    const uint32_t stage_count = stage_size == 0 ? 0 : total_size / stage_size;
    for (uint32_t stage = 0; stage < std::min<uint32_t>(stage_count, PD_SNAPSHOT_MAX_STAGES); ++stage)
        std::memcpy(&stages[stage], capture.get() + size_t{stage} * stage_size, sizeof stages[stage]);
    return status;
}

} // namespace vl_pd::snapshot
