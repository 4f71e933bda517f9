// Which entry a packet takes in the embedded driver, compared with a scan of a plain list; and what the packet counts.
#include <map>
#include <random>
#include <tuple>

#include <vl_driver/idle.h>
#include <vl_driver/resources.h>
#include <vl_model/traffic.h>

#include "support/model.h"

namespace {

using namespace support;
using vl_model::EntryImage;

constexpr uint32_t exact = 0x1000001, masked = 0x1000002, prefix = 0x1000003, keyless = 0x1000004;
constexpr uint32_t counter = 0x4000001;
constexpr uint32_t drop = 0x20000001;
constexpr vl_model_action actions[] = {
    {.handle = drop, .data_bits = 0, .data_len = 0, .for_entries = 1, .for_default = 1},
};

// The bits that each table matches. Masked keys are longer than a word.
const Bytes exact_bits{0x13, 0x03}, prefix_bits{0xFF, 0xF1, 0xFF, 0xFF},
    masked_bits{0x7F, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0, 0x0F};

// What the hardware matches.
struct Match {
    Bytes key, mask;
    uint32_t partition = 0;
    uint32_t priority = 0;

    pipe_match_record record() {
        const auto len = static_cast<uint16_t>(key.size());
        return {key.data(), mask.data(), partition, priority, static_cast<uint16_t>(8 * len), len, 0};
    }
};

struct Row {
    Match software;
    std::optional<Match> hardware; // nothing if it is lost
    uint64_t added = 0;
};

class Matching : public DeviceTest {
protected:
    std::mt19937 random{1};
    std::map<uint32_t, Row> rows; // of the table under test, by handle
    uint64_t adds = 0;

    void SetUp() override {
        vl_model_table tables[] = {
            model_table(exact, VL_MODEL_EXACT, 16, actions), model_table(masked, VL_MODEL_TERNARY, 88, actions),
            model_table(prefix, VL_MODEL_PREFIX, 32, actions), model_table(keyless, VL_MODEL_KEYLESS, 0, actions)};
        tables[0].key_mask = exact_bits.data();
        tables[0].idle_time = 1;
        tables[0].initial_default = drop;
        tables[0].resource_hdl = counter;
        tables[1].key_mask = masked_bits.data();
        tables[2].key_mask = prefix_bits.data();
        const vl_model_resource counters[] = {{.handle = counter, .match_table = exact, .cell_count = 0}};
        start({.name = "p", .tables = tables, .table_count = 4, .counters = counters, .counter_count = 1});
    }

    static const Bytes& key_mask(uint32_t table) {
        return table == exact ? exact_bits : table == masked ? masked_bits : prefix_bits;
    }
    uint32_t pick(size_t count) {
        return static_cast<uint32_t>(random() % count);
    }
    // Few values, so that many entries match a packet. Also bits that don't count.
    Bytes key(uint32_t table) {
        Bytes bytes(key_mask(table).size());
        for (uint8_t& byte : bytes)
            byte = static_cast<uint8_t>((pick(4) == 0 ? 0xC0 : 0) | (pick(4) == 0 ? 0x01 : 0));
        return bytes;
    }
    Match match(uint32_t table) {
        constexpr uint32_t priorities[] = {0, 1, 1, 5, 0x80000000, 0xFFFFFFFF};
        Match made{key(table), Bytes(key_mask(table).size(), 0xFF)};
        if (table == masked) {
            for (uint8_t& byte : made.mask)
                byte = pick(2) == 0 ? 0 : pick(2) == 0 ? 0x0F : 0xFF;
            made.priority = priorities[pick(std::size(priorities))];
        } else if (table == prefix) {
            const uint32_t lengths[] = {0, 1, 9, 16, 31, 32};
            const uint32_t length = lengths[pick(std::size(lengths))];
            made.mask = big_endian(length == 0 ? 0 : ~uint32_t{0} << (32 - length), 4);
            made.partition = pick(2) << 16; // matched whole
            made.priority = 32 - length;
        }
        return made;
    }

