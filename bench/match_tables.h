// Tables of the embedded driver that packets meet: exact, with prefixes of sixteen lengths, and masked. Entry i and
// packet i belong together, and the packet matches no other entry.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "vl_driver/tables.h"
#include "vl_model/control.h"
#include "vl_model/traffic.h"

namespace bench {

constexpr uint32_t match_device = 1;
constexpr uint32_t match_action = 0x20000001;
constexpr uint32_t prefix_lengths = 16; // from 17 on

inline void require(bool ok, const char* what) {
    if (ok) return;
    std::fprintf(stderr, "%s failed\n", what);
    std::exit(1);
}

struct MatchTable {
    const char* name;
    uint32_t handle;
    vl_model_match match;
    uint16_t key_len;
    uint32_t masks; // how many the entries have

    struct Key {
        std::array<uint8_t, 44> key{}, mask{};
        uint32_t priority = 0;
    };

    Key entry(uint32_t i) const {
        Key entry;
        entry.mask.fill(0xFF);
        if (match == VL_MODEL_PREFIX) {
            const uint32_t after = prefix_lengths - 1 - i % prefix_lengths; // bits after the prefix
            put(&entry.key[1], i / prefix_lengths << after);
            put(&entry.mask[1], ~uint32_t{0} << after);
            // The lengths mustn't cover each other.
            entry.key[0] = static_cast<uint8_t>(i % prefix_lengths);
            entry.priority = after;
        } else {
            // Exact keys differ in their last bytes, the others in their first.
            put(&entry.key[match == VL_MODEL_EXACT ? key_len - 4 : 0], i);
            if (match == VL_MODEL_TERNARY) {
                put(&entry.mask[4], i % masks);
                entry.priority = i;
            }
        }
        return entry;
    }

    uint32_t add(uint32_t session, uint32_t i) const {
        Key added = entry(i);
        const pipe_match_record record{
            added.key.data(), added.mask.data(), 0, added.priority, static_cast<uint16_t>(8 * key_len), key_len, 0};
        pipe_action_record action{};
        action.kind = PIPE_KIND_ACTION_DATA;
        uint32_t added_hdl = 0;
        require(pipe_mgr_mat_ent_add(session, target, handle, &record, match_action, &action, 0, 0, &added_hdl) == 0,
                "adding an entry");
        return added_hdl;
    }
    // What an agent can do without packets: the whole key names the entry.
    uint32_t find(uint32_t session, Key& key) const {
        const pipe_match_record record{
            key.key.data(), key.mask.data(), 0, key.priority, static_cast<uint16_t>(8 * key_len), key_len, 0};
        uint32_t found = 0;
        pipe_mgr_match_spec_to_ent_hdl(session, target, handle, &record, &found, 0);
        return found;
    }
    uint32_t look_up(const Key& packet) const {
        uint32_t found = 0;
        vl_model_lookup(match_device, handle, packet.key.data(), key_len, 0, &found);
        return found;
    }

private:
    static constexpr pipe_dev_tgt target{.dev_id = match_device, .pipe_id = PIPE_ALL_PIPES, .reserved = 0};

    static void put(uint8_t* to, uint32_t value) {
        value = __builtin_bswap32(value);
        std::memcpy(to, &value, sizeof value);
    }
};

constexpr MatchTable exact_matches = {"exact, 5 bytes", 0x1000001, VL_MODEL_EXACT, 5, 1};
constexpr MatchTable whole_words = {"exact, 8 bytes", 0x1000005, VL_MODEL_EXACT, 8, 1};
constexpr MatchTable prefix_matches = {"prefix, 16 lengths", 0x1000002, VL_MODEL_PREFIX, 5, prefix_lengths};
constexpr MatchTable masked_matches = {"masked, 16 masks", 0x1000003, VL_MODEL_TERNARY, 44, 16};
constexpr MatchTable many_masks = {"masked, 256 masks", 0x1000004, VL_MODEL_TERNARY, 44, 256};
constexpr const MatchTable* match_tables[] = {&exact_matches, &whole_words, &prefix_matches, &masked_matches,
                                              &many_masks};

// Starts the device with empty tables; returns a session.
inline uint32_t start_matching() {
    static constexpr vl_model_action action = {
        .handle = match_action, .data_bits = 0, .data_len = 0, .for_entries = 1, .for_default = 1};
    std::array<vl_model_table, std::size(match_tables)> tables{};
    for (size_t i = 0; i < tables.size(); ++i) {
        const MatchTable& each = *match_tables[i];
        tables[i].handle = each.handle;
        tables[i].name = each.name;
        tables[i].match = each.match;
        tables[i].key_bits = static_cast<uint16_t>(8 * each.key_len);
        tables[i].key_len = each.key_len;
        tables[i].actions = &action;
        tables[i].action_count = 1;
    }
    vl_model_pipeline pipeline{};
    pipeline.name = "matching";
    pipeline.tables = tables.data();
    pipeline.table_count = static_cast<uint32_t>(tables.size());
    vl_model_device_remove(match_device);
    uint32_t session = 0;
    require(vl_model_device_add(match_device, &pipeline) == 0 && vl_model_session_open(&session) == 0, "starting");
    return session;
}

} // namespace bench
