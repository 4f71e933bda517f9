// Counters, meters, WRED and registers: what reaches the driver, argument by argument and byte by byte, and what comes
// back. The driver's functions are stood in for here, so that each can refuse and answer as a case wants it.
#include "support/library.h"

#include <dlfcn.h>

#include <cstring>
#include <functional>

#include "pd/tables/resource_list.h"
#include "vl_driver/driver.h"

namespace {

using namespace support;
using Words = std::vector<uint64_t>;

struct Seen {
    std::string function;
    Words args;  // integers; pointers are left out, but for callbacks, cookies and null records
    Bytes bytes; // the record that was sent
};

std::vector<Seen> seen;
pipe_status answer;  // of every call
std::string refused; // but of the function that refuses, with status 5
std::function<void(pipe_counter_record&)> fill_counter;
std::function<void(pipe_meter_spec&)> fill_meter;
int32_t values_per_cell;
std::function<uint32_t(pipe_stful_query*, int32_t)> fill_cells; // returns how many cells were read

uint64_t as_word(pipe_dev_tgt target) {
    uint64_t word;
    std::memcpy(&word, &target, sizeof word);
    return word;
}

template <class Record>
Bytes bytes_of(const Record* record) {
    if (record == nullptr) return {};
    const auto* const bytes = reinterpret_cast<const uint8_t*>(record);
    return Bytes(bytes, bytes + sizeof *record);
}

pipe_status note(const char* function, Words args, Bytes bytes = {}) {
    seen.push_back({function, std::move(args), std::move(bytes)});
    return refused == function ? 5 : answer;
}

class Resources : public testing::Test {
protected:
    Resources() {
        seen.clear();
        answer = 0;
        refused.clear();
        fill_counter = nullptr;
        fill_meter = nullptr;
        values_per_cell = 1;
        fill_cells = nullptr;
        vl_model_reset();
    }
    ~Resources() override {
        EXPECT_EQ(vl_model::live_allocations(), 0u);
    }

