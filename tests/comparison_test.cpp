// Comparing placement data with the hardware: every bit of every field and parameter of the catalog, and the members
// and groups that entries point at. The tests work out the expected messages from the rows, the decoder and the read.
#include "support/views.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>

namespace {

using namespace support;

constexpr const char* equal = "equal";

template <class... Values>
std::string format(const char* format, Values... values) {
    char text[200];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

void flip(Bytes& bytes, size_t bit) {
    bytes[bit / 8] ^= static_cast<uint8_t>(1u << bit % 8);
}

// A field, its mask or prefix length, or a parameter: its place in the record and its name in messages.
struct Item {
    std::string name;
    unsigned offset, bytes, bits;
    catalog::FieldMask mask = {};

    bool wide() const {
        return bits > 32;
    }
    // The bytes, with zeros for bits that don't count.
    Bytes value(const Bytes& record) const {
        const uint64_t low = wide() ? mask.low : mask.low & ((uint64_t{1} << bits) - 1);
        Bytes value(record.begin() + offset, record.begin() + offset + bytes);
        for (unsigned i = 0; i < bytes; ++i)
            value[i] &= static_cast<uint8_t>(wide() ? (i < 8 ? mask.high : low) >> 8 * (7 - i % 8) : low >> 8 * i);
        return value;
    }
    uint32_t number(const Bytes& record) const {
        uint32_t number = 0;
        std::memcpy(&number, value(record).data(), bytes);
        return number;
    }
};
using Items = std::vector<Item>;

const Items& items_of(const catalog::Table& table) {
    static std::map<const catalog::Table*, Items> of_tables;
    Items& all = of_tables[&table];
    if (!all.empty()) return all;
    const catalog::KeyLayout layout = catalog::key_layout(table);
    for (size_t i = 0; i < layout.field_count; ++i) {
        const catalog::KeyField& field = table.key.begin()[i];
        const catalog::FieldLayout& place = layout.fields[i];
        const std::string name = std::string("mspec ") + field.pd_name;
        all.push_back({name, place.record_offset, place.record_bytes, field.bits, field.mask});
        if (field.match == catalog::Match::ternary)
            all.push_back({name + "_mask", place.partner_offset, place.record_bytes, field.bits, field.mask});
        if (field.match == catalog::Match::lpm) all.push_back({name + "_prefix_length", place.partner_offset, 2, 16});
    }
    return all;
}

Items items_of(const catalog::Action& action) {
    Items all;
    const catalog::ActionLayout layout = catalog::action_layout(action);
    for (size_t i = 0; i < layout.param_count; ++i)
        all.push_back({std::string("aspec action_") + action.params.begin()[i].name, layout.params[i].record_offset,
                       layout.params[i].record_bytes, layout.params[i].bits});
    return all;
}

std::string first_difference(const Items& items, const Bytes& pd, const Bytes& hw) {
    for (const Item& item : items)
        if (item.value(pd) != item.value(hw))
            return item.wide() ? item.name + " differs"
                               : item.name + format(" differs 0x%x vs 0x%x", item.number(pd), item.number(hw));
    return equal;
}

std::string target_difference(const Outputs& pd, const Outputs& hw) {
    if (pd.has_mbr) {
        if (!hw.has_mbr) return "no mbr_hdl in hw";
        if (hw.mbr == 0 || hw.mbr == pd.mbr) return equal;
        return format("mbr_hdl differs: mbr_hdl_pd=0x%x, mbr_hdl_hw=0x%x", pd.mbr, hw.mbr);
    }
    if (pd.has_grp) return hw.has_grp || pd.is_default ? equal : "pd has group handle but not hw";
    if (hw.has_mbr) return hw.mbr == 0 ? equal : "hw has mbr_hdl but not pd";
    return hw.has_grp && hw.grp != 0 ? "hw has grp_hdl but not pd" : equal;
}

class Comparison : public LibraryTest {
protected:
    static constexpr size_t promised_room = 66; // the header promises that a message fits
    std::mt19937 random{20240711};

    Comparison() {
        answer_with_views();
        vl_model::record_calls(false); // there are very many
    }

    // The message, or `equal` if the buffer wasn't touched.
    std::string answer_of(const std::string& name, std::vector<uint64_t> words) {
        constexpr char untouched = '\xA5';
        char message[2 * promised_room];
        std::fill(std::begin(message), std::end(message), untouched);
        words.push_back(word(message));
        const uint32_t result = call(exported(name), words);
        char* const kept = result == 1 ? message : message + promised_room;
        EXPECT_TRUE(std::all_of(kept, std::end(message), [](char byte) { return byte == untouched; }));
        if (result == 1) return equal;
        EXPECT_EQ(result, 0u);
        message[promised_room] = 0;
        return message;
    }

    // Compares the two views. The table's own function, which ignores its handle, and the function by handle agree.
    std::string compare(const catalog::Table& table) {
        const std::string own = answer_of(std::string(table.name) + "_plcmt_data_eq_to_hw",
                                          {dirty(session), 0x7700 | device, 0x7777, dirty(99), blob});
        EXPECT_EQ(answer_of("plcmt_data_eq_to_hw",
                            {dirty(session), 0x7700 | device, dirty(table.handle), dirty(99), blob, ~0ull}),
                  own);
        return own;
    }

    static std::string expected(const catalog::Table& table) {
        Outputs pd, hw;
        EXPECT_EQ(decode(table, pd), 0u);
        EXPECT_EQ(read(table, hw), 0u);
        if (pd.is_default != 0 && hw.is_default == 0) return "pd entry is default but not hw";
        const std::string keys = pd.is_default ? equal : first_difference(items_of(table), pd.key, hw.key);
        if (keys != equal) return keys;
        if (catalog::is_indirect(table)) return target_difference(pd, hw);
        if (pd.number() != hw.number()) return format("actions differ 0x%x, vs 0x%x", pd.number(), hw.number());
        return first_difference(items_of(catalog::program.actions[pd.number()]), pd.spec(), hw.spec());
    }
    void expect_expected(const catalog::Table& table) {
        ASSERT_EQ(compare(table), expected(table));
    }

    // Both views show the same entry, with different priorities.
    void same_entry(const catalog::Table& table, const catalog::Binding* binding) {
        software = hardware = random_view(random, &table, binding);
        ++hardware.match.priority;
    }
    void same_entry(const catalog::Table& table) {
        same_entry(table, catalog::is_indirect(table) ? nullptr : table.actions.begin());
    }

    // Flips each bit of these bytes, first in one view and then in the other.
    void every_bit(const catalog::Table& table, Bytes View::*bytes) {
        for (View* const view : {&software, &hardware})
            for (size_t bit = 0; bit < 8 * (view->*bytes).size(); ++bit) {
                flip(view->*bytes, bit);
                expect_expected(table);
                flip(view->*bytes, bit);
            }
    }
    void every_bit(const catalog::Table& table, uint32_t& number) {
        const uint32_t before = number;
        for (unsigned bit = 0; bit < 32; ++bit) {
            number = before ^ 1u << bit;
            expect_expected(table);
        }
        number = before;
    }

    // Records with any content, also in the padding and in the bits above a field's width. If several items differ, the
    // message names the first.
    void every_bit(const std::string& function, const Items& items, size_t size) {
        const auto expect_message = [&](const Bytes& pd, const Bytes& hw) {
            ASSERT_EQ(answer_of(function, {word(pd.data()), word(hw.data())}), first_difference(items, pd, hw));
        };
        Bytes record(size), ones(size, 0xFF);
        std::generate(record.begin(), record.end(), [&] { return static_cast<uint8_t>(random()); });
        Bytes other = record;
        for (size_t bit = 0; bit < 8 * size; ++bit) {
            flip(other, bit);
            expect_message(record, other);
            flip(other, bit);
        }
        std::transform(record.begin(), record.end(), other.begin(), std::bit_not<>());
        for (const Item& item : items) {
            expect_message(record, other);
            std::copy_n(record.begin() + item.offset, item.bytes, other.begin() + item.offset);
            Bytes lower = ones; // the longest numbers
            lower[item.offset] = 0;
            expect_message(ones, lower);
        }
        expect_message(record, other);
    }
};

TEST_F(Comparison, EveryBitOfTheViews) {
    for (const catalog::Table* table : all_tables()) {
        SCOPED_TRACE(table->name);
        same_entry(*table);
        EXPECT_EQ(compare(*table), equal);
        every_bit(*table, &View::key);
        every_bit(*table, &View::mask);
        every_bit(*table, hardware.match.partition_index);
        for (const catalog::Binding& binding : table->actions) {
            same_entry(*table, &binding);
            every_bit(*table, &View::data);
            every_bit(*table, hardware.action.slots[0].index);
            for (const catalog::Binding& other : table->actions) {
                hardware.action_hdl = other.handle;
                expect_expected(*table);
            }
        }
    }
}

TEST_F(Comparison, EveryBitOfTheRecords) {
    for (const catalog::Table* table : keyed_tables())
        every_bit(std::string(table->name) + "_match_specs_are_equal", items_of(*table),
                  catalog::key_layout(*table).record_size);
    for (const catalog::Action& action : catalog::program.actions)
        if (action.params.size() != 0)
            every_bit(std::string(action.name) + "_action_specs_are_equal", items_of(action),
                      catalog::action_layout(action).record_size);
}

// In each view an entry has a key, a key of zeros, or none; the actions are the same or different.
TEST_F(Comparison, DefaultEntries) {
    for (const catalog::Table* table : keyed_tables()) {
        SCOPED_TRACE(table->name);
        same_entry(*table);
        View zeros = software;
        std::fill(zeros.key.begin(), zeros.key.end(), uint8_t{0});
        std::fill(zeros.mask.begin(), zeros.mask.end(), uint8_t{0});
        zeros.match.partition_index = 0;
        View no_length = software, no_key = software;
        no_length.match.key_len = 0;
        no_key.key_null = true;
        const View views[] = {software, zeros, no_length, no_key};
        for (const View& pd : views)
            for (const View& hw : views) {
                software = pd;
                hardware = hw;
                expect_expected(*table);
                if (catalog::is_indirect(*table)) continue;
                hardware.action_hdl = (table->actions.end() - 1)->handle;
                expect_expected(*table);
            }
    }
}

TEST_F(Comparison, MembersAndGroups) {
    constexpr uint32_t handles[] = {0, 5, 6, 0xFFFFFFFF};
    for (const catalog::Profile& profile : catalog::program.profiles) {
        const catalog::Table& table = table_named(profile.table);
        SCOPED_TRACE(table.name);
        same_entry(table);
        for (const uint16_t key_len : {hardware.match.key_len, uint16_t{0}})
            for (unsigned kinds = 0; kinds < 64; ++kinds)
                for (unsigned i = 0; i < 16; ++i) {
                    software.match.key_len = hardware.match.key_len = key_len;
                    software.set_target(kinds / 8, handles[i / 4]);
                    hardware.set_target(kinds % 8, handles[i % 4]);
                    expect_expected(table);
                }
    }
}

TEST_F(Comparison, ReadsAndDecodersThatFail) {
    for (const catalog::Table* table : all_tables()) {
        SCOPED_TRACE(table->name);
        const std::string failed = exported(table->name) + "_get_entry failed";
        const std::string undecodable = std::string("Failed to decode plcmt_data in table ") + table->name;
        same_entry(*table);
        vl_model::record_calls(true);
        EXPECT_EQ(compare(*table), equal);
        const std::vector<vl_model::Call> reads = calls_of("pipe_mgr_get_entry");
        EXPECT_EQ(reads.size(), 2u);
        for (const vl_model::Call& read : reads) {
            const std::vector<uint64_t>& args = read.args; // the records' addresses are args 4 to 6
            EXPECT_EQ(std::vector(args.begin(), args.begin() + 4),
                      (std::vector<uint64_t>{session, table->handle, all_pipes_word, 99}));
            EXPECT_EQ(std::vector(args.begin() + 7, args.end()), (std::vector<uint64_t>{1, 1, 0}));
        }
        hardware.status = 77;
        EXPECT_EQ(compare(*table), failed);
        hardware.status = 0;
        if (!catalog::is_indirect(*table)) {
            hardware.action.kind = PIPE_KIND_MEMBER;
            EXPECT_EQ(compare(*table), failed) << "a read insists on the kind";
            std::swap(software.action.kind, hardware.action.kind);
            EXPECT_EQ(compare(*table), equal) << "a decoder doesn't";
            software.action_hdl = 0;
            EXPECT_EQ(compare(*table), undecodable);
        }
        software.status = 77;
        EXPECT_EQ(compare(*table), undecodable);
    }
    for (const uint32_t handle : unknown_handles(Known::tables))
        EXPECT_EQ(answer_of("plcmt_data_eq_to_hw", {session, device, handle, 99, 0, 0}), "unknown table");
}

TEST_F(Comparison, InFull) {
    const p4_pd_velmar_switch_ipv4ShortMaskLpm_match_spec_t ones = {0xFF, 0xFFFFFFFF, 12}, none = {0xFF, 0, 12};
    EXPECT_EQ(answer_of("ipv4ShortMaskLpm_match_specs_are_equal", {word(&ones), word(&none)}),
              "mspec ingIpv4_dip differs 0xfff00000 vs 0x0");
    const p4_pd_velmar_switch_ipv6Host_match_spec_t six = {1, {}, {0x20, 1}}, seven = {1, {}, {0x20, 2}};
    EXPECT_EQ(answer_of("ipv6Host_match_specs_are_equal", {word(&six), word(&seven)}), "mspec ingIpv6_dip differs");
}

} // namespace
