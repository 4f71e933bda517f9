// Stands in for the driver's decoders of placement data and its reads of entries and members: a test says what the
// software's view of an entry and the hardware's are, in the driver's form.
#pragma once

#include <random>

#include "support/library.h"

namespace support {

// One view. The pointers of its records aren't used: the bytes go to the buffers that the library attaches.
struct View {
    pipe_status status = 0;
    pipe_match_record match{};
    pipe_action_record action{};
    uint32_t action_hdl = 0;
    Bytes key, mask, data;
    bool key_null = false;

    void set_target(unsigned kind, uint32_t handle);
};

// What placement data decodes to, and what reads give. The decoders fail the test unless they get zeroed records with
// zeroed buffers.
extern View software, hardware;

// The last blob that was decoded; and the arguments of the last read of an entry, without the pointers.
extern const void* decoded_blob;
extern std::vector<uint64_t> read_args;

// An entry with a random key, or a member where `table` is null; with this action, if any, random data and an attached
// slot of the table's resource.
View random_view(std::mt19937& random, const catalog::Table* table, const catalog::Binding* binding);

// All outputs of a table's decoder or read, each recognisable as long as nobody writes to it.
struct Outputs {
    Bytes key = Bytes(128, 0xA5);
    Bytes action = Bytes(64, 0xA5); // the number, and the parameters behind it
    uint32_t priority = 0xA5A5A5A5, mbr = 0xA5A5A5A5, grp = 0xA5A5A5A5;
    uint8_t has_mbr = 0xA5, has_grp = 0xA5, is_default = 0xA5;
    bool operator==(const Outputs&) const = default;

    uint32_t number() const; // of the action
    Bytes spec() const {
        return {action.begin() + 4, action.end()};
    }
};

pd_status decode(const catalog::Table& table, Outputs& out);
// In the form that decoders write. A keyless table's entry is the default, as far as a read tells.
pd_status read(const catalog::Table& table, Outputs& out);

inline bool is_keyless(const catalog::Table& table) {
    return table.key.size() == 0;
}

} // namespace support
