// Every table with every action of the catalog. What an add sends comes back through a read, except the bits that
// encoding clears; the other writes send the same record; and a default entry takes the same action. Records are
// random, from a fixed seed. Expectations are worked out here from the rows, field by field, without the library's
// encoders.
#include "support/text.h"

#include <cstring>
#include <random>
#include <tuple>

#include "vl_driver/resources.h"

namespace {

using namespace support;
using catalog::FieldLayout;
using catalog::KeyField;
using catalog::Match;
using vl_model::ActionCopy;
using vl_model::Call;

constexpr uint8_t untouched = 0xA5;
constexpr pd_meter_spec meter_spec = {1, 2, 3, 4, PD_METER_TYPE_COLOR_AWARE};

// Whether two calls sent the same action record, every byte of it.
bool equal(const ActionCopy& left, const ActionCopy& right) {
    const auto fields = [](const ActionCopy& action) {
        return std::tie(action.kind, action.resource_count, action.data_bits, action.data_len, action.data,
                        action.data_null, action.member_hdl, action.group_hdl, action.reserved);
    };
    return fields(left) == fields(right) && std::memcmp(left.slots.data(), right.slots.data(), sizeof left.slots) == 0;
}

class RoundTrip : public LibraryTest {
protected:
    // Visits every action of every table; profiles hold those of the others.
    template <class Body>
    void for_bindings(Body body) {
        for (const catalog::Table* each : all_tables())
            for (const catalog::Binding& its : each->actions) {
                SCOPED_TRACE(std::string(each->name) + " " + its.action);
                table = each;
                binding = &its;
                action = &action_of(its);
                key = random_match_spec(*each, random);
                spec = random_action_spec(*action, random);
                priority = static_cast<uint32_t>(random());
                // 32-bit arguments arrive with garbage above them, as the calling convention allows.
                priority_word = catalog::has_priority(*each) ? Word(dirty(priority)) : std::nullopt;
                spec_word = spec.empty() ? std::nullopt : Word(word(spec.data()));
                meter_word = is_metered() ? Word(word(&meter_spec)) : std::nullopt;
                ttl_word = each->ttl_on_add ? Word(dirty(60)) : std::nullopt;
                body();
            }
    }

    bool is_metered() const {
        return table->name == std::string("l2LookupMiss");
    }
    // An operation of the table, and one that is named after the action.
    pd_status run(const std::string& operation, std::initializer_list<Word> words) const {
        return call(exported(table->name) + "_" + operation, words);
    }
    pd_status run_action(const std::string& before, const std::string& after, std::initializer_list<Word> words) const {
        return run(before + binding->action + after, words);
    }

    // Sends the action and returns the call; all writes of an entry have table and action in the same places.
    Call sent(const char* after, pd_status status, size_t action_at = 4) {
        EXPECT_EQ(status, PD_STATUS_OK) << after;
        const Call call = only_call();
        EXPECT_EQ(call.args.at(2), table->handle);
        EXPECT_EQ(call.args.at(action_at), binding->handle);
        return call;
    }

    // The slot of the table's resource, with an index if the action has one: the low 16 bits where entries are added.
    void expect_slot(const ActionCopy& sent, uint32_t index_bits) const {
        const catalog::AttachedResource resource = catalog::resource_of(catalog::program, *table);
        std::optional<uint32_t> index;
        if (binding->constant_index != 0) index = binding->constant_index;
        const catalog::ActionLayout layout = catalog::action_layout(*action);
        for (size_t i = 0; i < layout.param_count; ++i)
            if (layout.params[i].role != catalog::Role::data)
                index = get(spec, layout.params[i].record_offset, layout.params[i].record_bytes) & index_bits;
        const bool attached = resource.addressing == catalog::Addressing::direct || index;
        const pipe_resource_slot& slot = sent.slots[0];
        EXPECT_EQ(sent.resource_count, resource ? 1 : 0);
        EXPECT_EQ(slot.resource_hdl, resource.handle);
        EXPECT_EQ(slot.index, index.value_or(0));
        EXPECT_EQ(slot.tag, !resource ? 0u : attached ? uint32_t{PIPE_SLOT_ATTACHED} : uint32_t{PIPE_SLOT_DETACHED});
        EXPECT_EQ(is_clear(slot.spec, sizeof slot.spec), !is_metered());
        EXPECT_TRUE(is_clear(&sent.slots[1], (sent.slots.size() - 1) * sizeof slot));
    }

