// Rows as the software or the hardware has them, and the way into a caller's action data. Callers hold the model's
// mutex.
#ifndef VL_MODEL_SRC_READBACK_H
#define VL_MODEL_SRC_READBACK_H

#include "model.h"

namespace vl_model {

// The default entry counts, by its handle.
bool has_row(const Table& table, pipe_ent_hdl ent_hdl);
bool has_row(const DataTable& table, pipe_mbr_hdl mbr_hdl);

// A status if there is no such row, or the hardware has lost it.
pipe_status find_view(const Table& table, pipe_ent_hdl ent_hdl, bool from_hw, EntryView& view);
pipe_status find_view(const DataTable& table, pipe_mbr_hdl mbr_hdl, bool from_hw, EntryView& view);

// No more than the caller has room for.
void read_data(const EntryView& row, pipe_action_data& data);

} // namespace vl_model

#endif
