// Every keyed table and every entry action of the catalog: what goes in through an add comes back through a read, but
// for the bits that encoding clears. Records are random, from a fixed seed. Expectations are worked out from the rows
// here, field by field, and not by the library's encoders.
#include "support/text.h"

#include <cstring>
#include <random>

namespace {

using namespace support;
using catalog::FieldLayout;
using catalog::KeyField;
using catalog::Match;

class RoundTrip : public LibraryTest {
protected:
    std::mt19937 random{20240611};

    uint32_t random_value(unsigned bits) {
        const uint32_t value = static_cast<uint32_t>(random());
        return bits >= 32 ? value : value & ((1u << bits) - 1);
    }

    // Random values in every field; padding and bits above a field's width stay zero.
    Bytes random_match_spec(const catalog::Table& table) {
        const catalog::KeyLayout layout = catalog::key_layout(table);
        Bytes spec(layout.record_size);
        for (size_t i = 0; i < layout.field_count; ++i) {
            const KeyField& field = table.key.begin()[i];
            const FieldLayout& place = layout.fields[i];
            fill(spec, place.record_offset, place.record_bytes, field.bits);
            if (field.match == Match::ternary) fill(spec, place.partner_offset, place.partner_bytes, field.bits);
            if (field.match == Match::lpm) put(spec, place.partner_offset, 2, random_value(32) % (field.bits + 1));
        }
        return spec;
    }

    Bytes random_action_spec(const catalog::Action& action) {
        const catalog::ActionLayout layout = catalog::action_layout(action);
        Bytes spec(layout.record_size);
        for (size_t i = 0; i < layout.param_count; ++i)
            fill(spec, layout.params[i].record_offset, layout.params[i].record_bytes, layout.params[i].bits);
        return spec;
    }

    void fill(Bytes& record, unsigned offset, unsigned bytes, unsigned bits) {
        if (bytes > 4)
            for (unsigned i = 0; i < bytes; ++i)
                record[offset + i] = static_cast<uint8_t>(random());
        else
            put(record, offset, bytes, random_value(bits));
    }

    static void put(Bytes& record, unsigned offset, unsigned bytes, uint32_t value) {
        std::memcpy(record.data() + offset, &value, bytes);
    }

