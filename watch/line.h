// A call as a line of a recording: JSON with what it means to people, and beside it all that its replay needs.
#pragma once

#include <cstdint>

#include "watch/call.h"
#include "watch/pipeline.h"
#include "watch/text.h"

namespace pd_watch {

constexpr int recording_version = 1;

// Appends the call without the members that the recorder numbers: from "function" to "outputs".
void put_call(Text& out, const Pipeline& pipeline, const Call& call);

// Appends `"key":{...}` with a priority if the table has one, and `"action":...,"params":{...}` or a member or group.
// The records must be those of the table.
void put_key(Text& out, const Table& table, const pipe_match_record& match);
void put_action(Text& out, const Table& table, const pipe_action_record& record, uint32_t action_handle);

// Appends a value of a field as people write it, without quotes: an address or a number. `bytes` are the key's or the
// action data's.
void put_value(Text& out, const Field& field, const uint8_t* bytes);

} // namespace pd_watch
