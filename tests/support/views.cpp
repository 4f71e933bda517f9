// See views.h.
#include "support/views.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace support {

View software, hardware;
const uint64_t blob = word(&software);

namespace {

// Writes a view to a caller's records, with the bytes in the buffers that the caller attached.
uint32_t write(const View& view, pipe_action_data& data, uint32_t& action_hdl) {
    if (view.status != 0) return view.status;
    uint8_t* const buffer = data.data;
    if (buffer != nullptr) std::copy(view.data.begin(), view.data.end(), buffer);
    data = view.action.action;
    data.data = buffer;
    action_hdl = view.action_hdl;
    return 0;
}

uint32_t write(const View& view, pipe_match_record& match, pipe_action_record& action, uint32_t& action_hdl) {
    if (view.status != 0) return view.status;
    const pipe_match_record buffers = match;
    const pipe_action_data data = action.action;
    if (match.key_bytes != nullptr) std::copy(view.key.begin(), view.key.end(), match.key_bytes);
    if (match.mask_bytes != nullptr) std::copy(view.mask.begin(), view.mask.end(), match.mask_bytes);
    const bool apart = match.key_bytes == nullptr || std::equal(view.key.begin(), view.key.end(), match.key_bytes);
    EXPECT_TRUE(apart) << "the mask is written over the key";
    match = view.match;
    match.key_bytes = view.key_null ? nullptr : buffers.key_bytes;
    match.mask_bytes = buffers.mask_bytes;
    action = view.action;
    action.action = data;
    return write(view, action.action, action_hdl);
}

void expect_clear(const pipe_match_record& match, const pipe_action_record& action) {
    EXPECT_TRUE(is_clear(&match.partition_index, sizeof match - offsetof(pipe_match_record, partition_index)));
    EXPECT_TRUE(match.key_bytes == nullptr ||
                (is_clear(match.key_bytes, software.key.size()) && is_clear(match.mask_bytes, software.mask.size())));
    const auto* const record = reinterpret_cast<const uint8_t*>(&action);
    constexpr size_t pointer = offsetof(pipe_action_record, action.data), behind = pointer + sizeof action.action.data;
    EXPECT_TRUE(is_clear(record, pointer) && is_clear(record + behind, sizeof action - behind));
    EXPECT_TRUE(is_clear(action.action.data, 32));
}

} // namespace

void answer_with_views() {
    vl_model::answer_calls("pipe_mgr_plcmt_mat_data_get_entry", [](const vl_model::AnsweredCall& call) {
        auto& match = *call.pointer<pipe_match_record>(1);
        auto& action = *call.pointer<pipe_action_record>(2);
        EXPECT_EQ(call.args[0], blob);
        expect_clear(match, action);
        return write(software, match, action, *call.pointer<uint32_t>(3));
    });
    vl_model::answer_calls("pipe_mgr_plcmt_adt_data_get_entry", [](const vl_model::AnsweredCall& call) {
        auto& data = *call.pointer<pipe_action_data>(1);
        EXPECT_EQ(call.args[0], blob);
        EXPECT_EQ(data.data_bits | data.data_len, 0);
        EXPECT_TRUE(is_clear(data.data, 32));
        return write(software, data, *call.pointer<uint32_t>(2));
    });
    vl_model::answer_calls("pipe_mgr_get_entry", [](const vl_model::AnsweredCall& call) {
        return write(hardware, *call.pointer<pipe_match_record>(4), *call.pointer<pipe_action_record>(5),
                     *call.pointer<uint32_t>(6));
    });
    vl_model::answer_calls("pipe_mgr_get_action_data_entry", [](const vl_model::AnsweredCall& call) {
        return write(hardware, *call.pointer<pipe_action_data>(3), *call.pointer<uint32_t>(4));
    });
}

void View::set_target(unsigned kind, uint32_t handle) {
    action.kind = static_cast<uint8_t>(kind);
    action.member_hdl = kind == PIPE_KIND_MEMBER ? handle : 0x77777777;
    action.group_hdl = kind == PIPE_KIND_GROUP ? handle : 0x77777777;
}

View random_view(std::mt19937& random, const catalog::Table* table, const catalog::Binding* binding) {
    const auto bytes = [&](unsigned count) {
        Bytes made(count);
        std::generate(made.begin(), made.end(), [&] { return static_cast<uint8_t>(random()); });
        return made;
    };
    View view;
    if (table != nullptr) {
        const catalog::KeyLayout layout = catalog::key_layout(*table);
        view.key = bytes(layout.bytes);
        view.mask = bytes(layout.bytes);
        view.match.key_len = static_cast<uint16_t>(layout.bytes);
        view.match.priority = static_cast<uint32_t>(random());
        view.match.partition_index = static_cast<uint32_t>(random());
    }
    if (binding == nullptr) return view;
    view.action_hdl = binding->handle;
    view.data = bytes(catalog::action_layout(action_of(*binding)).bytes);
    view.action.kind = PIPE_KIND_ACTION_DATA;
    if (table == nullptr) return view;
    view.action.resource_count = 1;
    view.action.slots[0].resource_hdl = catalog::resource_of(catalog::program, *table).handle;
    view.action.slots[0].index = static_cast<uint32_t>(random());
    view.action.slots[0].tag = PIPE_SLOT_ATTACHED;
    return view;
}

uint32_t Outputs::number() const {
    uint32_t value = 0;
    std::memcpy(&value, action.data(), sizeof value);
    return value;
}

pd_status decode(const catalog::Table& table, Outputs& out) {
    std::vector<uint64_t> words = {blob};
    if (!is_keyless(table)) words.push_back(word(out.key.data()));
    if (catalog::has_priority(table)) words.push_back(word(&out.priority));
    if (catalog::is_indirect(table))
        words.insert(words.end(), {word(&out.mbr), word(&out.grp), word(&out.has_mbr), word(&out.has_grp)});
    else
        words.push_back(word(out.action.data()));
    words.push_back(word(&out.is_default));
    return call(exported(table.name) + "_get_entry_from_plcmt_data", words);
}

pd_status read(const catalog::Table& table, Outputs& out, const ReadOptions& options) {
    std::vector<uint64_t> words = {1, device, 9, options.from_hw};
    if (!is_keyless(table)) words.push_back(word(out.key.data()));
    if (catalog::has_priority(table)) words.push_back(word(&out.priority));
    if (catalog::is_indirect(table))
        words.insert(words.end(), {word(&out.has_mbr), word(&out.has_grp), word(&out.grp), word(&out.mbr)});
    else
        words.insert(words.end(),
                     {word(options.name), word(out.action.data() + 4), options.number ? word(out.action.data()) : 0});
    words.push_back(word(&out.is_default));
    if (is_keyless(table)) out.is_default = 1;
    return call(exported(table.name) + "_get_entry", words);
}

} // namespace support
