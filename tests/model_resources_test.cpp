// Counters, meters, WRED blocks and registers in the embedded driver: what differs between software and hardware until
// a sync, what a deleted entry takes with it, and what the driver refuses. Uses a made-up pipeline of two tables.
#include <array>
#include <cstring>
#include <tuple>
#include <vector>

#include <vl_model/traffic.h>

#include "support/model.h"

namespace {

using namespace support;
using Words = std::vector<uint32_t>;
using Counts = std::array<uint64_t, 2>; // packets and bytes

constexpr uint32_t hosts = 0x1000001; // with a counter, a meter and a register for each entry
constexpr uint32_t plain = 0x1000002;
constexpr uint32_t drop = 0x20000001;

constexpr uint32_t direct_counter = 0x4000001;
constexpr uint32_t counter = 0x4000002; // 10 cells
constexpr uint32_t direct_meter = 0x5000001;
constexpr uint32_t meter = 0x5000002;
constexpr uint32_t wred = 0x5000003;
constexpr uint32_t direct_register = 0x6000001;
constexpr uint32_t stateful = 0x6000002; // 8 cells

constexpr vl_model_action actions[] = {
    {.handle = drop, .data_bits = 0, .data_len = 0, .for_entries = 1, .for_default = 1},
};
constexpr vl_model_resource counters[] = {{direct_counter, hosts, 0}, {counter, 0, 10}};
constexpr vl_model_resource meters[] = {{direct_meter, hosts, 0}, {meter, 0, 4}};
constexpr vl_model_resource wred_blocks[] = {{wred, 0, 4}};
constexpr vl_model_resource registers[] = {{direct_register, hosts, 0}, {stateful, 0, 8}};

pipe_meter_spec rate(uint64_t value) {
    pipe_meter_spec spec{};
    spec.type = PIPE_METER_COLOR_UNAWARE;
    spec.committed_rate = value;
    return spec;
}

template <class Record>
pipe_resource_slot slot(uint32_t resource, const Record& spec, uint32_t tag = PIPE_SLOT_ATTACHED) {
    pipe_resource_slot made{};
    made.resource_hdl = resource;
    std::memcpy(made.spec, &spec, sizeof(spec));
    made.tag = tag;
    return made;
}

pipe_stful_element word(uint32_t value) {
    pipe_stful_element element{};
    std::memcpy(element.bytes, &value, sizeof(value));
    return element;
}

class ResourcesTest : public DeviceTest {
protected:
    static constexpr pipe_dev_tgt all_pipes{.dev_id = 3, .pipe_id = PIPE_ALL_PIPES, .reserved = 0};
    static constexpr pipe_dev_tgt pipe_2{.dev_id = 3, .pipe_id = 2, .reserved = 0};

    void SetUp() override {
        tables[0].initial_default = drop;
        start(description);
    }

    uint32_t add(uint32_t table, uint8_t key, const std::vector<pipe_resource_slot>& slots = {}) const {
        pipe_action_record action{};
        action.kind = PIPE_KIND_ACTION_DATA;
        action.resource_count = static_cast<uint8_t>(slots.size());
        std::copy(slots.begin(), slots.end(), action.slots);
        uint32_t entry = 0;
        EXPECT_EQ(add_exact(table, {0, 0, 0, key}, drop, action, &entry), VL_MODEL_OK);
        return entry;
    }
    // The counts that the software has.
    Counts counts(uint32_t entry) const {
        const auto record = output_of(pipe_mgr_mat_ent_direct_stat_query, session, 3, hosts, entry).value();
        return {record.count_a, record.count_b};
    }
    pipe_status set(uint32_t table, uint32_t entry, const pipe_resource_slot& one) const {
        return pipe_mgr_mat_ent_set_resource(session, 3, table, entry, &one, 1, 0);
    }
    // The committed rate of an entry's meter, or -1 if it has none.
    int64_t meter_rate(uint32_t entry) const {
        pipe_meter_spec spec{};
        const pipe_status status = pipe_mgr_meter_read_entry(session, device, hosts, entry, &spec);
        if (status == VL_MODEL_OK) return static_cast<int64_t>(spec.committed_rate);
        EXPECT_EQ(status, VL_MODEL_NOT_FOUND);
        return -1;
    }
    pipe_status write_cell(uint32_t index, pipe_dev_tgt target, uint32_t value) const {
        const pipe_stful_element element = word(value);
        return pipe_stful_ent_set(session, target, stateful, index, &element, 0);
    }
    // The first words of a register's cell, with room for 6 values.
    Words cell(uint32_t index, pipe_dev_tgt target = all_pipes, uint32_t from_hw = 0) const {
        return read([&](pipe_stful_query& query) {
            return pipe_stful_ent_query(session, target, stateful, index, &query, from_hw);
        });
    }
    template <class Query>
    static Words read(Query&& ask) {
        std::array<pipe_stful_element, 6> elements{};
        pipe_stful_query query{.count = 6, .reserved = 0, .elements = elements.data()};
        EXPECT_EQ(ask(query), VL_MODEL_OK);
        Words words(query.count);
        for (size_t i = 0; i < words.size(); ++i)
            std::memcpy(&words[i], elements[i].bytes, sizeof(uint32_t));
        return words;
    }

