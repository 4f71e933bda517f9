// What the tests of the embedded driver share: a session, a device with made-up tables, and recorded calls.
#pragma once

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include <vl_driver/driver.h>
#include <vl_model/control.h>
#include <vl_model/observe.hpp>

namespace support {

using Bytes = std::vector<uint8_t>;
using Handles = std::vector<uint32_t>;

// The last `len` bytes of the value, most significant first.
inline Bytes big_endian(uint32_t value, size_t len) {
    Bytes bytes(len);
    for (size_t i = 0; i < len; ++i)
        bytes[i] = static_cast<uint8_t>(value >> 8 * (len - 1 - i));
    return bytes;
}

// What callbacks were told, as text.
inline std::vector<std::string> told;

template <size_t action_count>
vl_model_table model_table(uint32_t handle, vl_model_match match, uint16_t key_bits,
                           const vl_model_action (&actions)[action_count]) {
    vl_model_table table{};
    table.handle = handle;
    table.name = "t";
    table.match = match;
    table.key_bits = key_bits;
    table.key_len = static_cast<uint16_t>((key_bits + 7) / 8);
    table.actions = actions;
    table.action_count = action_count;
    return table;
}

// What a driver function writes to its last argument; nothing if it refuses the call.
template <class... Params, class... Args>
auto output_of(pipe_status (*function)(Params...), Args... args) {
    std::remove_pointer_t<std::tuple_element_t<sizeof...(Args), std::tuple<Params...>>> output;
    std::memset(&output, 0xA5, sizeof(output)); // not 0, which is what functions often write
    const pipe_status status = std::apply(function, std::tuple<Params...>(args..., &output));
    return status == VL_MODEL_OK ? std::optional(output) : std::nullopt;
}

// What a read or a decoder writes to zeroed records and buffers, without the buffers' addresses. Compared as bytes.
struct Reading {
    uint8_t key[8], mask[8], data[8];
    pipe_match_record match;
    pipe_action_record action;
    uint32_t action_hdl;
    pipe_status status;
    bool operator==(const Reading& other) const {
        return std::memcmp(this, &other, sizeof(*this)) == 0;
    }
};

template <class Call>
Reading reading(uint16_t key_room, uint16_t data_room, Call call) {
    Reading r;
    std::memset(&r, 0, sizeof(r));
    r.match = {r.key, r.mask, 0, 0, 0, key_room, 0};
    r.action.action.data = r.data;
    r.action.action.data_len = data_room;
    r.status = call(r);
    r.match.key_bytes = r.match.mask_bytes = r.action.action.data = nullptr;
    return r;
}

template <class Body>
std::vector<vl_model::Call> recorded(Body body) {
    vl_model::record_calls(true);
    body();
    std::vector<vl_model::Call> calls = vl_model::take_calls();
    vl_model::record_calls(false);
    return calls;
}

class DeviceTest : public testing::Test {
protected:
    pipe_dev_tgt device{.dev_id = 3, .pipe_id = PIPE_ALL_PIPES, .reserved = 0};
    pipe_sess_hdl session = 0;

    // Starts anew with one session and one device.
    void start(const vl_model_pipeline& pipeline) {
        vl_model_reset();
        told.clear();
        ASSERT_EQ(vl_model_session_open(&session), VL_MODEL_OK);
        ASSERT_EQ(vl_model_device_add(device.dev_id, &pipeline), VL_MODEL_OK);
    }
    Reading read(uint32_t table, uint32_t entry, bool from_hw = false, uint16_t data_room = 8) const {
        return reading(8, data_room, [&](Reading& r) {
            return pipe_mgr_get_entry(session, table, device, entry, &r.match, &r.action, &r.action_hdl,
                                      from_hw ? 1 : 0, 1, 0);
        });
    }
    // Adds an entry that matches all bits of the key.
    pipe_status add_exact(uint32_t table, Bytes key, uint32_t act, const pipe_action_record& action, uint32_t* entry,
                          uint32_t ttl = 0) const {
        Bytes mask(key.size(), 0xFF);
        const auto len = static_cast<uint16_t>(key.size());
        const pipe_match_record match{key.data(), mask.data(), 0, 0, static_cast<uint16_t>(8 * len), len, 0};
        return pipe_mgr_mat_ent_add(session, device, table, &match, act, &action, ttl, 0, entry);
    }
    uint32_t default_entry(uint32_t table) const {
        return output_of(pipe_mgr_table_get_default_entry_handle, session, device, table).value();
    }
    // The number of rows of a match, data or selector table.
    uint32_t rows_of(uint32_t table) const {
        return output_of(pipe_mgr_get_entry_count, session, device, table, 0).value();
    }
    // The handles of such a table's rows. Fetches them three at a time, and looks whether the last fetch leaves alone
    // what it doesn't need.
    Handles walk(uint32_t table) const {
        const auto first = output_of(pipe_mgr_get_first_entry_handle, session, table, device);
        if (!first) return {};
        Handles handles{*first};
        for (;;) {
            Handles batch(3, 1234567);
            EXPECT_EQ(pipe_mgr_get_next_entry_handles(session, table, device, handles.back(), 3, batch.data()), 0U);
            const auto end = std::find(batch.begin(), batch.end(), PIPE_HDL_END);
            handles.insert(handles.end(), batch.begin(), end);
            if (end != batch.end()) {
                EXPECT_EQ(std::count(end + 1, batch.end(), 1234567U), batch.end() - end - 1);
                return handles;
            }
        }
    }
};

} // namespace support
