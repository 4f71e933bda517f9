// How a packet meets a table: the key bytes of the packet, the entry that it takes, and the action of this entry.
#pragma once

#include <cstring>
#include <string_view>

#include "leaf_switch/steps.h"

namespace leaf_switch {

// A packet's key bytes, as the driver takes them. `schema` and `values` are the library's texts of the table's
// match_spec record. Both have one column for each field and mask, in the order of the key. A packet has no masks.
std::vector<uint8_t> key_bytes(std::string_view schema, std::string_view values);

// Sends a packet of this many bytes to a table. Returns the entry that it takes, or 0 for the default entry.
pd_entry send_key(const Leaf& leaf, pd_status (*table)(uint32_t*), const std::vector<uint8_t>& key, uint32_t bytes);

// The functions that the library has for the keys of a table, and for the keys and actions of a table.
#define KEYS(table)                                                                                                    \
    p4_pd_velmar_switch_##table##_get_mat_table_handle, p4_pd_velmar_switch_##table##_match_spec_schema,               \
        p4_pd_velmar_switch_##table##_match_spec_value
#define KEYS_AND_ACTIONS(table)                                                                                        \
    KEYS(table), p4_pd_velmar_switch_##table##_get_entry, p4_pd_velmar_switch_##table##_table_get_default_entry

// send(leaf, KEYS(l3DmacCheck), packet, 64) sends a packet of 64 bytes to the table. The packet's fields are in the
// table's match_spec record, like the key of an entry. Masks don't count.
template <class Key>
pd_entry send(const Leaf& leaf, pd_status (*table)(uint32_t*), const char* (*schema)(), int (*value)(const Key*, char*),
              const std::type_identity_t<Key>& packet, uint32_t bytes) {
    char values[512]; // more than the longest text needs
    value(&packet, values);
    return send_key(leaf, table, key_bytes(schema(), values), bytes);
}

// Also sends the packet. Returns the action of the entry or default entry that it takes, read from the hardware.
template <class Key, class GetEntry, class GetDefault>
pd_action_record send_for_action(const Leaf& leaf, pd_status (*table)(uint32_t*), const char* (*schema)(),
                                 int (*value)(const Key*, char*), GetEntry* get_entry, GetDefault* get_default,
                                 const std::type_identity_t<Key>& packet, uint32_t bytes) {
    constexpr uint32_t from_hardware = 1;
    pd_action_record action = {};
    const pd_entry entry = send(leaf, table, schema, value, packet, bytes);
    if (entry == 0) {
        expect("reading a default entry", get_default(leaf.session, leaf.target, from_hardware, &action));
        return action;
    }
    const auto get = [&](auto*... key) {
        uint8_t is_default = 0;
        return get_entry(leaf.session, leaf.target.dev_id, entry, from_hardware, key..., nullptr, action.spec,
                         &action.action_id, &is_default);
    };
    Key key = {};
    uint32_t priority = 0;
    if constexpr (std::invocable<GetEntry*, pd_session, pd_device, pd_entry, uint32_t, Key*, uint32_t*, char*, void*,
                                 uint32_t*, uint8_t*>)
        expect("reading an entry with a priority", get(&key, &priority));
    else
        expect("reading an entry", get(&key));
    return action;
}

// An action with parameters, and the type of their record.
template <class Parameters>
struct ActionOf {
    uint32_t number;
};
#define ACTION(table, action)                                                                                          \
    KEYS_AND_ACTIONS(table), ActionOf<p4_pd_velmar_switch_##action##_action_spec_t> {                                  \
        p4_pd_velmar_switch_action_##action                                                                            \
    }

// send_for_parameters(leaf, ACTION(ipv4Host, setNextHop), packet, 64) sends the packet and returns the parameters of
// the action. If the packet meets another action, all parameters are 0.
template <class Key, class GetEntry, class GetDefault, class Parameters>
Parameters send_for_parameters(const Leaf& leaf, pd_status (*table)(uint32_t*), const char* (*schema)(),
                               int (*value)(const Key*, char*), GetEntry* get_entry, GetDefault* get_default,
                               ActionOf<Parameters> action, const std::type_identity_t<Key>& packet, uint32_t bytes) {
    const pd_action_record met = send_for_action(leaf, table, schema, value, get_entry, get_default, packet, bytes);
    Parameters parameters = {};
    if (met.action_id == action.number) std::memcpy(&parameters, met.spec, sizeof parameters);
    return parameters;
}

} // namespace leaf_switch
