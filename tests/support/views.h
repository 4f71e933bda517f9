// Answers the driver's decoders of placement data and its reads of entries and members: a test says how the software
// sees an entry and how the hardware does, in the driver's form.
#pragma once

#include <random>

#include "support/library.h"

namespace support {

// One side's view of an entry or a member. The pointers of its records aren't used: the bytes go to the buffers that
// the library attaches.
struct View {
    pipe_status status = 0;
    pipe_match_record match{};
    pipe_action_record action{};
    uint32_t action_hdl = 0;
    Bytes key, mask, data;
    bool key_null = false;

    void set_target(unsigned kind, uint32_t handle);
};

// Decoders give the software's view, reads give the hardware's.
extern View software, hardware;

// The placement data that the tests pass.
extern const uint64_t blob;

// Starts these answers, which vl_model_reset ends. A decoder fails the test if it gets another blob, or records or
// buffers that aren't zeroed.
void answer_with_views();

// An entry with a random key, or a member if `table` is null. `binding`, which may be null, adds an action with random
// data and an attached slot of the table's resource.
View random_view(std::mt19937& random, const catalog::Table* table, const catalog::Binding* binding);

// All outputs of a table's decoder or read. Each has a value that shows whether it was written.
struct Outputs {
    Bytes key = Bytes(128, 0xA5);
    Bytes action = Bytes(64, 0xA5); // the number, and then the parameters
    uint32_t priority = 0xA5A5A5A5, mbr = 0xA5A5A5A5, grp = 0xA5A5A5A5;
    uint8_t has_mbr = 0xA5, has_grp = 0xA5, is_default = 0xA5;
    bool operator==(const Outputs&) const = default;

    uint32_t number() const; // of the action
    Bytes spec() const {
        return {action.begin() + 4, action.end()};
    }
};

pd_status decode(const catalog::Table& table, Outputs& out);

struct ReadOptions {
    uint32_t from_hw = 0;
    char* name = nullptr; // of the action
    bool number = true;   // of the action; false passes null
};

// Reads the entry with handle 9, and writes the outputs as a decoder does. A read doesn't say whether a keyless table's
// entry is the default: it is.
pd_status read(const catalog::Table& table, Outputs& out, const ReadOptions& options = {});

inline bool is_keyless(const catalog::Table& table) {
    return table.key.size() == 0;
}

} // namespace support
