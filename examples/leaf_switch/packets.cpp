// See packets.h. For another driver, send_key() must change. On a real switch packets come by themselves.
#include "leaf_switch/packets.h"

#include <charconv>

#include "vl_model/control.h"
#include "vl_model/traffic.h"

namespace leaf_switch {
namespace {

// What is between the next `begin` and the next `end`. Leaves what comes after.
std::string_view cut(std::string_view& text, std::string_view begin, char end) {
    text.remove_prefix(text.find(begin) + begin.size());
    const std::string_view between = text.substr(0, text.find(end));
    text.remove_prefix(between.size());
    return between;
}

} // namespace

std::vector<uint8_t> key_bytes(std::string_view schema, std::string_view values) {
    std::vector<uint8_t> key;
    while (values.find("0x") != values.npos) {
        const std::string_view field = cut(schema, "','", '\''); // the column's second name, which is the record's
        std::string_view digits = cut(values, "0x", ',');
        if (field.ends_with("_mask") || field.ends_with("_prefix_length")) continue;
        for (size_t size = 2 - digits.size() % 2; !digits.empty(); digits.remove_prefix(size), size = 2)
            std::from_chars(digits.data(), digits.data() + size, key.emplace_back(), 16);
    }
    return key;
}

pd_entry send_key(const Leaf& leaf, pd_status (*table)(uint32_t*), const std::vector<uint8_t>& key, uint32_t bytes) {
    constexpr uint32_t no_partition = 0;
    uint32_t handle = 0;
    expect("asking for a table's handle", table(&handle));
    pd_entry entry = 0;
    const pd_status status = vl_model_packet(leaf.target.dev_id, handle, key.data(), static_cast<uint32_t>(key.size()),
                                             no_partition, bytes, &entry);
    if (status == VL_MODEL_NOT_FOUND) return 0;
    expect("sending a packet", status);
    return entry;
}

} // namespace leaf_switch