    // The action's value string for a record that was read.
    std::string value_of_action(const uint8_t* record) const {
        return text_of(binding->action + std::string("_value"),
                       spec.empty() ? std::vector<uint64_t>{} : std::vector<uint64_t>{word(record)});
    }

    // The record that a read gives for the one that was added: values under their masks or prefixes.
    Bytes expected_key() const {
        const catalog::KeyLayout layout = catalog::key_layout(*table);
        Bytes expected = key;
        for (size_t i = 0; i < layout.field_count; ++i) {
            const KeyField& field = table->key.begin()[i];
            const FieldLayout& place = layout.fields[i];
            if (field.match == Match::ternary)
                for (unsigned b = 0; b < place.record_bytes; ++b)
                    expected[place.record_offset + b] &= expected[place.partner_offset + b];
            if (field.match != Match::lpm) continue;
            for (unsigned bit = get(key, place.partner_offset, 2); bit < field.bits; ++bit) {
                // A 32-bit value is in the machine's order, a 128-bit one in network order.
                const unsigned byte = field.bits == 32 ? 3 - bit / 8 : bit / 8;
                expected[place.record_offset + byte] &= static_cast<uint8_t>(~(0x80u >> (bit % 8)));
            }
        }
        return expected;
    }
    // The record of the action: an index comes back as its slot has it. Behind the record nothing is written.
    Bytes expected_spec() const {
        const catalog::ActionLayout layout = catalog::action_layout(*action);
        Bytes expected = spec;
        for (size_t i = 0; i < layout.param_count; ++i)
            if (layout.params[i].role == catalog::Role::slot_index)
                std::memset(&expected[layout.params[i].record_offset + 2], 0, 2);
        expected.insert(expected.end(), 4, untouched);
        return expected;
    }

    const catalog::Table* table = nullptr;
    const catalog::Binding* binding = nullptr;
    const catalog::Action* action = nullptr;
    Bytes key, spec;
    uint32_t priority = 0;
    Word priority_word, spec_word, meter_word, ttl_word;

private:
    std::mt19937 random{20240611};

