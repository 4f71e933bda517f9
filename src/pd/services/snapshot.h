// Pipeline snapshots: triggers on their way to the snapshot service, and captures on their way back.
#pragma once

#include <cstdint>

#include "vl_pd/types.h"

struct bf_snapshot_capture_ctrl;

namespace vl_pd::snapshot {

// The service takes the low 8 bits of the stages.
pd_status create(pd_dev_tgt dev_tgt, uint32_t start_stage, uint32_t end_stage, uint32_t direction,
                 uint32_t* snapshot_hdl) noexcept;
pd_status remove(uint32_t snapshot_hdl) noexcept;

// The caller's records are in the machine's byte order and aren't changed. The service gets copies in network order.
pd_status capture_trigger_set(uint32_t snapshot_hdl, const pd_snapshot_record* value,
                              const pd_snapshot_record* mask) noexcept;

// Fills `stages` in order, which has room for PD_SNAPSHOT_MAX_STAGES. If the service fails, the records are zero.
pd_status capture_data_get(uint32_t snapshot_hdl, uint32_t pipe, pd_snapshot_record* stages,
                           bf_snapshot_capture_ctrl* capture_ctrl, uint32_t* count) noexcept;

} // namespace vl_pd::snapshot