    void add(uint32_t table) {
        pipe_action_record action{};
        action.kind = PIPE_KIND_ACTION_DATA;
        uint8_t no_data = 0;
        action.action.data = &no_data;
        Match added = match(table);
        const pipe_match_record record = added.record();
        uint32_t handle = 0;
        if (pipe_mgr_mat_ent_add(session, device, table, &record, drop, &action, 0, 0, &handle) == VL_MODEL_OK)
            rows[handle] = {added, added, ++adds};
    }
    // Changes an entry of the list and of the table alike.
    void change(uint32_t table) {
        if (rows.empty()) return;
        const auto row = std::next(rows.begin(), pick(rows.size()));
        const uint32_t entry = row->first;
        pipe_action_record action{};
        action.kind = PIPE_KIND_ACTION_DATA;
        switch (pick(6)) {
        case 0: // repairs the hardware
            ASSERT_EQ(pipe_mgr_mat_ent_set_action(session, 3, table, entry, drop, &action, 0), VL_MODEL_OK);
            row->second.hardware = row->second.software;
            break;
        case 1:
            ASSERT_EQ(vl_model::drop_hardware(3, table, entry), VL_MODEL_OK);
            row->second.hardware.reset();
            break;
        case 2: {
            if (!row->second.hardware) break;
            Match other = match(table);
            ASSERT_EQ(vl_model::edit_hardware(3, table, entry,
                                              [&](EntryImage& image) {
                                                  image.key = other.key;
                                                  image.mask = other.mask;
                                                  image.partition_index = other.partition;
                                                  image.priority = other.priority;
                                              }),
                      VL_MODEL_OK);
            row->second.hardware = other;
            break;
        }
        default:
            ASSERT_EQ(pipe_mgr_mat_ent_del(session, 3, table, entry, 0), VL_MODEL_OK);
            rows.erase(row);
        }
    }
    void corrupt(uint32_t count) {
        std::vector<vl_model_corruption> damages(count);
        ASSERT_EQ(vl_model_hardware_corrupt(3, random(), count, damages.data(), &count), VL_MODEL_OK);
        for (uint32_t i = 0; i < count; ++i) {
            Row& row = rows.at(damages[i].ent_hdl);
            row.hardware = row.software;
            const auto flip = [&](Bytes& bytes) {
                uint8_t& byte = bytes[damages[i].bit / 8];
                byte = static_cast<uint8_t>(byte ^ 1u << damages[i].bit % 8);
            };
            if (damages[i].what == VL_MODEL_LOST) row.hardware.reset();
            if (damages[i].what == VL_MODEL_KEY_BIT) flip(row.hardware->key);
            if (damages[i].what == VL_MODEL_MASK_BIT) flip(row.hardware->mask);
        }
    }