    static uint32_t get(const Bytes& record, unsigned offset, unsigned bytes) {
        uint32_t value = 0;
        std::memcpy(&value, &record[offset], bytes);
        return value;
    }
};

TEST_F(RoundTrip, Entries) {
    for (int trial = 0; trial < 3; ++trial)
        for_bindings([&] {
            if (!catalog::for_entries(*binding)) return;
            const uint64_t key_word = word(key.data());
            uint32_t entry = 0, found = 0;
            const Call add = sent("add", run_action("table_add_with_", "",
                                                    {dirty(session), target_word, key_word, priority_word, spec_word,
                                                     meter_word, ttl_word, word(&entry)}));
            expect_slot(*add.action, 0xFFFF);
            ASSERT_EQ(run("match_spec_to_entry_hdl", {session, target_word, key_word, priority_word, word(&found)}),
                      0u);
            EXPECT_EQ(found, entry);

            Bytes read_key(key.size(), untouched), read_spec(spec.size() + 4, untouched);
            uint32_t read_priority = 0, action_id = 0;
            uint8_t is_default = untouched;
            char name[61];
            ASSERT_EQ(run("get_entry", {dirty(session), dirty(device), dirty(entry), dirty(0), word(read_key.data()),
                                        priority_word ? Word(word(&read_priority)) : std::nullopt, word(name),
                                        word(read_spec.data()), word(&action_id), word(&is_default)}),
                      0u);
            EXPECT_EQ(hex(read_key), hex(expected_key()));
            EXPECT_EQ(hex(read_spec), hex(expected_spec()));
            EXPECT_EQ(read_priority, priority_word ? priority : 0);
            EXPECT_EQ(name, exported(binding->action));
            EXPECT_EQ(action_id, catalog::number_of(catalog::program.actions, binding->action));
            EXPECT_EQ(is_default, 0);
            EXPECT_EQ(value_of_entry(*table, session, entry),
                      "((" + text_of(table->name + std::string("_match_spec_value"), {word(read_key.data())}) +
                          value_of_action(read_spec.data()) + "),(" +
                          std::to_string(priority_word ? static_cast<int32_t>(priority) : 0) + ",True))");

            calls();
            const Call modify =
                sent("modify", run_action("table_modify_with_", "", {session, device, entry, spec_word, meter_word}));
            const Call by_key = sent(
                "modify by key", run_action("table_modify_with_", "_by_match_spec",
                                            {session, target_word, key_word, priority_word, spec_word, meter_word}));
            EXPECT_EQ(hex(add.match->key), hex(by_key.match->key));
            for (const Call& call : {modify, by_key}) {
                expect_slot(*call.action, 0xFFFFFFFF);
                EXPECT_EQ(hex(call.action->data), hex(add.action->data));
            }
            const bool by_handle = trial == 0;
            const auto remove_by_key = [&] {
                return run("table_delete_by_match_spec", {session, target_word, key_word, priority_word});
            };
            ASSERT_EQ(by_handle ? run("table_delete", {session, device, entry}) : remove_by_key(), 0u);
            EXPECT_EQ(remove_by_key(), VL_MODEL_NOT_FOUND);
            calls();
        });
}

TEST_F(RoundTrip, DefaultEntries) {
    for_bindings([&] {
        if (!catalog::for_default(*binding)) return;
        uint32_t entry = 0, added = 0, handle = 0;
        Call set = sent(
            "set",
            run_action("set_default_action_", "", {dirty(session), target_word, spec_word, meter_word, word(&entry)}),
            3);
        EXPECT_EQ(set.function, "pipe_mgr_mat_default_entry_set");
        set.args[4] = 0; // the record's address
        EXPECT_EQ(set.args,
                  (std::vector<uint64_t>{session, target_word, table->handle, binding->handle, 0, 0, word(&entry)}));
        expect_slot(*set.action, 0xFFFF);
        if (catalog::for_entries(*binding)) {
            const Call add = sent("add", run_action("table_add_with_", "",
                                                    {session, target_word, word(key.data()), priority_word, spec_word,
                                                     meter_word, ttl_word, word(&added)}));
            EXPECT_TRUE(equal(*set.action, *add.action));
            // The next action may come with the same key: small keys repeat.
            EXPECT_EQ(run("table_delete", {session, device, added}), 0u);
        }

        Bytes record(4 + spec.size() + 4, untouched);
        ASSERT_EQ(run("table_get_default_entry", {session, target_word, dirty(0), word(record.data())}), 0u);
        const Call read = calls_of("pipe_mgr_table_get_default_entry").front();
        EXPECT_EQ(read.args[1], target_word);
        EXPECT_EQ(read.args[2], table->handle);
        EXPECT_EQ((std::vector(read.args.begin() + 5, read.args.begin() + 8)), (std::vector<uint64_t>{0, 1, 0}));
        EXPECT_EQ(read.action->data, Bytes(32));
        uint32_t number = 0;
        std::memcpy(&number, record.data(), sizeof number);
        EXPECT_EQ(number, catalog::number_of(catalog::program.actions, binding->action));
        EXPECT_EQ(hex({record.begin() + 4, record.end()}), hex(expected_spec()));
        EXPECT_EQ(value_of_entry(*table, session, entry), "((()," + value_of_action(&record[4]) + "),(0,True))");
        EXPECT_EQ(run("table_get_default_entry_handle", {session, target_word, word(&handle)}), 0u);
        EXPECT_EQ(handle, entry);
        calls();
    });
}

} // namespace
