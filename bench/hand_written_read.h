// The parts that all reads written by hand share: the driver's call with its buffers, the list of resources, and the
// name and number of the action.
#pragma once

#include <cstring>

#include "codec/bytes.h"
#include "hand_written.h"
#include "hand_written_bytes.h"
#include "vl_driver/system.h"
#include "vl_driver/tables.h"

namespace by_hand {

inline constexpr uint16_t data_capacity = 32;

[[gnu::cold, gnu::noinline]] inline void log_unexpected(const char* condition, const char* function, int line) {
    bf_sys_log_and_trace(BF_SYS_MODULE_NONE, BF_SYS_LEVEL_ERROR, "ASSERTION FAILED: %s from %s:%d", condition, function,
                         line);
}

// The attached slots as pairs. No action of these tables needs them. But every read makes the list, and fails if there
// is no memory for it.
struct Resources {
    pd_resource_index* pairs = nullptr;
    uint32_t count = 0;

    ~Resources() {
        if (pairs != nullptr) bf_sys_free(pairs);
    }
    bool list(const pipe_action_record& action) {
        if (action.resource_count == 0) return true;
        pairs = static_cast<pd_resource_index*>(bf_sys_calloc(action.resource_count, sizeof *pairs));
        if (pairs == nullptr) return false;
        const int slots = action.resource_count < PIPE_MAX_SLOTS ? action.resource_count : PIPE_MAX_SLOTS;
        for (int i = 0; i < slots; ++i)
            if (action.slots[i].tag == PIPE_SLOT_ATTACHED)
                pairs[count++] = {action.slots[i].resource_hdl, action.slots[i].index};
        return true;
    }
};

// The driver's call, with the buffers that it fills.
struct Answer {
    Byte data[data_capacity] = {};
    pipe_match_record match;
    alignas(vl_pd::bytes::Vector) pipe_action_record action;
    pipe_act_hdl act_hdl = 0;

    Answer(Byte* key, Byte* mask, uint16_t key_bits, uint16_t key_len) : match{key, mask, 0, 0, key_bits, key_len, 0} {
        vl_pd::bytes::clear(action);
        action.action.data_len = data_capacity;
        action.action.data = data;
    }

    // Reads an entry and lists its resources. PD_STATUS_OK if the answer holds action data.
    pd_status ask(pd_session sess_hdl, pd_device dev_id, pipe_tbl_hdl table, pd_entry entry_hdl, uint32_t read_from_hw,
                  const char* function, Resources& resources) {
        const pd_status refused = pipe_mgr_get_entry(sess_hdl, table, {dev_id, PIPE_ALL_PIPES, 0}, entry_hdl, &match,
                                                     &action, &act_hdl, static_cast<uint8_t>(read_from_hw), 1, 0);
        if (refused != 0) return refused;
        if (action.kind != PIPE_KIND_ACTION_DATA) {
            log_unexpected("\"0\" (0)", function, __LINE__);
            return PD_STATUS_UNEXPECTED;
        }
        return resources.list(action) ? PD_STATUS_OK : PD_STATUS_NO_MEMORY;
    }
    bool has_key() const {
        return match.key_bytes != nullptr && match.key_len != 0;
    }
};

template <size_t size>
inline void tell(const char (&name)[size], uint32_t number, char* action_name, uint32_t* action_id) {
    if (action_name != nullptr) std::memcpy(action_name, name, size);
    if (action_id != nullptr) *action_id = number;
}

} // namespace by_hand

// A case of the switch over the action's handle. The names are those of the reads' arguments.
#define VL_ACTION(handle, action)                                                                                      \
    case handle:                                                                                                       \
        tell("p4_pd_velmar_switch_" #action, p4_pd_velmar_switch_action_##action, action_name, action_id);             \
        break
#define VL_ACTION_WITH_PARAMETERS(handle, action)                                                                      \
    case handle:                                                                                                       \
        tell("p4_pd_velmar_switch_" #action, p4_pd_velmar_switch_action_##action, action_name, action_id);             \
        decode(answer.data, static_cast<p4_pd_velmar_switch_##action##_action_spec_t*>(action_spec));                  \
        break
