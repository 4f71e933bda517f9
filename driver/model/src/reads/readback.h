// Reads rows of the software or the hardware into a caller's records. Callers hold the model's mutex.
#pragma once

#include "core/model.h"

namespace vl_model {

// Refuse a row that doesn't exist, and one that the hardware has lost.
EntryView view_of_row(const Table& table, pipe_ent_hdl ent_hdl, bool from_hw);
EntryView view_of_row(const DataTable& table, pipe_mbr_hdl mbr_hdl, bool from_hw);

// Fill a caller's records from a row. The buffers for key and mask have room; of action data, at most `room` bytes are
// written.
void read_match(const Table& table, const EntryView& entry, pipe_match_record& match);
void read_action(const EntryView& entry, uint16_t room, pipe_action_record& action, pipe_act_hdl& act_hdl);
void read_data(const EntryView& row, uint16_t room, pipe_action_data& data);

} // namespace vl_model
