// Rows as the software or the hardware has them, and the way into a caller's action data. Callers hold the model's
// mutex.
#pragma once

#include "core/model.h"

namespace vl_model {

// The default entry counts, by its handle.
bool has_row(const Table& table, pipe_ent_hdl ent_hdl);
bool has_row(const DataTable& table, pipe_mbr_hdl mbr_hdl);

// A status if there is no such row, or the hardware has lost it.
pipe_status find_view(const Table& table, pipe_ent_hdl ent_hdl, bool from_hw, EntryView& view);
pipe_status find_view(const DataTable& table, pipe_mbr_hdl mbr_hdl, bool from_hw, EntryView& view);

// Fill a caller's records from a row. The buffers for key and mask have room; no more than `room` bytes of action data
// are written.
void read_match(const Table& table, const EntryView& entry, pipe_match_record& match);
void read_action(const EntryView& entry, uint16_t room, pipe_action_record& action, pipe_act_hdl& act_hdl);
void read_data(const EntryView& row, uint16_t room, pipe_action_data& data);

} // namespace vl_model