    static uint32_t get(const Bytes& record, unsigned offset, unsigned bytes) {
        uint32_t value = 0;
        std::memcpy(&value, record.data() + offset, bytes);
        return value;
    }
};

// The record that a read gives for one that was added: values under their masks or prefixes.
Bytes cleared_by_encoding(const catalog::Table& table, Bytes spec) {
    const catalog::KeyLayout layout = catalog::key_layout(table);
    for (size_t i = 0; i < layout.field_count; ++i) {
        const KeyField& field = table.key.begin()[i];
        const FieldLayout& place = layout.fields[i];
        if (field.match == Match::ternary)
            for (unsigned b = 0; b < place.record_bytes; ++b)
                spec[place.record_offset + b] &= spec[place.partner_offset + b];
        if (field.match != Match::lpm) continue;
        uint16_t length;
        std::memcpy(&length, spec.data() + place.partner_offset, sizeof length);
        for (unsigned bit = length; bit < field.bits; ++bit) {
            // A 32-bit value stands in the machine's order, a 128-bit one in network order.
            const unsigned byte = field.bits == 32 ? 3 - bit / 8 : bit / 8;
            spec[place.record_offset + byte] &= static_cast<uint8_t>(~(0x80u >> (bit % 8)));
        }
    }
    return spec;
}

Bytes indices_cut(const catalog::Action& action, Bytes spec) {
    const catalog::ActionLayout layout = catalog::action_layout(action);
    for (size_t i = 0; i < layout.param_count; ++i)
        if (layout.params[i].role == catalog::Role::slot_index)
            std::memset(spec.data() + layout.params[i].record_offset + 2, 0, 2);
    return spec;
}

TEST_F(RoundTrip, EveryKeyedTableWithEveryAction) {
    constexpr uint8_t untouched = 0xA5;
    const pd_meter_spec meter = {1, 2, 3, 4, PD_METER_TYPE_COLOR_AWARE};
    for (const catalog::Table* table : direct_tables()) {
        const catalog::KeyLayout layout = catalog::key_layout(*table);
        const bool masked = catalog::has_priority(*table);
        const std::string base = exported(table->name) + "_";
        for (const catalog::Binding& binding : table->actions) {
            const catalog::Action& action = action_of(binding);
            for (int trial = 0; trial < 3; ++trial) {
                SCOPED_TRACE(base + binding.action);
                const Bytes key = random_match_spec(*table);
                const Bytes spec = random_action_spec(action);
                const uint32_t priority = random_value(32);
                uint32_t entry = 0;
                // 32-bit arguments arrive with garbage above them, as the calling convention allows.
                std::vector<uint64_t> words = {dirty(session), target_word, word(key.data())};
                if (masked) words.push_back(dirty(priority));
                if (!spec.empty()) words.push_back(word(spec.data()));
                if (table->name == std::string("l2LookupMiss")) words.push_back(word(&meter));
                if (table->ttl_on_add) words.push_back(dirty(60));
                words.push_back(word(&entry));
                ASSERT_EQ(call(base + "table_add_with_" + binding.action, words), 0u);

                uint32_t found = 0;
                words = {session, target_word, word(key.data())};
                if (masked) words.push_back(priority);
                std::vector<uint64_t> by_key = words;
                words.push_back(word(&found));
                ASSERT_EQ(call(base + "match_spec_to_entry_hdl", words), 0u);
                EXPECT_EQ(found, entry);

                Bytes read_key(layout.record_size, untouched);
                Bytes read_spec(spec.size() + 4, untouched);
                uint32_t read_priority = 0, action_id = 0;
                uint8_t is_default = untouched;
                char name[61];
                words = {dirty(session), dirty(device), dirty(entry), dirty(0), word(read_key.data())};
                if (masked) words.push_back(word(&read_priority));
                words.insert(words.end(), {word(name), word(read_spec.data()), word(&action_id), word(&is_default)});
                ASSERT_EQ(call(base + "get_entry", words), 0u);
                EXPECT_EQ(hex(read_key), hex(cleared_by_encoding(*table, key)));
                EXPECT_EQ(is_default, 0);
                EXPECT_EQ(read_priority, masked ? priority : 0);
                EXPECT_EQ(name, exported(binding.action));
                EXPECT_EQ(action_id, catalog::number_of(catalog::program.actions, binding.action));
                Bytes expected_spec = indices_cut(action, spec);
                expected_spec.insert(expected_spec.end(), 4, untouched);
                EXPECT_EQ(hex(read_spec), hex(expected_spec)) << "and nothing behind the record is written";
                words.clear();
                if (!spec.empty()) words.push_back(word(read_spec.data()));
                EXPECT_EQ(value_of_entry(*table, session, entry),
                          "((" + text_of(table->name + std::string("_match_spec_value"), {word(read_key.data())}) +
                              text_of(binding.action + std::string("_value"), words) + "),(" +
                              std::to_string(masked ? static_cast<int32_t>(priority) : 0) + ",True))");

                ASSERT_EQ(call(base + "table_delete_by_match_spec", by_key), 0u);
                EXPECT_EQ(call(base + "table_delete_by_match_spec", by_key), VL_MODEL_NOT_FOUND);
            }
        }
    }
}

// The keys of the five indirect tables, by the key alone.
TEST_F(RoundTrip, KeysOfIndirectTables) {
    for (const catalog::Table* table : keyed_tables()) {
        if (!catalog::is_indirect(*table)) continue;
        SCOPED_TRACE(table->name);
        const catalog::KeyLayout layout = catalog::key_layout(*table);
        const Bytes key = random_match_spec(*table);
        uint32_t entry = 0;
        std::vector<uint64_t> words = {session, target_word, word(key.data())};
        if (catalog::has_priority(*table)) words.push_back(5);
        words.push_back(word(&entry));
        EXPECT_EQ(call(exported(table->name) + "_match_spec_to_entry_hdl", words), VL_MODEL_NOT_FOUND);
        const vl_model::Call look_up = only_call();
        EXPECT_EQ(look_up.args[2], table->handle);
        EXPECT_EQ(look_up.match->key_bits, layout.bits);
        Bytes expected;
        for (unsigned shift = 8 * layout.bytes; shift > 0; shift -= 8) {
            uint32_t value = get(key, 0, layout.fields[0].record_bytes);
            if (catalog::has_priority(*table)) value &= get(key, layout.fields[0].partner_offset, 4);
            expected.push_back(static_cast<uint8_t>(value >> (shift - 8)));
        }
        EXPECT_EQ(hex(look_up.match->key), hex(expected));
        EXPECT_EQ(look_up.match->priority, catalog::has_priority(*table) ? 5 : 0);
    }
}

TEST_F(RoundTrip, WalkingAndCountingReachTheDriverOfEveryTable) {
    for (const catalog::Table* table : all_tables()) {
        SCOPED_TRACE(table->name);
        const std::string base = exported(table->name) + "_";
        uint32_t count = 99;
        EXPECT_EQ(call(base + "get_entry_count", {dirty(session), target_word, word(&count)}), 0u);
        EXPECT_EQ(count, 0u);
        EXPECT_EQ(only_call().args, (std::vector<uint64_t>{session, target_word, table->handle, 0, word(&count)}));
        uint32_t handle = 99;
        EXPECT_EQ(call(base + "get_first_entry_handle", {session, target_word, word(&handle)}), VL_MODEL_NOT_FOUND);
        EXPECT_EQ(only_call().args, (std::vector<uint64_t>{session, table->handle, target_word, word(&handle)}));
        call(base + "get_next_entry_handles", {session, target_word, dirty(7), dirty(1), word(&handle)});
        EXPECT_EQ(only_call().args, (std::vector<uint64_t>{session, table->handle, target_word, 7, 1, word(&handle)}));
    }
}

TEST_F(RoundTrip, AWalkVisitsEveryEntryOnce) {
    constexpr uint32_t count = 100;
    for (uint32_t i = 0; i < count; ++i) {
        p4_pd_velmar_switch_ipv4Host_match_spec_t key = {.l3Info_vrfId = 1, .ingIpv4_dip = i};
        pd_entry entry;
        ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_table_add_with_onMiss(session, target, &key, &entry), 0u);
    }
    std::vector<bool> seen(count);
    pd_entry batch[8];
    ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_get_first_entry_handle(session, target, &batch[0]), 0u);
    uint32_t visited = 0;
    const auto visit = [&](pd_entry entry) {
        p4_pd_velmar_switch_ipv4Host_match_spec_t key;
        uint8_t is_default;
        ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_get_entry(session, device, entry, 0, &key, nullptr, nullptr, nullptr,
                                                         &is_default),
                  0u);
        EXPECT_FALSE(seen.at(key.ingIpv4_dip));
        seen[key.ingIpv4_dip] = true;
        ++visited;
    };
    visit(batch[0]);
    for (pd_entry last = batch[0]; last != PD_HDL_END;) {
        ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_get_next_entry_handles(session, target, last, 8, batch), 0u);
        for (const pd_entry entry : batch) {
            last = entry;
            if (entry == PD_HDL_END) break;
            visit(entry);
        }
    }
    EXPECT_EQ(visited, count);
}

} // namespace
