// Counters, meters, WRED and registers: what reaches the driver, argument by argument and byte by byte, and what comes
// back.
#include "support/forwarding.h"

#include "pd/tables/resource_list.h"
#include "vl_driver/driver.h"

namespace {

using namespace support;

constexpr uint64_t callback = 0x1111, cookie = 0x2222;
constexpr uint64_t no_record = 0;

class Resources : public ForwardingTest {
protected:
    template <class Record>
    void expect_read(const std::string& operation, Words words, const std::string& function, const Words& args,
                     Record& record) {
        SCOPED_TRACE(operation);
        words.push_back(word(&record));
        EXPECT_EQ(call(exported(operation), words), 0u);
        expect_call(function, args);
    }
};

bool is_direct(const catalog::Resource& row) {
    return row.addressing == catalog::Addressing::direct;
}

// Calls name a direct resource by its match table.
uint32_t handle_in_calls(const catalog::Resource& row) {
    return is_direct(row) ? table_named(row.table).handle : row.handle;
}

TEST_F(Resources, CountersSwapTheirWordsAndSyncOnBitZero) {
    constexpr pipe_counter_record filled = {10, 20};
    vl_model::answer_calls_with("pipe_mgr_mat_ent_direct_stat_query", 0, vl_model::output(4, filled));
    vl_model::answer_calls("pipe_mgr_stat_ent_query", [&](const AnsweredCall& call) {
        pipe_counter_record& record = **call.pointer<pipe_counter_record*>(5);
        EXPECT_EQ(record.count_a | record.count_b, 0u) << "zeroed before";
        record = filled;
        return 0;
    });
    for (const catalog::Resource& row : catalog::program.counters) {
        SCOPED_TRACE(row.name);
        const bool direct = is_direct(row);
        const uint64_t handle = handle_in_calls(row), where = direct ? device : target_word;
        const std::string entry = direct ? "pipe_mgr_mat_ent_direct_stat_" : "pipe_mgr_stat_ent_";
        const std::string all = direct ? "pipe_mgr_direct_stat_" : "pipe_mgr_stat_";
        const std::string query = entry + "query", sync = all + "ent_database_sync";
        const Words cell = {session, where, handle, 77};
        const Words query_args =
            direct ? cell + Words{some_address} : Words{session, where, handle, some_address, 1, some_address};
        uint64_t value[2] = {42, 42};
        const auto read = [&](uint32_t flags) {
            return call(exported(std::string("counter_read_") + row.name),
                        {dirty(session), direct ? dirty(device) : where, dirty(77), dirty(flags), word(value)});
        };
        for (const uint32_t flags : {0u, 2u, 3u}) {
            value[0] = value[1] = 42;
            EXPECT_EQ(read(flags), 0u);
            EXPECT_EQ(value[0], 20u) << "the second of the driver's words";
            EXPECT_EQ(value[1], 10u);
            const std::vector<Call> made =
                flags & 1 ? expect_calls({{sync, cell}, {query, query_args}}) : expect_calls({{query, query_args}});
            if (!direct) {
                EXPECT_EQ(made.back().inputs[0], bytes_of(77));
            }
        }
        // The value travels in two registers.
        const Call written =
            expect_forwarded(std::string("counter_write_") + row.name, {session, target_word, 77, 1, 2}, entry + "set",
                             {session, target_word, handle, 77, some_address});
        EXPECT_EQ(written.inputs[0], bytes_of(pipe_counter_record{2, 1}));
        expect_forwarded(std::string("counter_hw_sync_") + row.name, {session, target_word, callback, cookie},
                         all + "database_sync", {session, target_word, handle, callback, cookie});
    }
}

constexpr pd_meter_spec sent_meter(uint32_t type) {
    return {0x80000001, 2, 3, 4, type};
}

void expect_meter(const pipe_meter_spec& sent, uint32_t type, uint32_t unit = PIPE_METER_UNIT_BYTES) {
    const pipe_meter_spec expected = {type, 0, unit, 0, 0x80000001, 2, unit, 0, 3, 4};
    EXPECT_EQ(hex(bytes_of(sent)), hex(bytes_of(expected)));
}

// Answers with a meter that has rates of more than 32 bits. An agent gets the low 32 bits.
void answer_meter_reads() {
    vl_model::answer_calls("pipe_mgr_meter_read_entry*", [](const AnsweredCall& call) {
        auto& spec = *call.pointer<pipe_meter_spec>(4);
        EXPECT_EQ(hex(bytes_of(spec)), hex(Bytes(sizeof spec))) << "zeroed before";
        spec = {7, 0, 1, 0, 0x100000005, 6, 1, 0, 7, 0x200000008};
        return 0;
    });
}
constexpr pd_meter_spec read_meter = {5, 6, 7, 8, 7}; // the type isn't mapped

TEST_F(Resources, MetersOfThePipeline) {
    answer_meter_reads();
    for (const catalog::Resource& row : catalog::program.meters) {
        SCOPED_TRACE(row.name);
        const bool direct = is_direct(row);
        const uint64_t where = direct ? device : target_word, handle = handle_in_calls(row);
        const std::string set = std::string("meter_set_") + row.name;
        const std::string set_function = direct ? "pipe_mgr_mat_ent_set_resource" : "pipe_mgr_meter_ent_set";
        const Words set_args = Words{session, where, handle, 44, some_address} + (direct ? Words{1, 0} : Words{0});
        // An unknown type is sent as colour-aware, with a line in the log.
        for (const uint32_t type : {0u, 1u, 9u}) {
            const pd_meter_spec spec = sent_meter(type);
            const Words words = {session, where, dirty(44), word(&spec)};
            const Call sent = expect_forwarded(set, words, set_function, set_args);
            const auto slot = vl_model::input_record<pipe_resource_slot>(sent);
            pipe_meter_spec driver_spec = vl_model::input_record<pipe_meter_spec>(sent);
            if (direct) {
                EXPECT_EQ(slot.resource_hdl, row.handle);
                EXPECT_EQ(slot.tag, +PIPE_SLOT_ATTACHED);
                std::memcpy(&driver_spec, slot.spec, sizeof driver_spec);
            }
            expect_meter(driver_spec,
                         type == PD_METER_TYPE_COLOR_UNAWARE ? PIPE_METER_COLOR_UNAWARE : PIPE_METER_COLOR_AWARE);
            EXPECT_EQ(call(exported(set), words), 0u);
            EXPECT_EQ(log_lines().size(), type == 9 ? 1u : 0u);
        }
        pd_meter_spec read = sent_meter(1);
        const Words read_args = {session, target_word, handle, 44, some_address};
        expect_read(std::string("meter_read_") + row.name, {session, target_word, 44},
                    direct ? "pipe_mgr_meter_read_entry" : "pipe_mgr_meter_read_entry_idx",
                    direct ? read_args : read_args + Words{0}, read);
        EXPECT_EQ(bytes_of(read), bytes_of(read_meter));

        // Adjustments go by the meter's own handle, also for a direct meter.
        uint32_t adjustment = 0;
        expect_forwarded(std::string("meter_bytecount_adjust_set_") + row.name, {session, target_word, 20},
                         "pipe_mgr_meter_set_bytecount_adjust", {session, target_word, row.handle, 20});
        vl_model::answer_calls_with("pipe_mgr_meter_get_bytecount_adjust", 0, vl_model::output(3, 20u));
        expect_forwarded(std::string("meter_bytecount_adjust_get_") + row.name,
                         {session, target_word, word(&adjustment)}, "pipe_mgr_meter_get_bytecount_adjust",
                         {session, target_word, row.handle, some_address});
        EXPECT_EQ(adjustment, 20u);
    }
}

TEST_F(Resources, MetersByHandle) {
    answer_meter_reads();
    constexpr uint64_t meter = 0x5000077;
    const Words args = {session, target_word, meter, 8, some_address, 0};
    for (const bool packets : {false, true}) {
        const std::string kind = packets ? "packets" : "bytes";
        for (const uint32_t aware : {0u, 1u}) {
            const pd_meter_spec spec = sent_meter(aware ? PD_METER_TYPE_COLOR_AWARE : PD_METER_TYPE_COLOR_UNAWARE);
            const Call sent =
                expect_forwarded(kind + "_meter_set", {session, target_word, meter, 8, word(&spec), aware},
                                 "pipe_mgr_meter_ent_set", args);
            expect_meter(vl_model::input_record<pipe_meter_spec>(sent), aware ? 0 : 1, packets);
        }
        // The type contradicts the flag, whose low eight bits count, or the type is unknown.
        for (const auto& [type, aware] : {std::pair(+PD_METER_TYPE_COLOR_AWARE, 0x100), std::pair(2, 1)}) {
            const pd_meter_spec spec = sent_meter(static_cast<uint32_t>(type));
            EXPECT_EQ(call(exported(kind + "_meter_set"),
                           {session, target_word, meter, 8, word(&spec), static_cast<uint32_t>(aware)}),
                      +PD_STATUS_INVALID);
            expect_calls({});
        }
        pd_meter_spec read = sent_meter(1);
        expect_read(kind + "_meter_read", {session, target_word, meter, 8}, "pipe_mgr_meter_read_entry_idx", args,
                    read);
        EXPECT_EQ(bytes_of(read), bytes_of(read_meter));
    }
}

TEST_F(Resources, WredSpecsGoThroughACopy) {
    constexpr pd_wred_spec spec = {{0x1122334455667788, 0x99AABBCCDDEEFF00}};
    constexpr pipe_wred_spec filled = {{0xAB, 0xCD}};
    const auto expect_set = [&](const std::string& operation, const Words& words, uint64_t handle) {
        const Call sent = expect_forwarded(operation, words + Words{6, word(&spec)}, "pipe_mgr_wred_ent_set",
                                           {session, target_word, handle, 6, some_address, 0});
        EXPECT_EQ(sent.inputs[0], bytes_of(spec));
        EXPECT_NE(sent.args[4], word(&spec));
    };
    expect_set("wred_set", {session, target_word, 0x5000044}, 0x5000044);
    vl_model::answer_calls("pipe_mgr_wred_read_entry_idx", [&](const AnsweredCall& call) {
        auto& record = *call.pointer<pipe_wred_spec>(4);
        EXPECT_EQ(record.words[0] | record.words[1], 0u);
        record = filled;
        return 0;
    });
    for (const catalog::Resource& row : catalog::program.wred_blocks) {
        expect_set(std::string("wred_set_") + row.name, {session, target_word}, row.handle);
        pd_wred_spec read = spec;
        expect_read(std::string("wred_read_") + row.name, {session, target_word, 6}, "pipe_mgr_wred_read_entry_idx",
                    {session, target_word, row.handle, 6, some_address, 0}, read);
        EXPECT_EQ(bytes_of(read), bytes_of(filled));
    }
}

class Registers : public Resources {
protected:
    // The cells of a register have this many values.
    static void answer_size(int32_t values) {
        vl_model::answer_calls_with("pipe_stful_query_get_sizes", 0, vl_model::output(3, values));
    }