    // The one call since the last look.
    static Seen only() {
        EXPECT_EQ(seen.size(), 1u);
        Seen first = seen.empty() ? Seen{} : seen.front();
        seen.clear();
        return first;
    }
    static Bytes expect_only(const char* function, const Words& args) {
        const Seen call = only();
        EXPECT_EQ(call.function, function);
        EXPECT_EQ(call.args, args) << function;
        return call.bytes;
    }
    // An operation that is one call of the driver, whose status is the result. Gives the record that was sent.
    static Bytes expect_forwarded(const std::string& operation, const Words& words, const char* function,
                                  const Words& args) {
        answer = 0x87654321;
        EXPECT_EQ(call(exported(operation), words), 0x87654321u) << operation;
        expect_only(function, args);
        answer = 0;
        EXPECT_EQ(call(exported(operation), words), 0u) << operation;
        return expect_only(function, args);
    }
};

constexpr uint64_t session = 9;
constexpr uint64_t callback = 0x1111, cookie = 0x2222;

struct CounterCase {
    const char* name;
    uint32_t handle;
    bool direct;
};
constexpr CounterCase counters[] = {
    {"egressPortQueueCount", 0x4000008, false},
    {"l2DmacClassifyCount", 0x100000a, true},
    {"ingressPortDropCount", 0x1000013, true},
    {"sfDefaultCount", 0x100002e, true},
    {"trapToCpuCount", 0x1000040, true},
    {"pdpClassCount", 0x4000005, false},
    {"haloCount", 0x1000060, true},
    {"finalDropControlCount", 0x1000064, true},
    {"egressPortDropCount", 0x1000083, true},
};

TEST_F(Resources, CountersSwapTheirWordsAndSyncOnBitZero) {
    fill_counter = [](pipe_counter_record& record) {
        const uint64_t words[2] = {10, 20};
        std::memcpy(&record, words, sizeof words);
    };
    for (const auto& [name, handle, direct] : counters) {
        SCOPED_TRACE(name);
        const uint64_t where = direct ? device : target_word;
        const char* const sync = direct ? "pipe_mgr_direct_stat_ent_database_sync" : "pipe_mgr_stat_ent_database_sync";
        const char* const query = direct ? "pipe_mgr_mat_ent_direct_stat_query" : "pipe_mgr_stat_ent_query";
        const std::string read = exported(std::string("counter_read_") + name);
        uint64_t value[2] = {};
        for (const uint32_t flags : {0u, 2u, 3u}) {
            seen.clear();
            ASSERT_EQ(
                call(read, {dirty(session), direct ? dirty(device) : where, dirty(77), dirty(flags), word(value)}), 0u);
            EXPECT_EQ(value[0], 20u) << "the second of the driver's words";
            EXPECT_EQ(value[1], 10u);
            ASSERT_EQ(seen.size(), flags & 1 ? 2u : 1u);
            if (flags & 1) {
                EXPECT_EQ(seen[0].function, sync);
                EXPECT_EQ(seen[0].args, (Words{session, where, handle, 77}));
            }
            EXPECT_EQ(seen.back().function, query);
            EXPECT_EQ(seen.back().args, (Words{session, where, handle, 77}));
        }
        for (const char* const failing : {sync, query}) {
            refused = failing;
            value[0] = value[1] = 42;
            seen.clear();
            EXPECT_EQ(call(read, {session, where, 77, 1, word(value)}), 5u);
            EXPECT_EQ(value[0] & value[1], 42u);
            EXPECT_EQ(seen.size(), failing == sync ? 1u : 2u);
            refused.clear();
        }
        seen.clear();
        // The value travels in two registers.
        const Bytes sent = expect_forwarded(std::string("counter_write_") + name, {session, target_word, 77, 1, 2},
                                            direct ? "pipe_mgr_mat_ent_direct_stat_set" : "pipe_mgr_stat_ent_set",
                                            {session, target_word, handle, 77});
        const uint64_t swapped[2] = {2, 1};
        EXPECT_EQ(sent, bytes_of(&swapped));
        expect_forwarded(std::string("counter_hw_sync_") + name, {session, target_word, callback, cookie},
                         direct ? "pipe_mgr_direct_stat_database_sync" : "pipe_mgr_stat_database_sync",
                         {session, target_word, handle, callback, cookie});
    }
}

pipe_meter_spec meter_in(const Bytes& bytes, size_t offset = 0) {
    pipe_meter_spec spec;
    EXPECT_GE(bytes.size(), offset + sizeof spec);
    std::memcpy(&spec, bytes.data() + offset, sizeof spec);
    return spec;
}

void expect_meter(const pipe_meter_spec& sent, uint32_t type, uint32_t unit) {
    EXPECT_EQ(sent.type, type);
    EXPECT_EQ(sent.committed_unit, unit);
    EXPECT_EQ(sent.peak_unit, unit);
    EXPECT_EQ(sent.committed_rate, 0x80000001u);
    EXPECT_EQ(sent.committed_burst, 2u);
    EXPECT_EQ(sent.peak_rate, 3u);
    EXPECT_EQ(sent.peak_burst, 4u);
}

TEST_F(Resources, MetersOfThePipeline) {
    const pd_meter_spec spec = {0x80000001, 2, 3, 4, PD_METER_TYPE_COLOR_UNAWARE};
    const Bytes sent = expect_forwarded("meter_set_stormControlMeter", {session, device, 33, word(&spec)},
                                        "pipe_mgr_mat_ent_set_resource", {session, device, 0x1000027, 33, 1, 0});
    pipe_resource_slot slot;
    std::memcpy(&slot, sent.data(), sizeof slot);
    EXPECT_EQ(slot.resource_hdl, 0x5000001u);
    EXPECT_EQ(slot.tag, 1u);
    expect_meter(meter_in(sent, offsetof(pipe_resource_slot, spec)), 1, 0);

    const std::pair<const char*, uint32_t> indirect[] = {
        {"ingressMirrorMeter", 0x5000002}, {"egressMirrorMeter", 0x5000005}, {"pdpMeter", 0x5000003}};
    fill_meter = [](pipe_meter_spec& read) {
        EXPECT_EQ(read.type | read.committed_rate | read.peak_burst, 0u) << "zeroed before";
        read = {7, 0, 1, 0, 0x100000005, 6, 1, 0, 7, 0x200000008};
    };
    const auto expect_read = [](const pd_meter_spec& read) {
        EXPECT_EQ(read.meter_type, 7u) << "unmapped";
        EXPECT_EQ(read.committed_rate, 5u) << "the low 32 bits";
        EXPECT_EQ(read.committed_burst, 6u);
        EXPECT_EQ(read.peak_rate, 7u);
        EXPECT_EQ(read.peak_burst, 8u);
    };
    for (const auto& [name, handle] : indirect) {
        SCOPED_TRACE(name);
        expect_meter(
            meter_in(expect_forwarded(std::string("meter_set_") + name, {session, target_word, dirty(44), word(&spec)},
                                      "pipe_mgr_meter_ent_set", {session, target_word, handle, 44, 0})),
            1, 0);
        pd_meter_spec read = spec;
        for (const pd_status expected : {5u, 0u}) {
            refused = expected == 0 ? "" : "pipe_mgr_meter_read_entry_idx";
            EXPECT_EQ(std::memcmp(&read, &spec, sizeof read), 0) << "untouched by the refused read";
            EXPECT_EQ(call(exported(std::string("meter_read_") + name), {session, target_word, 44, word(&read)}),
                      expected);
            expect_only("pipe_mgr_meter_read_entry_idx", {session, target_word, handle, 44, 0});
        }
        expect_read(read);
    }
    pd_meter_spec read = {};
    ASSERT_EQ(p4_pd_velmar_switch_meter_read_stormControlMeter(session, target, 33, &read), 0u);
    expect_only("pipe_mgr_meter_read_entry", {session, target_word, 0x1000027, 33});
    expect_read(read);
    refused = "pipe_mgr_meter_read_entry";
    read = spec;
    EXPECT_EQ(p4_pd_velmar_switch_meter_read_stormControlMeter(session, target, 33, &read), 5u);
    EXPECT_EQ(std::memcmp(&read, &spec, sizeof read), 0);
}

// By the resource's handle, also where the other operations name the match table.
TEST_F(Resources, ByteCountAdjustments) {
    const std::pair<const char*, uint32_t> meters[] = {{"stormControlMeter", 0x5000001},
                                                       {"ingressMirrorMeter", 0x5000002},
                                                       {"egressMirrorMeter", 0x5000005},
                                                       {"pdpMeter", 0x5000003}};
    for (const auto& [name, handle] : meters) {
        uint32_t adjustment = 0;
        expect_forwarded(std::string("meter_bytecount_adjust_set_") + name, {session, target_word, 20},
                         "pipe_mgr_meter_set_bytecount_adjust", {session, target_word, handle, 20});
        expect_forwarded(std::string("meter_bytecount_adjust_get_") + name, {session, target_word, word(&adjustment)},
                         "pipe_mgr_meter_get_bytecount_adjust", {session, target_word, handle});
        EXPECT_EQ(adjustment, 20u);
    }
}

TEST_F(Resources, OnlyAMeterTypeThatIsNoneIsLoggedAndIsSentAsColourAware) {
    for (const uint32_t type : {0u, 1u, 9u})
        for (const char* const name : {"stormControlMeter", "ingressMirrorMeter", "egressMirrorMeter", "pdpMeter"}) {
            SCOPED_TRACE(name);
            const bool direct = name == std::string("stormControlMeter");
            const pd_meter_spec spec = {0x80000001, 2, 3, 4, type};
            vl_model::record_calls(true);
            EXPECT_EQ(call(exported(std::string("meter_set_") + name),
                           {session, direct ? device : target_word, 1, word(&spec)}),
                      0u);
            size_t lines = 0;
            for (const vl_model::Call& call : vl_model::take_calls())
                lines += call.function == "bf_sys_log_and_trace";
            vl_model::record_calls(false);
            EXPECT_EQ(lines, type == 9 ? 1u : 0u);
            expect_meter(meter_in(only().bytes, direct ? offsetof(pipe_resource_slot, spec) : 0), type == 1, 0);
        }
}

TEST_F(Resources, MetersByHandle) {
    pd_meter_spec spec = {0x80000001, 2, 3, 4, PD_METER_TYPE_COLOR_UNAWARE};
    for (const bool packets : {false, true}) {
        const char* const operation = packets ? "packets_meter_set" : "bytes_meter_set";
        const std::string set = exported(operation);
        spec.meter_type = PD_METER_TYPE_COLOR_UNAWARE;
        expect_meter(meter_in(expect_forwarded(operation, {session, target_word, 0x5000077, 8, word(&spec), 0},
                                               "pipe_mgr_meter_ent_set", {session, target_word, 0x5000077, 8, 0})),
                     1, packets);
        spec.meter_type = PD_METER_TYPE_COLOR_AWARE;
        ASSERT_EQ(call(set, {session, target_word, 0x5000077, 8, word(&spec), 1}), 0u);
        expect_meter(meter_in(only().bytes), 0, packets);
        // Eight bits of the flag count; without a colour there is nothing to be aware of.
        EXPECT_EQ(call(set, {session, target_word, 0x5000077, 8, word(&spec), 0x100}), +PD_STATUS_INVALID);
        spec.meter_type = 2;
        EXPECT_EQ(call(set, {session, target_word, 0x5000077, 8, word(&spec), 1}), +PD_STATUS_INVALID);
        EXPECT_TRUE(seen.empty());
        pd_meter_spec read = {42, 42, 42, 42, 42};
        fill_meter = [](pipe_meter_spec& form) { form.type = 1; };
        for (const pd_status expected : {5u, 0u}) {
            refused = expected == 0 ? "" : "pipe_mgr_meter_read_entry_idx";
            EXPECT_EQ(read.committed_rate & read.meter_type, 42u) << "untouched by the refused read";
            EXPECT_EQ(call(exported(packets ? "packets_meter_read" : "bytes_meter_read"),
                           {session, target_word, 0x5000077, 8, word(&read)}),
                      expected);
            expect_only("pipe_mgr_meter_read_entry_idx", {session, target_word, 0x5000077, 8, 0});
        }
        EXPECT_EQ(read.meter_type, 1u);
    }
}

TEST_F(Resources, WredSpecsGoThroughACopy) {
    const pd_wred_spec spec = {{0x1122334455667788, 0x99AABBCCDDEEFF00}};
    EXPECT_EQ(expect_forwarded("wred_set", {session, target_word, 0x5000044, 6, word(&spec)}, "pipe_mgr_wred_ent_set",
                               {session, target_word, 0x5000044, 6, 0}),
              bytes_of(&spec));
    EXPECT_EQ(expect_forwarded("wred_set_wredBlock", {session, target_word, 6, word(&spec)}, "pipe_mgr_wred_ent_set",
                               {session, target_word, 0x5000004, 6, 0}),
              bytes_of(&spec));
    pd_wred_spec read = {{1, 1}};
    ASSERT_EQ(p4_pd_velmar_switch_wred_read_wredBlock(session, target, 6, &read), 0u);
    expect_only("pipe_mgr_wred_read_entry_idx", {session, target_word, 0x5000004, 6, 0});
    EXPECT_EQ(read.words[0], 0xABu);
    EXPECT_EQ(read.words[1], 0xCDu);
    refused = "pipe_mgr_wred_read_entry_idx";
    read = spec;
    EXPECT_EQ(p4_pd_velmar_switch_wred_read_wredBlock(session, target, 7, &read), 5u);
    EXPECT_EQ(bytes_of(&read), bytes_of(&spec));
}

struct RegisterCase {
    const char* name;
    uint32_t handle;
    unsigned bytes; // of a value
};
constexpr RegisterCase registers[] = {
    {"ingStpCheckData", 0x6000001, 1},  {"ingVlanCheckData", 0x6000002, 1}, {"dropReportFilter", 0x6000007, 1},
    {"seqNumber", 0x6000008, 4},        {"thresholds", 0x6000009, 8},       {"quota", 0x600000a, 4},
    {"flowReportFilter", 0x600000b, 1}, {"egrStpCheckData", 0x600000d, 1},  {"egrVlanCheckData", 0x600000e, 1},
};

// Element e of cell c holds the bytes c0 e0, c0 e1, ... so that every value tells where it comes from.
void fill_elements(pipe_stful_query& query, unsigned cell) {
    for (unsigned element = 0; element < query.count; ++element)
        for (unsigned byte = 0; byte < 16; ++byte)
            query.elements[element].bytes[byte] = static_cast<uint8_t>(cell << 6 | element << 4 | byte);
}

TEST_F(Resources, RegisterReadsUseTheDriversCount) {
    values_per_cell = 4;
    fill_cells = [](pipe_stful_query* query, int32_t) {
        EXPECT_EQ(query->count, 4u);
        fill_elements(*query, 1);
        query->count = 2;
        return 1u;
    };
    for (const auto& [name, handle, bytes] : registers) {
        SCOPED_TRACE(name);
        Bytes values(4 * bytes, 0xEE);
        uint32_t count = 0;
        for (const uint32_t flags : {2u, 3u}) {
            seen.clear();
            ASSERT_EQ(call(exported(std::string("register_read_") + name),
                           {session, target_word, dirty(21), dirty(flags), word(values.data()), word(&count)}),
                      0u);
            ASSERT_EQ(seen.size(), 2u);
            EXPECT_EQ(seen[0].args, (Words{session, target_word, handle}));
            EXPECT_EQ(seen[1].function, "pipe_stful_ent_query");
            EXPECT_EQ(seen[1].args, (Words{session, target_word, handle, 21, flags & 1}));
        }
        EXPECT_EQ(count, 2u);
        for (unsigned i = 0; i < 4 * bytes; ++i)
            EXPECT_EQ(values[i], i < 2 * bytes ? (1 << 6 | i / bytes << 4 | i % bytes) : 0xEE) << i;
    }
}

TEST_F(Resources, RegisterRangesLeaveNoGaps) {
    for (const auto& [name, handle, bytes] : registers) {
        SCOPED_TRACE(name);
        values_per_cell = 2;
        fill_cells = [](pipe_stful_query* queries, int32_t count) {
            EXPECT_EQ(count, 3);
            for (unsigned i = 0; i < 3; ++i)
                fill_elements(queries[i], i);
            EXPECT_EQ(queries[1].elements, queries[0].elements + 2);
            queries[0].count = 1; // of two
            return 2u;            // of three
        };
        Bytes values(6 * bytes, 0xEE);
        uint32_t cells = 0, count = 0;
        const auto read = [&, name = name, handle = handle](uint32_t first, int32_t asked) {
            seen.clear();
            const pd_status status = call(exported(std::string("register_range_read_") + name),
                                          {session, target_word, dirty(first), dirty(static_cast<uint32_t>(asked)),
                                           dirty(3), word(&cells), word(values.data()), word(&count)});
            EXPECT_EQ(seen.size(), 2u) << "the driver is called whatever is asked";
            if (!seen.empty()) seen.erase(seen.begin());
            expect_only("pipe_stful_ent_query_range",
                        {session, target_word, handle, first, static_cast<uint32_t>(asked), 1});
            return status;
        };
        ASSERT_EQ(read(100, 3), 0u);
        EXPECT_EQ(cells, 2u);
        EXPECT_EQ(count, 3u);
        const unsigned first_bytes[] = {0x00, 0x40, 0x50}; // the second cell follows at once
        for (unsigned i = 0; i < 6 * bytes; ++i)
            EXPECT_EQ(values[i], i < 3 * bytes ? first_bytes[i / bytes] + i % bytes : 0xEE) << i;

        // No cell read, and no cell asked for.
        fill_cells = [](pipe_stful_query*, int32_t) { return 0u; };
        for (const int32_t asked : {3, 0, -1}) {
            count = cells = 99;
            EXPECT_EQ(read(0, asked), 0u);
            EXPECT_EQ(count | cells, 0u);
        }
    }
}

TEST_F(Resources, FailedRegisterReadsWriteAndLeakNothing) {
    values_per_cell = 2;
    uint32_t values[4] = {42, 42, 42, 42}, count = 42, cells = 42;
    const auto read = [&] {
        return p4_pd_velmar_switch_register_read_seqNumber(session, target, 0, 0, values, &count);
    };
    const auto read_range = [&] {
        return p4_pd_velmar_switch_register_range_read_seqNumber(session, target, 0, 2, 0, &cells, values, &count);
    };
    const auto expect_untouched = [&](size_t calls) {
        EXPECT_EQ(values[0] & values[3] & count & cells, 42u);
        EXPECT_EQ(seen.size(), calls);
        EXPECT_EQ(vl_model::live_allocations(), 0u);
        seen.clear();
    };
    refused = "pipe_stful_query_get_sizes";
    EXPECT_EQ(read(), 5u);
    expect_untouched(1);
    EXPECT_EQ(read_range(), 5u);
    expect_untouched(1);
    EXPECT_EQ(vl_model::allocations_made(), 0u);
    refused = "pipe_stful_ent_query";
    EXPECT_EQ(read(), 5u);
    expect_untouched(2);
    refused = "pipe_stful_ent_query_range";
    EXPECT_EQ(read_range(), 5u);
    expect_untouched(2);
    refused.clear();
    vl_model::fail_allocation(1);
    EXPECT_EQ(read(), +PD_STATUS_NO_MEMORY);
    expect_untouched(1);
    for (const unsigned failing : {1u, 2u}) {
        const size_t before = vl_model::allocations_made();
        vl_model::fail_allocation(failing);
        EXPECT_EQ(read_range(), +PD_STATUS_NO_MEMORY);
        expect_untouched(1);
        EXPECT_EQ(vl_model::allocations_made() - before, 1u) << "the other one is tried all the same";
    }
}

TEST_F(Resources, RegisterWritesAndResets) {
    for (const auto& [name, handle, bytes] : registers) {
        SCOPED_TRACE(name);
        const uint8_t value[8] = {0x80, 1, 2, 3, 4, 5, 6, 7};
        const Bytes sent = bytes == 1 ? Bytes{1} : Bytes(value, value + bytes);
        const auto forward = [&, name = name, handle = handle, bytes = bytes](const char* operation, Words words,
                                                                              const char* function, Words args) {
            words.insert(words.begin(), {session, target_word});
            args.insert(args.begin(), {session, target_word, handle});
            Bytes element = expect_forwarded(std::string("register_") + operation + name, words, function, args);
            if (!element.empty()) element.resize(bytes);
            return element;
        };
        EXPECT_EQ(forward("write_", {5, word(value)}, "pipe_stful_ent_set", {5, 0}), sent) << "a flag becomes 0 or 1";
        EXPECT_EQ(forward("write_all_", {word(value)}, "pipe_stful_table_reset", {}), sent);
        EXPECT_EQ(forward("reset_all_", {}, "pipe_stful_table_reset", {}), Bytes{}) << "null: the initial value";
        EXPECT_EQ(forward("range_reset_", {10, 20}, "pipe_stful_table_reset_range", {10, 20}), Bytes{});
        forward("hw_sync_", {callback, cookie}, "pipe_stful_database_sync", {callback, cookie});
    }
}

TEST_F(Resources, RegistersByHandle) {
    pipe_stful_element element{};
    element.bytes[0] = 0x80;
    pipe_stful_query query{};
    fill_cells = [&](const pipe_stful_query* passed, int32_t) {
        EXPECT_EQ(passed, &query);
        return 1u;
    };
    constexpr uint64_t reg = 0x600000c, table = 0x1000040;
    expect_forwarded("register_read_indirect", {session, target_word, reg, 3, 0xFE, word(&query)},
                     "pipe_stful_ent_query", {session, target_word, reg, 3, 0});
    expect_forwarded("register_read_direct", {session, target_word, table, 3, 0xFF, word(&query)},
                     "pipe_stful_direct_ent_query", {session, target_word, table, 3, 1});
    EXPECT_EQ(expect_forwarded("register_write_indirect", {session, target_word, reg, 3, word(&element)},
                               "pipe_stful_ent_set", {session, target_word, reg, 3, 0}),
              bytes_of(&element))
        << "elements pass as they are";
    EXPECT_EQ(expect_forwarded("register_write_all_indirect", {session, target_word, reg, word(&element)},
                               "pipe_stful_table_reset", {session, target_word, reg}),
              bytes_of(&element));
    EXPECT_EQ(expect_forwarded("register_reset_all_indirect", {session, target_word, reg}, "pipe_stful_table_reset",
                               {session, target_word, reg}),
              Bytes{});
    EXPECT_EQ(expect_forwarded("register_range_reset_indirect", {session, target_word, reg, 1, 2},
                               "pipe_stful_table_reset_range", {session, target_word, reg, 1, 2}),
              Bytes{});
    expect_forwarded("register_hw_sync_indirect", {session, target_word, reg, callback, cookie},
                     "pipe_stful_database_sync", {session, target_word, reg, callback, cookie});
    expect_forwarded("register_hw_sync_direct", {session, target_word, table, callback, cookie},
                     "pipe_stful_direct_database_sync", {session, target_word, table, callback, cookie});

    pd_register_value value;
    for (uint8_t i = 0; i < 16; ++i)
        value.bytes[i] = static_cast<uint8_t>(0xF0 + i);
    // Eight bits of the device; the value travels in two registers.
    uint64_t halves[2];
    std::memcpy(halves, value.bytes, sizeof halves);
    const Bytes sent = expect_forwarded("register_write_direct", {session, 0x101, table, 3, halves[0], halves[1]},
                                        "pipe_mgr_mat_ent_set_resource", {session, 1, table, 3, 1, 0});
    pipe_resource_slot slot;
    std::memcpy(&slot, sent.data(), sizeof slot);
    EXPECT_EQ(slot.resource_hdl, 0x1000040u);
    EXPECT_EQ(slot.index, 0u);
    EXPECT_EQ(slot.tag, 1u);
    EXPECT_EQ(std::memcmp(slot.spec, value.bytes, 16), 0);
    for (unsigned i = 16; i < sizeof slot.spec; ++i)
        EXPECT_EQ(slot.spec[i], 0);
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

uint64_t as_word(pipe_sync_cb function) {
    return reinterpret_cast<uintptr_t>(function);
}

} // namespace

extern "C" {

// More than any machine has is given as an empty block, so that who asks for it goes on.
void* bf_sys_calloc(size_t count, size_t size) {
    static const auto calloc_of_driver = reinterpret_cast<decltype(&bf_sys_calloc)>(dlsym(RTLD_NEXT, "bf_sys_calloc"));
    return calloc_of_driver(count > PTRDIFF_MAX ? 0 : count, size);
}

pipe_status pipe_mgr_mat_ent_direct_stat_query(pipe_sess_hdl s, pipe_dev_id d, pipe_tbl_hdl t, pipe_ent_hdl e,
                                               pipe_counter_record* record) {
    if (fill_counter) fill_counter(*record);
    return note("pipe_mgr_mat_ent_direct_stat_query", {s, d, t, e});
}
pipe_status pipe_mgr_mat_ent_direct_stat_set(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl t, pipe_ent_hdl e,
                                             const pipe_counter_record* record) {
    return note("pipe_mgr_mat_ent_direct_stat_set", {s, as_word(d), t, e}, bytes_of(record));
}
pipe_status pipe_mgr_direct_stat_ent_database_sync(pipe_sess_hdl s, pipe_dev_id d, pipe_tbl_hdl t, pipe_ent_hdl e) {
    return note("pipe_mgr_direct_stat_ent_database_sync", {s, d, t, e});
}
pipe_status pipe_mgr_direct_stat_database_sync(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl t, pipe_sync_cb f,
                                               void* c) {
    return note("pipe_mgr_direct_stat_database_sync", {s, as_word(d), t, as_word(f), word(c)});
}
pipe_status pipe_mgr_stat_ent_query(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, const uint32_t* indices,
                                    uint32_t count, pipe_counter_record* const* records) {
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(records[0]->count_a | records[0]->count_b, 0u) << "zeroed before";
    if (fill_counter) fill_counter(*records[0]);
    return note("pipe_mgr_stat_ent_query", {s, as_word(d), h, indices[0]});
}
pipe_status pipe_mgr_stat_ent_set(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, uint32_t index,
                                  const pipe_counter_record* record) {
    return note("pipe_mgr_stat_ent_set", {s, as_word(d), h, index}, bytes_of(record));
}
pipe_status pipe_mgr_stat_ent_database_sync(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, uint32_t index) {
    return note("pipe_mgr_stat_ent_database_sync", {s, as_word(d), h, index});
}
pipe_status pipe_mgr_stat_database_sync(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, pipe_sync_cb f, void* c) {
    return note("pipe_mgr_stat_database_sync", {s, as_word(d), h, as_word(f), word(c)});
}
pipe_status pipe_mgr_mat_ent_set_resource(pipe_sess_hdl s, pipe_dev_id d, pipe_tbl_hdl t, pipe_ent_hdl e,
                                          const pipe_resource_slot* slots, uint32_t count, uint32_t flags) {
    return note("pipe_mgr_mat_ent_set_resource", {s, d, t, e, count, flags}, bytes_of(slots));
}
pipe_status pipe_mgr_meter_read_entry(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl t, pipe_ent_hdl e,
                                      pipe_meter_spec* spec) {
    if (fill_meter) fill_meter(*spec);
    return note("pipe_mgr_meter_read_entry", {s, as_word(d), t, e});
}
pipe_status pipe_mgr_meter_ent_set(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, uint32_t index,
                                   const pipe_meter_spec* spec, uint32_t flags) {
    return note("pipe_mgr_meter_ent_set", {s, as_word(d), h, index, flags}, bytes_of(spec));
}
pipe_status pipe_mgr_meter_read_entry_idx(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, uint32_t index,
                                          pipe_meter_spec* spec, uint32_t flags) {
    if (fill_meter) fill_meter(*spec);
    return note("pipe_mgr_meter_read_entry_idx", {s, as_word(d), h, index, flags});
}
pipe_status pipe_mgr_meter_set_bytecount_adjust(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, uint32_t value) {
    return note("pipe_mgr_meter_set_bytecount_adjust", {s, as_word(d), h, value});
}
pipe_status pipe_mgr_meter_get_bytecount_adjust(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, uint32_t* value) {
    *value = 20;
    return note("pipe_mgr_meter_get_bytecount_adjust", {s, as_word(d), h});
}
pipe_status pipe_mgr_wred_ent_set(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, uint32_t index,
                                  const pipe_wred_spec* spec, uint32_t flags) {
    return note("pipe_mgr_wred_ent_set", {s, as_word(d), h, index, flags}, bytes_of(spec));
}
pipe_status pipe_mgr_wred_read_entry_idx(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, uint32_t index,
                                         pipe_wred_spec* spec, uint32_t flags) {
    EXPECT_EQ(spec->words[0] | spec->words[1], 0u);
    *spec = {{0xAB, 0xCD}};
    return note("pipe_mgr_wred_read_entry_idx", {s, as_word(d), h, index, flags});
}
pipe_status pipe_stful_query_get_sizes(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, int32_t* size) {
    *size = values_per_cell;
    return note("pipe_stful_query_get_sizes", {s, as_word(d), h});
}
pipe_status pipe_stful_ent_query(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, uint32_t index,
                                 pipe_stful_query* query, uint32_t from_hw) {
    if (fill_cells) fill_cells(query, 1);
    return note("pipe_stful_ent_query", {s, as_word(d), h, index, from_hw});
}
pipe_status pipe_stful_ent_query_range(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, uint32_t first, int32_t count,
                                       pipe_stful_query* queries, uint32_t* cells, uint32_t from_hw) {
    *cells = fill_cells ? fill_cells(queries, count) : 0;
    return note("pipe_stful_ent_query_range", {s, as_word(d), h, first, static_cast<uint32_t>(count), from_hw});
}
pipe_status pipe_stful_direct_ent_query(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl t, pipe_ent_hdl e,
                                        pipe_stful_query* query, uint32_t from_hw) {
    if (fill_cells) fill_cells(query, 1);
    return note("pipe_stful_direct_ent_query", {s, as_word(d), t, e, from_hw});
}
pipe_status pipe_stful_ent_set(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, uint32_t index,
                               const pipe_stful_element* element, uint32_t flags) {
    return note("pipe_stful_ent_set", {s, as_word(d), h, index, flags}, bytes_of(element));
}
pipe_status pipe_stful_table_reset(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, const pipe_stful_element* element) {
    return note("pipe_stful_table_reset", {s, as_word(d), h}, bytes_of(element));
}
pipe_status pipe_stful_table_reset_range(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, uint32_t first,
                                         uint32_t count, const pipe_stful_element* element) {
    return note("pipe_stful_table_reset_range", {s, as_word(d), h, first, count}, bytes_of(element));
}
pipe_status pipe_stful_database_sync(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, pipe_sync_cb f, void* c) {
    return note("pipe_stful_database_sync", {s, as_word(d), h, as_word(f), word(c)});
}
pipe_status pipe_stful_direct_database_sync(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl t, pipe_sync_cb f, void* c) {
    return note("pipe_stful_direct_database_sync", {s, as_word(d), t, as_word(f), word(c)});
}
}
