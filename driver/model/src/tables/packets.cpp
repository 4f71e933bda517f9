// Packets that meet a table. behaviour.h says which entry they take.
#include <vl_model/traffic.h>

#include "core/model.h"

using namespace vl_model;

namespace {

struct Packet {
    const uint8_t* key;
    uint32_t key_len;
    uint32_t partition_index;
};

// The entry that a packet takes; 0 for none. The mutex must be held.
pipe_ent_hdl match(Table& table, const Packet& packet) {
    refuse_if(table.description.match == VL_MODEL_KEYLESS, VL_MODEL_NOT_SUPPORTED);
    refuse_if(packet.key_len != table.description.key_len, VL_MODEL_BAD_KEY);
    refuse_if(packet.key == nullptr, VL_MODEL_INVALID);
    return table.matches.find(packet.key, packet.partition_index);
}

// The counter of an entry, or of the default entry unless the hardware has lost it; null if there is none.
pipe_counter_record* counter_of(const Table& table, pipe_ent_hdl ent_hdl) {
    const auto differing = table.hardware.find(ent_hdl);
    const bool is_lost = differing != table.hardware.end() && !differing->second;
    if (table.counter == nullptr || is_lost || !table.has_row(ent_hdl)) return nullptr;
    return &table.counter->cells.hardware(ent_hdl);
}

} // namespace

uint32_t vl_model_lookup(uint32_t dev_id, uint32_t tbl_hdl, const uint8_t* key, uint32_t key_len,
                         uint32_t partition_index, uint32_t* ent_hdl) {
    return guarded([&]() -> uint32_t {
        refuse_if(ent_hdl == nullptr, VL_MODEL_INVALID);
        const auto device = lock_device(dev_id);
        const pipe_ent_hdl found = match(device->table(tbl_hdl), {key, key_len, partition_index});
        if (found == 0) return VL_MODEL_NOT_FOUND; // usual, and an exception would cost more than the look-up
        *ent_hdl = found;
        return VL_MODEL_OK;
    });
}

uint32_t vl_model_packet(uint32_t dev_id, uint32_t tbl_hdl, const uint8_t* key, uint32_t key_len,
                         uint32_t partition_index, uint32_t bytes, uint32_t* ent_hdl) {
    return guarded([&]() -> uint32_t {
        refuse_if(ent_hdl == nullptr, VL_MODEL_INVALID);
        const auto device = lock_device(dev_id);
        Table& table = device->table(tbl_hdl);
        const pipe_ent_hdl found = match(table, {key, key_len, partition_index});
        pipe_counter_record* const counter = counter_of(table, found != 0 ? found : table.default_handle());
        if (found != 0 && table.ageing != nullptr) table.ageing->hit(found, model().now);
        if (counter != nullptr) {
            ++counter->count_a;
            counter->count_b += bytes;
        }
        if (found == 0) return VL_MODEL_NOT_FOUND;
        *ent_hdl = found;
        return VL_MODEL_OK;
    });
}