    // Byte b of value v of cell c is c * 64 + v * 16 + b, so that every byte tells where it comes from.
    static void fill(pipe_stful_query& query, unsigned cell) {
        for (unsigned value = 0; value < query.count; ++value)
            for (unsigned byte = 0; byte < 16; ++byte)
                query.elements[value].bytes[byte] = static_cast<uint8_t>(cell << 6 | value << 4 | byte);
    }

    // The values begin with the first bytes of these elements, and nothing is written after them.
    static void expect_values(const Bytes& values, unsigned size, const Bytes& elements) {
        for (unsigned i = 0; i < values.size(); ++i) {
            EXPECT_EQ(values[i], i < elements.size() * size ? elements[i / size] + i % size : 0xEE) << i;
        }
    }

    static unsigned value_size(const catalog::Register& row) {
        return row.cell == catalog::Cell::flag ? 1 : row.cell == catalog::Cell::word ? 4 : 8;
    }
};

TEST_F(Registers, ReadsUseTheDriversCount) {
    answer_size(4);
    vl_model::answer_calls("pipe_stful_ent_query", [](const AnsweredCall& call) {
        auto& query = *call.pointer<pipe_stful_query>(4);
        EXPECT_EQ(query.count, 4u);
        fill(query, 1);
        query.count = 2;
        return 0;
    });
    for (const catalog::Register& row : catalog::program.registers)
        for (const uint32_t flags : {2u, 3u}) {
            SCOPED_TRACE(row.name);
            Bytes values(4 * value_size(row), 0xEE);
            uint32_t count = 0;
            EXPECT_EQ(call(exported(std::string("register_read_") + row.name),
                           {session, target_word, dirty(21), dirty(flags), word(values.data()), word(&count)}),
                      0u);
            expect_calls({{"pipe_stful_query_get_sizes", {session, target_word, row.handle, some_address}},
                          {"pipe_stful_ent_query", {session, target_word, row.handle, 21, some_address, flags & 1}}});
            EXPECT_EQ(count, 2u);
            expect_values(values, value_size(row), {0x40, 0x50});
        }
}

TEST_F(Registers, RangesLeaveNoGaps) {
    answer_size(2);
    // An impossible size gets an empty block, so that the read goes on.
    vl_model::answer_calls("bf_sys_calloc", [](const AnsweredCall& call) {
        return call.args[0] > PTRDIFF_MAX ? word(bf_sys_calloc(0, call.args[1])) : call.driver();
    });
    for (const catalog::Register& row : catalog::program.registers) {
        SCOPED_TRACE(row.name);
        Bytes values(6 * value_size(row), 0xEE);
        uint32_t cells = 99, count = 99;
        const auto read = [&](uint32_t first, int32_t asked) {
            const auto asked_word = static_cast<uint32_t>(asked);
            EXPECT_EQ(call(exported(std::string("register_range_read_") + row.name),
                           {session, target_word, dirty(first), dirty(asked_word), dirty(3), word(&cells),
                            word(values.data()), word(&count)}),
                      0u);
            expect_calls({{"pipe_stful_query_get_sizes", {session, target_word, row.handle, some_address}},
                          {"pipe_stful_ent_query_range",
                           {session, target_word, row.handle, first, asked_word, some_address, some_address, 1}}});
        };
        vl_model::answer_calls("pipe_stful_ent_query_range", [](const AnsweredCall& call) {
            auto* const queries = call.pointer<pipe_stful_query>(5);
            for (unsigned i = 0; i < 3; ++i)
                fill(queries[i], i);
            EXPECT_EQ(queries[1].elements, queries[0].elements + 2);
            queries[0].count = 1;           // of two
            *call.pointer<uint32_t>(6) = 2; // of three
            return 0;
        });
        read(100, 3);
        EXPECT_EQ(cells, 2u);
        EXPECT_EQ(count, 3u);
        expect_values(values, value_size(row), {0x00, 0x40, 0x50}); // the second cell follows at once

        // The driver is called for any count. Here it reads no cell.
        vl_model::answer_calls_with("pipe_stful_ent_query_range", 0, vl_model::output(6, 0u));
        for (const int32_t asked : {3, 0, -1}) {
            count = cells = 99;
            read(100, asked);
            EXPECT_EQ(count | cells, 0u);
        }
    }
}

TEST_F(Registers, WritesAndResets) {
    for (const catalog::Register& row : catalog::program.registers) {
        const uint8_t value[8] = {0x80, 1, 2, 3, 4, 5, 6, 7};
        pipe_stful_element element{};
        std::memcpy(element.bytes, value, value_size(row));
        if (row.cell == catalog::Cell::flag) element.bytes[0] = 1;
        const std::string name = row.name;
        const std::vector<Call> made =
            expect_operations({{"write_" + name, {5, word(value)}, "ent_set", {5, some_address, 0}},
                               {"write_all_" + name, {word(value)}, "table_reset", {some_address}},
                               {"reset_all_" + name, {}, "table_reset", {no_record}}, // to the driver's initial value
                               {"range_reset_" + name, {10, 20}, "table_reset_range", {10, 20, no_record}},
                               {"hw_sync_" + name, {callback, cookie}, "database_sync", {callback, cookie}}},
                              "register_", {session, target_word}, "pipe_stful_", {session, target_word, row.handle});
        for (const Call& write : {made[0], made[1]}) {
            EXPECT_EQ(write.inputs[0], bytes_of(element)) << write.function;
        }
    }
}

TEST_F(Registers, ByHandle) {
    pipe_stful_element element{};
    element.bytes[0] = 0x80; // elements pass as they are
    pipe_stful_query query{};
    constexpr uint64_t reg = 0x600000c, table = 0x1000040;
    expect_operations(
        {{"read_indirect", {reg, 3, 0xFE, word(&query)}, "ent_query", {reg, 3, word(&query), 0}},
         {"read_direct", {table, 3, 0xFF, word(&query)}, "direct_ent_query", {table, 3, word(&query), 1}},
         {"write_indirect", {reg, 3, word(&element)}, "ent_set", {reg, 3, word(&element), 0}},
         {"write_all_indirect", {reg, word(&element)}, "table_reset", {reg, word(&element)}},
         {"reset_all_indirect", {reg}, "table_reset", {reg, no_record}},
         {"range_reset_indirect", {reg, 1, 2}, "table_reset_range", {reg, 1, 2, no_record}},
         {"hw_sync_indirect", {reg, callback, cookie}, "database_sync", {reg, callback, cookie}},
         {"hw_sync_direct", {table, callback, cookie}, "direct_database_sync", {table, callback, cookie}}},
        "register_", {session, target_word}, "pipe_stful_", {session, target_word});

    // Eight bits of the device reach the driver. The value travels in two registers.
    const uint64_t halves[2] = {0xF7F6F5F4F3F2F1F0, 0xFFFEFDFCFBFAF9F8};
    const Call sent = expect_forwarded("register_write_direct", {session, 0x101, table, 3, halves[0], halves[1]},
                                       "pipe_mgr_mat_ent_set_resource", {session, 1, table, 3, some_address, 1, 0});
    pipe_resource_slot slot{.resource_hdl = table, .index = 0, .spec = {}, .tag = PIPE_SLOT_ATTACHED, .reserved = 0};
    std::memcpy(slot.spec, halves, sizeof halves);
    EXPECT_EQ(sent.inputs[0], bytes_of(slot));
}

TEST_F(Resources, AListEndsWithTheRecord) {
    pipe_action_record records[2] = {};
    for (pipe_action_record& record : records)
        std::fill_n(reinterpret_cast<uint32_t*>(&record), sizeof record / 4, PIPE_SLOT_ATTACHED);
    records[0].resource_count = PIPE_MAX_SLOTS + 1;
    vl_pd::ResourceList list;
    ASSERT_TRUE(list.build_pd_res_spec(records[0]));
    EXPECT_EQ(list.count(), +PIPE_MAX_SLOTS);
}

} // namespace
