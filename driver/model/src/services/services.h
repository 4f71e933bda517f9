// Digests, value sets, hash calculations and snapshots of a device. Callers hold the model's mutex.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include <vl_driver/digests.h>
#include <vl_driver/hash.h>
#include <vl_driver/snapshot.h>
#include <vl_driver/value_sets.h>

#include "core/callbacks.h"
#include "profiles/profile_store.h"

namespace vl_model {

struct DigestMessage {
    pipe_digest_msg message{};
    std::vector<uint8_t> entries;
};

struct Digest {
    uint32_t entry_size = 0;
    pipe_sess_hdl sess_hdl = 0; // of the registration
    Subscriber<pipe_digest_cb> subscriber;
    // The unacknowledged messages, by the address that the agent has.
    std::unordered_map<const pipe_digest_msg*, std::unique_ptr<DigestMessage>> messages;
};

// The place of a value set's entry. Each place has a separate list of entries.
struct ValueSetPlace {
    uint32_t gress = 0;
    uint32_t pipe = 0;
    uint8_t parser = 0;

    bool operator==(const ValueSetPlace&) const = default;
};

struct ValueSetEntry {
    ValueSetPlace place;
    uint32_t value = 0;
    uint32_t mask = 0;

    bool operator==(const ValueSetEntry&) const = default;
};

struct ValueSet {
    RowMap<ValueSetEntry> entries;
    std::map<std::pair<uint32_t, uint64_t>, uint32_t> properties; // by number and argument
};

struct HashCalculation {
    vl_model_hash_calculation description{};
    pipe_hash_algo_hdl algorithm = 0;
    uint64_t seed = 0;
    std::vector<pipe_hash_attribute> attributes;
};

struct Snapshot {
    uint32_t pipe = 0;
    uint32_t stage_count = 0;
    uint8_t first_stage = 0;
    bf_snapshot_capture_ctrl control{};
    uint32_t captured_pipe = 0;
    std::vector<uint8_t> capture; // the records of the stages, as the service delivers them
};

} // namespace vl_model
