// What packets and time do to the switch. The embedded driver has neither, so the tour and the tests make them; on a
// real switch they just come.
#pragma once

#include <span>
#include <string>

#include "leaf_switch/leaf_switch.h"

namespace leaf_switch {

// Each station sends a frame, and those that the switch doesn't know come in one digest. Tells how many they were.
size_t send_frames(const Leaf& leaf, std::span<const Station> senders);

// Packets hit the entry that counts what is named so.
void send_packets(const Leaf& leaf, const std::string& what, uint64_t packets, uint64_t bytes);

// A packet matches the trigger in a stage, with these values of the watched field from the first stage on.
void send_through_snapshot(uint32_t snapshot, unsigned trigger_stage, std::span<const uint16_t> field);

void pass_time(uint32_t seconds);

} // namespace leaf_switch