    // The list's answer; 0 for none.
    uint32_t scan(uint32_t table, const Bytes& packet, uint32_t partition) const {
        const Bytes& counts = key_mask(table);
        const Row* best = nullptr;
        uint32_t handle = 0;
        for (const auto& [entry, row] : rows) {
            if (!row.hardware || row.hardware->partition != partition) continue;
            bool matches = true;
            for (size_t i = 0; i < packet.size(); ++i)
                matches &= ((packet[i] ^ row.hardware->key[i]) & row.hardware->mask[i] & counts[i]) == 0;
            if (!matches || (best != nullptr && std::tie(best->hardware->priority, best->added) <
                                                    std::tie(row.hardware->priority, row.added)))
                continue;
            best = &row;
            handle = entry;
        }
        return handle;
    }
    uint32_t look_up(uint32_t table, const Bytes& packet, uint32_t partition = 0) const {
        const auto len = static_cast<uint32_t>(packet.size());
        return output_of(vl_model_lookup, 3u, table, packet.data(), len, partition).value_or(0);
    }
    void expect_scanned(uint32_t table) {
        for (int i = 0; i < 8; ++i) {
            const Bytes packet = key(table);
            const uint32_t partition = table == prefix ? pick(2) << 16 : 0;
            const uint32_t found = look_up(table, packet, partition);
            ASSERT_EQ(found, scan(table, packet, partition));
            hits += found != 0;
        }
    }
    size_t hits = 0;
};

TEST_F(Matching, IsWhatAScanFinds) {
    for (const uint32_t table : {exact, masked, prefix}) {
        SCOPED_TRACE(table);
        rows.clear();
        hits = 0;
        for (int round = 0; round < 1000 && !HasFatalFailure(); ++round) {
            // Rarely so many changes between two packets that the driver indexes the table anew.
            for (uint32_t changes = round % 500 == 0 ? 4000 : pick(4); changes != 0; --changes)
                rows.size() < 120 && pick(5) < 3 ? add(table) : change(table);
            if (round % 100 == 0) corrupt(pick(20));
            expect_scanned(table);
        }
        EXPECT_GT(hits, 2000u);
        for (const auto& [entry, row] : rows)
            ASSERT_EQ(pipe_mgr_mat_ent_del(session, 3, table, entry, 0), VL_MODEL_OK);
        EXPECT_EQ(look_up(table, key(table)), 0u);
    }
}

TEST_F(Matching, RefusesWhatItCannotMatch) {
    add(exact);
    const Bytes packet(4);
    uint32_t entry = 77;
    const auto status = [&](uint32_t dev_id, uint32_t table, const uint8_t* bytes, uint32_t len, uint32_t* out) {
        const uint32_t looked_up = vl_model_lookup(dev_id, table, bytes, len, 0, out);
        EXPECT_EQ(vl_model_packet(dev_id, table, bytes, len, 0, 64, out), looked_up);
        return looked_up;
    };
    EXPECT_EQ(status(4, exact, packet.data(), 2, &entry), VL_MODEL_UNKNOWN_DEVICE);
    EXPECT_EQ(status(3, 0x1000009, packet.data(), 2, &entry), VL_MODEL_UNKNOWN_TABLE);
    EXPECT_EQ(status(3, keyless, nullptr, 0, &entry), VL_MODEL_NOT_SUPPORTED);
    EXPECT_EQ(status(3, exact, packet.data(), 1, &entry), VL_MODEL_BAD_KEY);
    EXPECT_EQ(status(3, exact, packet.data(), 3, &entry), VL_MODEL_BAD_KEY);
    EXPECT_EQ(status(3, exact, nullptr, 2, &entry), VL_MODEL_INVALID);
    EXPECT_EQ(status(3, exact, packet.data(), 2, nullptr), VL_MODEL_INVALID);
    EXPECT_EQ(status(3, prefix, packet.data(), 4, &entry), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(entry, 77u);
}

// The default entry gets the packets that match no entry, but doesn't age.
TEST_F(Matching, APacketCounts) {
    add(exact);
    const auto& [entry, row] = *rows.begin();
    pipe_idle_params params{};
    params.mode = PIPE_IDLE_MODE_NOTIFY;
    params.params_c = 100;
    ASSERT_EQ(pipe_mgr_idle_set_params(session, 3, exact, params), VL_MODEL_OK);
    ASSERT_EQ(pipe_mgr_idle_tmo_set_enable(session, 3, exact, 1), VL_MODEL_OK);
    Handles timed_out;
    ASSERT_EQ(pipe_mgr_idle_register_tmo_cb(
                  session, 3, exact,
                  [](uint32_t, uint32_t, uint32_t each, void* all) { static_cast<Handles*>(all)->push_back(each); },
                  &timed_out),
              VL_MODEL_OK);
    Bytes packet = row.software.key, other = packet;
    packet[0] ^= 0x80; // not a bit that counts
    other[0] ^= 0x10;
    const auto send = [&](const Bytes& bytes, uint32_t size) {
        return output_of(vl_model_packet, 3u, exact, bytes.data(), 2u, 0u, size);
    };
    EXPECT_EQ(vl_model_clock_advance(60), VL_MODEL_OK);
    EXPECT_EQ(send(packet, 64), entry);
    EXPECT_EQ(send(packet, 0xFFFFFFFF), entry);
    EXPECT_EQ(look_up(exact, packet), entry); // counts nothing
    EXPECT_EQ(send(other, 1500), std::nullopt);
    EXPECT_EQ(vl_model_clock_advance(60), VL_MODEL_OK);
    EXPECT_EQ(timed_out, Handles());
    ASSERT_EQ(pipe_mgr_idle_time_update_hit_state(session, 3, exact, nullptr, nullptr), VL_MODEL_OK);
    EXPECT_EQ(output_of(pipe_mgr_idle_time_get_hit_state, session, 3u, exact, entry), uint32_t{PIPE_IDLE_HIT});
    EXPECT_EQ(vl_model_clock_advance(60), VL_MODEL_OK);
    EXPECT_EQ(timed_out, Handles{entry});

    const auto count = [&](uint32_t of) {
        EXPECT_EQ(pipe_mgr_direct_stat_database_sync(session, device, exact, nullptr, nullptr), VL_MODEL_OK);
        const auto read = output_of(pipe_mgr_mat_ent_direct_stat_query, session, 3u, exact, of).value();
        return std::pair(read.count_a, read.count_b);
    };
    EXPECT_EQ(count(entry), std::pair(uint64_t{2}, uint64_t{64} + 0xFFFFFFFF));
    EXPECT_EQ(count(default_entry(exact)), std::pair(uint64_t{1}, uint64_t{1500}));
}

} // namespace