    std::array<vl_model_table, 2> tables{model_table(hosts, VL_MODEL_EXACT, 32, actions),
                                         model_table(plain, VL_MODEL_EXACT, 32, actions)};
    vl_model_pipeline description{.name = "p",
                                  .tables = tables.data(),
                                  .table_count = 2,
                                  .counters = counters,
                                  .counter_count = std::size(counters),
                                  .meters = meters,
                                  .meter_count = std::size(meters),
                                  .wred_blocks = wred_blocks,
                                  .wred_block_count = std::size(wred_blocks),
                                  .registers = registers,
                                  .register_count = std::size(registers)};
};

void note_sync(pipe_dev_id dev_id, void* cookie) {
    // Runs without the driver's lock, so it may call the driver.
    uint32_t session = 0;
    EXPECT_EQ(vl_model_session_open(&session), VL_MODEL_OK);
    *static_cast<uint32_t*>(cookie) += dev_id;
}

TEST_F(ResourcesTest, DirectCountersNeedASyncAndGoAwayWithTheEntry) {
    const uint32_t first = add(hosts, 1);
    const uint32_t second = add(hosts, 2);
    ASSERT_EQ(vl_model_counter_add(3, hosts, first, 2, 128), VL_MODEL_OK);
    ASSERT_EQ(vl_model_counter_add(3, hosts, second, 1, 64), VL_MODEL_OK);
    EXPECT_EQ(counts(first), (Counts{0, 0}));
    EXPECT_EQ(pipe_mgr_direct_stat_ent_database_sync(session, 3, hosts, first), VL_MODEL_OK);
    EXPECT_EQ(counts(first), (Counts{2, 128}));
    EXPECT_EQ(counts(second), (Counts{0, 0}));

    uint32_t told = 0;
    EXPECT_EQ(pipe_mgr_direct_stat_database_sync(session, device, hosts, note_sync, &told), VL_MODEL_OK);
    EXPECT_EQ(told, 3U);
    EXPECT_EQ(counts(second), (Counts{1, 64}));

    // A write reaches the hardware, where packets count on.
    const pipe_counter_record record{.count_b = 1000, .count_a = 10};
    EXPECT_EQ(pipe_mgr_mat_ent_direct_stat_set(session, device, hosts, first, &record), VL_MODEL_OK);
    ASSERT_EQ(vl_model_counter_add(3, hosts, first, 1, 1), VL_MODEL_OK);
    EXPECT_EQ(counts(first), (Counts{10, 1000}));
    EXPECT_EQ(pipe_mgr_direct_stat_ent_database_sync(session, 3, hosts, first), VL_MODEL_OK);
    EXPECT_EQ(counts(first), (Counts{11, 1001}));

    EXPECT_EQ(pipe_mgr_mat_ent_del(session, 3, hosts, first, 0), VL_MODEL_OK);
    pipe_counter_record untouched{5, 6};
    EXPECT_EQ(pipe_mgr_mat_ent_direct_stat_query(session, 3, hosts, first, &untouched), VL_MODEL_NOT_FOUND);
    EXPECT_EQ(untouched.count_b, 5U);
    ASSERT_EQ(add(hosts, 9), first); // the handle comes back without its counts
    EXPECT_EQ(counts(first), (Counts{0, 0}));
}

TEST_F(ResourcesTest, IndirectCountersAreReadAsLists) {
    ASSERT_EQ(vl_model_counter_add(3, counter, 9, 4, 400), VL_MODEL_OK);
    ASSERT_EQ(pipe_mgr_stat_ent_database_sync(session, device, counter, 9), VL_MODEL_OK);
    pipe_counter_record found[2] = {{9, 9}, {9, 9}};
    pipe_counter_record* const records[] = {&found[0], &found[1]};
    const uint32_t good[] = {9, 0};
    EXPECT_EQ(pipe_mgr_stat_ent_query(session, device, counter, good, 2, records), VL_MODEL_OK);
    EXPECT_EQ(found[0].count_b, 400U);
    EXPECT_EQ(found[1].count_b, 0U);
    const uint32_t bad[] = {0, 10};
    EXPECT_EQ(pipe_mgr_stat_ent_query(session, device, counter, bad, 2, records), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(found[0].count_b, 400U);

    uint32_t told = 0;
    ASSERT_EQ(vl_model_counter_add(3, counter, 9, 1, 1), VL_MODEL_OK);
    EXPECT_EQ(pipe_mgr_stat_database_sync(session, device, counter, note_sync, &told), VL_MODEL_OK);
    EXPECT_EQ(pipe_mgr_stat_ent_query(session, device, counter, good, 1, records), VL_MODEL_OK);
    EXPECT_EQ(found[0].count_a, 5U);
    EXPECT_EQ(told, 3U);
}

TEST_F(ResourcesTest, ADirectMeterIsASlotOfItsEntry) {
    const uint32_t metered = add(hosts, 1, {slot(direct_meter, rate(1000))});
    const uint32_t bare = add(hosts, 2);
    EXPECT_EQ(meter_rate(metered), 1000);
    EXPECT_EQ(meter_rate(bare), -1);
    for (const uint32_t entry : {metered, bare, default_entry(hosts)}) {
        const std::tuple<uint64_t, uint32_t, int64_t> steps[] = {
            {2000, PIPE_SLOT_ATTACHED, 2000}, {1, PIPE_SLOT_UNCHANGED, 2000}, {1, PIPE_SLOT_DETACHED, -1}};
        for (const auto& [sent, tag, expected] : steps) {
            EXPECT_EQ(set(hosts, entry, slot(direct_meter, rate(sent), tag)), VL_MODEL_OK);
            EXPECT_EQ(meter_rate(entry), expected) << entry << ", tag " << tag;
        }
    }
    pipe_meter_spec unsound = rate(1);
    unsound.type = 2;
    EXPECT_EQ(set(hosts, metered, slot(direct_meter, unsound)), VL_MODEL_BAD_DATA);
    EXPECT_EQ(set(hosts, metered, slot(meter, rate(1))), VL_MODEL_UNKNOWN_RESOURCE);
    EXPECT_EQ(set(plain, add(plain, 1), slot(direct_meter, rate(1))), VL_MODEL_UNKNOWN_RESOURCE);
    EXPECT_EQ(set(hosts, 99, slot(direct_meter, rate(1))), VL_MODEL_NOT_FOUND);
}

// The driver refuses the second of two slots. It must not apply the first.
TEST_F(ResourcesTest, SlotsAreAppliedAllOrNone) {
    const uint32_t entry = add(hosts, 1);
    const pipe_resource_slot slots[] = {slot(direct_counter, pipe_counter_record{7, 8}),
                                        slot(direct_counter, pipe_counter_record{}, PIPE_SLOT_DETACHED)};
    EXPECT_EQ(pipe_mgr_mat_ent_set_resource(session, 3, hosts, entry, slots, 2, 0), VL_MODEL_BAD_DATA);
    EXPECT_EQ(counts(entry), (Counts{0, 0}));
    EXPECT_EQ(pipe_mgr_mat_ent_set_resource(session, 3, hosts, entry, slots, 1, 0), VL_MODEL_OK);
    EXPECT_EQ(counts(entry), (Counts{8, 7}));
}

TEST_F(ResourcesTest, MetersAndWredBlocksByIndex) {
    pipe_meter_spec spec = rate(5);
    EXPECT_EQ(pipe_mgr_meter_ent_set(session, device, meter, 3, &spec, 0), VL_MODEL_OK);
    EXPECT_EQ(pipe_mgr_meter_ent_set(session, device, meter, 4, &spec, 0), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(pipe_mgr_meter_ent_set(session, device, direct_meter, 0, &spec, 0), VL_MODEL_NOT_SUPPORTED);
    spec.peak_unit = PIPE_METER_UNIT_PACKETS;
    EXPECT_EQ(pipe_mgr_meter_ent_set(session, device, meter, 3, &spec, 0), VL_MODEL_BAD_DATA);
    EXPECT_EQ(pipe_mgr_meter_read_entry_idx(session, device, meter, 3, &spec, 0), VL_MODEL_OK);
    const pipe_meter_spec unchanged = rate(5);
    EXPECT_EQ(std::memcmp(&spec, &unchanged, sizeof(spec)), 0);
    vl_model::set_meter_answer_hook([](pipe_meter_spec& answer) { answer.type = 9; });
    EXPECT_EQ(pipe_mgr_meter_read_entry_idx(session, device, meter, 0, &spec, 0), VL_MODEL_OK);
    EXPECT_EQ(spec.type, 9U);
    EXPECT_EQ(spec.committed_rate, 0U);

    // Direct meters and meters by index have separate adjustments.
    EXPECT_EQ(pipe_mgr_meter_set_bytecount_adjust(session, device, direct_meter, 20), VL_MODEL_OK);
    EXPECT_EQ(output_of(pipe_mgr_meter_get_bytecount_adjust, session, device, direct_meter), 20U);
    EXPECT_EQ(output_of(pipe_mgr_meter_get_bytecount_adjust, session, device, meter), 0U);
    EXPECT_EQ(pipe_mgr_meter_set_bytecount_adjust(session, device, wred, 1), VL_MODEL_UNKNOWN_RESOURCE);

    pipe_wred_spec red{{1, 2}};
    EXPECT_EQ(pipe_mgr_wred_ent_set(session, device, wred, 1, &red, 0), VL_MODEL_OK);
    red = {};
    EXPECT_EQ(pipe_mgr_wred_read_entry_idx(session, device, wred, 1, &red, 0), VL_MODEL_OK);
    EXPECT_EQ(red.words[1], 2U);
    EXPECT_EQ(pipe_mgr_wred_read_entry_idx(session, device, wred, 4, &red, 0), VL_MODEL_OUT_OF_RANGE);
}

TEST_F(ResourcesTest, ARegisterHasAValueInEachPipe) {
    EXPECT_EQ(output_of(pipe_stful_query_get_sizes, session, device, stateful), VL_MODEL_DEFAULT_PIPES);
    EXPECT_EQ(output_of(pipe_stful_query_get_sizes, session, pipe_2, stateful), 1);

    EXPECT_EQ(write_cell(5, pipe_2, 7), VL_MODEL_OK);
    EXPECT_EQ(cell(5), (Words{0, 0, 7, 0}));
    EXPECT_EQ(cell(5, pipe_2), (Words{7}));
    ASSERT_EQ(vl_model_register_write(3, stateful, 5, 0, word(8).bytes), VL_MODEL_OK);
    EXPECT_EQ(cell(5), (Words{0, 0, 7, 0}));
    EXPECT_EQ(cell(5, device, 1), (Words{8, 0, 7, 0}));
    EXPECT_EQ(cell(5), (Words{8, 0, 7, 0})); // brought up to date

    ASSERT_EQ(vl_model_register_write(3, stateful, 6, 0xFFFF, word(9).bytes), VL_MODEL_OK);
    uint32_t told = 0;
    EXPECT_EQ(pipe_stful_database_sync(session, pipe_2, stateful, note_sync, &told), VL_MODEL_OK);
    EXPECT_EQ(cell(6), (Words{0, 0, 9, 0}));
    EXPECT_EQ(told, 3U);

    const pipe_stful_element seven = word(7);
    EXPECT_EQ(pipe_stful_table_reset(session, device, stateful, &seven), VL_MODEL_OK);
    EXPECT_EQ(pipe_stful_table_reset_range(session, device, stateful, 1, 7, nullptr), VL_MODEL_OK);
    EXPECT_EQ(pipe_stful_table_reset_range(session, device, stateful, 1, 8, nullptr), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(cell(0, device, 1), (Words{7, 7, 7, 7}));
    EXPECT_EQ(cell(7, device, 1), (Words{0, 0, 0, 0}));

    ASSERT_EQ(vl_model_device_set_pipes(3, 2), VL_MODEL_OK);
    EXPECT_EQ(cell(0), (Words{7, 7}));
    int32_t size = 0;
    EXPECT_EQ(pipe_stful_query_get_sizes(session, pipe_2, stateful, &size), VL_MODEL_OUT_OF_RANGE);
    ASSERT_EQ(vl_model_device_set_pipes(3, 3), VL_MODEL_OK);
    EXPECT_EQ(cell(0), (Words{7, 7, 0}));
    EXPECT_EQ(vl_model_device_set_pipes(3, 0), VL_MODEL_INVALID);
}

TEST_F(ResourcesTest, RangesEndAtTheLastCell) {
    std::array<pipe_stful_element, 6> elements{};
    std::array<pipe_stful_query, 3> queries{};
    for (size_t i = 0; i < queries.size(); ++i)
        queries[i] = {.count = 2, .reserved = 0, .elements = &elements[i * 2]};
    uint32_t cells_read = 99;
    const auto query = [&](uint32_t first, int32_t count) {
        return pipe_stful_ent_query_range(session, device, stateful, first, count, queries.data(), &cells_read, 0);
    };
    ASSERT_EQ(write_cell(7, device, 7), VL_MODEL_OK);
    EXPECT_EQ(query(6, 3), VL_MODEL_OK);
    EXPECT_EQ(cells_read, 2U);
    EXPECT_EQ(queries[1].count, 2U); // the caller's room is less than the four values
    EXPECT_EQ(elements[3].bytes[0], 7);
    EXPECT_EQ(query(8, 1), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(query(0, -1), VL_MODEL_INVALID);
    EXPECT_EQ(pipe_stful_ent_query_range(session, device, stateful, 0, 0, nullptr, &cells_read, 0), VL_MODEL_OK);
    EXPECT_EQ(cells_read, 0U);

    vl_model::set_register_answer_hook([](pipe_stful_query* answers, uint32_t& answered) {
        answers[0].count = 1;
        answered = 1;
    });
    EXPECT_EQ(query(0, 3), VL_MODEL_OK);
    EXPECT_EQ(cells_read, 1U);
    EXPECT_EQ(queries[0].count, 1U);
}

TEST_F(ResourcesTest, ADirectRegisterIsWrittenByItsOwnHandle) {
    const uint32_t entry = add(hosts, 1);
    const auto ask = [&](pipe_stful_query& query) {
        return pipe_stful_direct_ent_query(session, device, hosts, entry, &query, 0);
    };
    EXPECT_EQ(set(direct_register, entry, slot(direct_register, word(3))), VL_MODEL_OK);
    EXPECT_EQ(read(ask), (Words{3, 3, 3, 3}));
    ASSERT_EQ(vl_model_register_write(3, hosts, entry, 1, word(4).bytes), VL_MODEL_OK);
    EXPECT_EQ(pipe_stful_direct_database_sync(session, device, hosts, nullptr, nullptr), VL_MODEL_OK);
    EXPECT_EQ(read(ask), (Words{3, 4, 3, 3}));
    ASSERT_EQ(pipe_mgr_mat_ent_del(session, 3, hosts, entry, 0), VL_MODEL_OK);
    ASSERT_EQ(add(hosts, 1), entry);
    EXPECT_EQ(read(ask), (Words{0, 0, 0, 0}));
    EXPECT_EQ(set(stateful, entry, slot(stateful, word(3))), VL_MODEL_UNKNOWN_TABLE);
}

TEST_F(ResourcesTest, RefusalsAndRecords) {
    const pipe_counter_record record{.count_b = 1, .count_a = 2};
    vl_model::fail_call("pipe_mgr_stat_ent_set", 1, 55);
    const auto calls = recorded([&] { EXPECT_EQ(pipe_mgr_stat_ent_set(session, pipe_2, counter, 1, &record), 55U); });
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].args[1], uint64_t{2} << 32 | 3);
    EXPECT_EQ(vl_model::input_record<pipe_counter_record>(calls[0]).count_a, 2U);

    EXPECT_EQ(pipe_mgr_stat_ent_set(session, device, counter, 10, &record), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(pipe_mgr_stat_ent_set(session, device, stateful, 1, &record), VL_MODEL_UNKNOWN_RESOURCE);
    EXPECT_EQ(pipe_mgr_stat_ent_set(session, device, direct_counter, 1, &record), VL_MODEL_NOT_SUPPORTED);
    EXPECT_EQ(pipe_mgr_stat_ent_set(session + 1, device, counter, 1, &record), VL_MODEL_UNKNOWN_SESSION);
    EXPECT_EQ(pipe_mgr_stat_database_sync(session, device, 1, note_sync, nullptr), VL_MODEL_UNKNOWN_RESOURCE);
    EXPECT_EQ(vl_model_counter_add(3, plain, add(plain, 1), 1, 1), VL_MODEL_NOT_SUPPORTED);
    EXPECT_EQ(vl_model_register_write(3, stateful, 0, 4, word(1).bytes), VL_MODEL_OUT_OF_RANGE);

    // Descriptions that contradict themselves: an unknown table, the handle of a meter, two counters of a table.
    const std::vector<vl_model_resource> wrong[] = {
        {{direct_counter, 0x1000009, 0}}, {{meter, 0, 0}}, {{direct_counter, hosts, 0}, {counter, hosts, 0}}};
    for (const auto& list : wrong) {
        description.counters = list.data();
        description.counter_count = static_cast<uint32_t>(list.size());
        EXPECT_EQ(vl_model_device_add(4, &description), VL_MODEL_INVALID);
    }
}

} // namespace
