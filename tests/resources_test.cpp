// Counters, meters, WRED and registers: what reaches the driver, argument by argument and byte by byte, and what comes
// back. The driver's functions are stood in for here, so that each can refuse and answer as a case wants it.
#include "support/library.h"

#include <cstring>
#include <functional>

#include "vl_driver/driver.h"

namespace {

using namespace support;
using Words = std::vector<std::uint64_t>;

struct Seen {
    std::string function;
    Words args;  // integers; pointers are left out, but for callbacks, cookies and null records
    Bytes bytes; // the record that was sent
};

std::vector<Seen> seen;
std::string refused; // the function that refuses, with status 5
std::function<void(pipe_counter_record&)> fill_counter;
std::function<void(pipe_meter_spec&)> fill_meter;
std::int32_t values_per_cell;
std::function<std::uint32_t(pipe_stful_query*, std::int32_t)> fill_cells; // returns how many cells were read

std::uint64_t as_word(pipe_dev_tgt target) {
    std::uint64_t word;
    std::memcpy(&word, &target, sizeof word);
    return word;
}

template <class Record>
Bytes bytes_of(const Record* record) {
    if (record == nullptr) return {};
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(record);
    return Bytes(bytes, bytes + sizeof *record);
}

pipe_status note(const char* function, Words args, Bytes bytes = {}) {
    seen.push_back({function, std::move(args), std::move(bytes)});
    return refused == function ? 5 : 0;
}

class Resources : public testing::Test {
protected:
    Resources() {
        seen.clear();
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
    static void expect_only(const char* function, const Words& args) {
        const Seen call = only();
        EXPECT_EQ(call.function, function);
        EXPECT_EQ(call.args, args) << function;
    }
};

constexpr std::uint64_t session = 9;
constexpr std::uint64_t callback = 0x1111, cookie = 0x2222;

struct CounterCase {
    const char* name;
    std::uint32_t handle;
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
        const std::uint64_t words[2] = {10, 20};
        std::memcpy(&record, words, sizeof words);
    };
    for (const auto& [name, handle, direct] : counters) {
        SCOPED_TRACE(name);
        const std::uint64_t where = direct ? device : target_word;
        const char* const sync = direct ? "pipe_mgr_direct_stat_ent_database_sync" : "pipe_mgr_stat_ent_database_sync";
        const char* const query = direct ? "pipe_mgr_mat_ent_direct_stat_query" : "pipe_mgr_stat_ent_query";
        const std::string read = exported(std::string("counter_read_") + name);
        std::uint64_t value[2] = {};
        for (const std::uint32_t flags : {0u, 2u, 3u}) {
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
        ASSERT_EQ(call(exported(std::string("counter_write_") + name), {session, target_word, 77, 1, 2}), 0u);
        const Seen write = only();
        EXPECT_EQ(write.function, direct ? "pipe_mgr_mat_ent_direct_stat_set" : "pipe_mgr_stat_ent_set");
        EXPECT_EQ(write.args, (Words{session, target_word, handle, 77}));
        std::uint64_t sent[2];
        std::memcpy(sent, write.bytes.data(), sizeof sent);
        EXPECT_EQ(sent[0], 2u);
        EXPECT_EQ(sent[1], 1u);
        ASSERT_EQ(call(exported(std::string("counter_hw_sync_") + name), {session, target_word, callback, cookie}), 0u);
        expect_only(direct ? "pipe_mgr_direct_stat_database_sync" : "pipe_mgr_stat_database_sync",
                    {session, target_word, handle, callback, cookie});
    }
}

pipe_meter_spec meter_in(const Bytes& bytes, std::size_t offset = 0) {
    pipe_meter_spec spec;
    EXPECT_GE(bytes.size(), offset + sizeof spec);
    std::memcpy(&spec, bytes.data() + offset, sizeof spec);
    return spec;
}

void expect_meter(const pipe_meter_spec& sent, std::uint32_t type, std::uint32_t unit) {
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
    ASSERT_EQ(p4_pd_velmar_switch_meter_set_stormControlMeter(session, device, 33, &spec), 0u);
    Seen set = only();
    EXPECT_EQ(set.function, "pipe_mgr_mat_ent_set_resource");
    EXPECT_EQ(set.args, (Words{session, device, 0x1000027, 33, 1, 0}));
    pipe_resource_slot slot;
    std::memcpy(&slot, set.bytes.data(), sizeof slot);
    EXPECT_EQ(slot.resource_hdl, 0x5000001u);
    EXPECT_EQ(slot.tag, 1u);
    expect_meter(meter_in(Bytes(slot.spec, slot.spec + sizeof slot.spec)), 1, 0);

    const std::pair<const char*, std::uint32_t> indirect[] = {
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
        ASSERT_EQ(call(exported(std::string("meter_set_") + name), {session, target_word, dirty(44), word(&spec)}), 0u);
        set = only();
        EXPECT_EQ(set.function, "pipe_mgr_meter_ent_set");
        EXPECT_EQ(set.args, (Words{session, target_word, handle, 44, 0}));
        expect_meter(meter_in(set.bytes), 1, 0);
        pd_meter_spec read = {};
        ASSERT_EQ(call(exported(std::string("meter_read_") + name), {session, target_word, 44, word(&read)}), 0u);
        expect_only("pipe_mgr_meter_read_entry_idx", {session, target_word, handle, 44, 0});
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
    seen.clear();

    std::uint32_t adjustment = 0;
    ASSERT_EQ(p4_pd_velmar_switch_meter_bytecount_adjust_set_stormControlMeter(session, target, 20), 0u);
    expect_only("pipe_mgr_meter_set_bytecount_adjust", {session, target_word, 0x5000001, 20});
    ASSERT_EQ(p4_pd_velmar_switch_meter_bytecount_adjust_get_pdpMeter(session, target, &adjustment), 0u);
    expect_only("pipe_mgr_meter_get_bytecount_adjust", {session, target_word, 0x5000003});
    EXPECT_EQ(adjustment, 20u);
}

TEST_F(Resources, AMeterTypeThatIsNoneIsLoggedOnceAndSentAsColourAware) {
    vl_model::record_calls(true);
    const pd_meter_spec spec = {0x80000001, 2, 3, 4, 9};
    ASSERT_EQ(p4_pd_velmar_switch_meter_set_pdpMeter(session, target, 1, &spec), 0u);
    std::size_t lines = 0;
    for (const vl_model::Call& call : vl_model::take_calls())
        lines += call.function == "bf_sys_log_and_trace";
    vl_model::record_calls(false);
    EXPECT_EQ(lines, 1u);
    expect_meter(meter_in(only().bytes), 0, 0);
}

TEST_F(Resources, MetersByHandle) {
    pd_meter_spec spec = {0x80000001, 2, 3, 4, PD_METER_TYPE_COLOR_UNAWARE};
    for (const bool packets : {false, true}) {
        const std::string set = exported(packets ? "packets_meter_set" : "bytes_meter_set");
        spec.meter_type = PD_METER_TYPE_COLOR_UNAWARE;
        ASSERT_EQ(call(set, {session, target_word, 0x5000077, 8, word(&spec), 0}), 0u);
        Seen sent = only();
        EXPECT_EQ(sent.args, (Words{session, target_word, 0x5000077, 8, 0}));
        expect_meter(meter_in(sent.bytes), 1, packets);
        spec.meter_type = PD_METER_TYPE_COLOR_AWARE;
        ASSERT_EQ(call(set, {session, target_word, 0x5000077, 8, word(&spec), 1}), 0u);
        expect_meter(meter_in(only().bytes), 0, packets);
        // Eight bits of the flag count; without a colour there is nothing to be aware of.
        EXPECT_EQ(call(set, {session, target_word, 0x5000077, 8, word(&spec), 0x100}), +PD_STATUS_INVALID);
        spec.meter_type = 2;
        EXPECT_EQ(call(set, {session, target_word, 0x5000077, 8, word(&spec), 1}), +PD_STATUS_INVALID);
        EXPECT_TRUE(seen.empty());
        pd_meter_spec read = {};
        fill_meter = [](pipe_meter_spec& form) { form.type = 1; };
        ASSERT_EQ(call(exported(packets ? "packets_meter_read" : "bytes_meter_read"),
                       {session, target_word, 0x5000077, 8, word(&read)}),
                  0u);
        expect_only("pipe_mgr_meter_read_entry_idx", {session, target_word, 0x5000077, 8, 0});
        EXPECT_EQ(read.meter_type, 1u);
    }
}

TEST_F(Resources, WredSpecsGoThroughACopy) {
    const pd_wred_spec spec = {{0x1122334455667788, 0x99AABBCCDDEEFF00}};
    for (const bool by_handle : {false, true}) {
        if (by_handle)
            ASSERT_EQ(p4_pd_velmar_switch_wred_set(session, target, 0x5000004, 6, &spec), 0u);
        else
            ASSERT_EQ(p4_pd_velmar_switch_wred_set_wredBlock(session, target, 6, &spec), 0u);
        const Seen set = only();
        EXPECT_EQ(set.function, "pipe_mgr_wred_ent_set");
        EXPECT_EQ(set.args, (Words{session, target_word, 0x5000004, 6, 0}));
        EXPECT_EQ(set.bytes, bytes_of(&spec));
    }
    pd_wred_spec read = {{1, 1}};
    ASSERT_EQ(p4_pd_velmar_switch_wred_read_wredBlock(session, target, 6, &read), 0u);
    expect_only("pipe_mgr_wred_read_entry_idx", {session, target_word, 0x5000004, 6, 0});
    EXPECT_EQ(read.words[0], 0xABu);
    EXPECT_EQ(read.words[1], 0xCDu);
    refused = "pipe_mgr_wred_read_entry_idx";
    EXPECT_EQ(p4_pd_velmar_switch_wred_read_wredBlock(session, target, 7, &read), 5u);
    EXPECT_EQ(read.words[0], 0xABu);
}

struct RegisterCase {
    const char* name;
    std::uint32_t handle;
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
            query.elements[element].bytes[byte] = static_cast<std::uint8_t>(cell << 6 | element << 4 | byte);
}

TEST_F(Resources, RegisterReadsUseTheDriversCount) {
    values_per_cell = 4;
    fill_cells = [](pipe_stful_query* query, std::int32_t) {
        EXPECT_EQ(query->count, 4u);
        fill_elements(*query, 1);
        query->count = 2;
        return 1u;
    };
    for (const auto& [name, handle, bytes] : registers) {
        SCOPED_TRACE(name);
        Bytes values(4 * bytes, 0xEE);
        std::uint32_t count = 0;
        for (const std::uint32_t flags : {2u, 3u}) {
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
    values_per_cell = 2;
    fill_cells = [](pipe_stful_query* queries, std::int32_t count) {
        EXPECT_EQ(count, 3);
        for (unsigned i = 0; i < 3; ++i)
            fill_elements(queries[i], i);
        EXPECT_EQ(queries[1].elements, queries[0].elements + 2);
        queries[0].count = 1; // of two
        return 2u;            // of three
    };
    pd_register_pair values[6];
    std::memset(values, 0xEE, sizeof values);
    std::uint32_t cells = 0, count = 0;
    ASSERT_EQ(p4_pd_velmar_switch_register_range_read_thresholds(session, target, 100, 3, 3, &cells, values, &count),
              0u);
    EXPECT_EQ(seen[1].function, "pipe_stful_ent_query_range");
    EXPECT_EQ(seen[1].args, (Words{session, target_word, 0x6000009, 100, 3, 1}));
    EXPECT_EQ(cells, 2u);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(values[0].first, 0x03020100u);
    EXPECT_EQ(values[1].first, 0x43424140u) << "the second cell follows at once";
    EXPECT_EQ(values[2].second, 0x57565554u);
    EXPECT_EQ(values[3].first, 0xEEEEEEEEu);

    // No cell read, and no cell asked for: the driver is called all the same.
    for (const std::int32_t asked : {3, 0}) {
        fill_cells = [](pipe_stful_query*, std::int32_t) { return 0u; };
        seen.clear();
        count = cells = 99;
        ASSERT_EQ(
            p4_pd_velmar_switch_register_range_read_thresholds(session, target, 0, asked, 0, &cells, values, &count),
            0u);
        EXPECT_EQ(count | cells, 0u);
        EXPECT_EQ(seen.size(), 2u);
    }
}

TEST_F(Resources, FailedRegisterReadsWriteAndLeakNothing) {
    values_per_cell = 2;
    std::uint32_t values[4] = {42, 42, 42, 42}, count = 42, cells = 42;
    const auto read = [&] {
        return p4_pd_velmar_switch_register_read_seqNumber(session, target, 0, 0, values, &count);
    };
    const auto read_range = [&] {
        return p4_pd_velmar_switch_register_range_read_seqNumber(session, target, 0, 2, 0, &cells, values, &count);
    };
    const auto expect_untouched = [&](std::size_t calls) {
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
        const std::size_t before = vl_model::allocations_made();
        vl_model::fail_allocation(failing);
        EXPECT_EQ(read_range(), +PD_STATUS_NO_MEMORY);
        expect_untouched(1);
        EXPECT_EQ(vl_model::allocations_made() - before, 1u) << "the other one is tried all the same";
    }
}

TEST_F(Resources, RegisterWritesAndResets) {
    for (const auto& [name, handle, bytes] : registers) {
        SCOPED_TRACE(name);
        const std::uint8_t value[8] = {0x80, 1, 2, 3, 4, 5, 6, 7};
        const Bytes sent = bytes == 1 ? Bytes{1} : Bytes(value, value + bytes);
        const auto expect_value = [&](const Seen& call) {
            EXPECT_EQ(Bytes(call.bytes.begin(), call.bytes.begin() + bytes), sent) << "a flag becomes 0 or 1";
        };
        ASSERT_EQ(call(exported(std::string("register_write_") + name), {session, target_word, 5, word(value)}), 0u);
        Seen write = only();
        EXPECT_EQ(write.function, "pipe_stful_ent_set");
        EXPECT_EQ(write.args, (Words{session, target_word, handle, 5, 0}));
        expect_value(write);
        ASSERT_EQ(call(exported(std::string("register_write_all_") + name), {session, target_word, word(value)}), 0u);
        write = only();
        EXPECT_EQ(write.function, "pipe_stful_table_reset");
        EXPECT_EQ(write.args, (Words{session, target_word, handle}));
        expect_value(write);
        ASSERT_EQ(call(exported(std::string("register_reset_all_") + name), {session, target_word}), 0u);
        write = only();
        EXPECT_EQ(write.function, "pipe_stful_table_reset");
        EXPECT_TRUE(write.bytes.empty()) << "null: the initial value";
        ASSERT_EQ(call(exported(std::string("register_range_reset_") + name), {session, target_word, 10, 20}), 0u);
        write = only();
        EXPECT_EQ(write.args, (Words{session, target_word, handle, 10, 20}));
        EXPECT_TRUE(write.bytes.empty());
        ASSERT_EQ(call(exported(std::string("register_hw_sync_") + name), {session, target_word, callback, cookie}),
                  0u);
        expect_only("pipe_stful_database_sync", {session, target_word, handle, callback, cookie});
    }
}

TEST_F(Resources, RegistersByHandle) {
    pipe_stful_element element{};
    element.bytes[0] = 0x80;
    pipe_stful_query query{};
    fill_cells = [](pipe_stful_query*, std::int32_t) { return 1u; };
    call(exported("register_read_indirect"), {session, target_word, 0x600000c, 3, 0xFE, word(&query)});
    expect_only("pipe_stful_ent_query", {session, target_word, 0x600000c, 3, 0});
    call(exported("register_read_direct"), {session, target_word, 0x1000040, 3, 0xFF, word(&query)});
    expect_only("pipe_stful_direct_ent_query", {session, target_word, 0x1000040, 3, 1});
    call(exported("register_write_indirect"), {session, target_word, 0x600000c, 3, word(&element)});
    EXPECT_EQ(only().bytes, bytes_of(&element)) << "elements pass as they are";
    call(exported("register_write_all_indirect"), {session, target_word, 0x600000c, word(&element)});
    EXPECT_EQ(only().bytes, bytes_of(&element));
    call(exported("register_reset_all_indirect"), {session, target_word, 0x600000c});
    expect_only("pipe_stful_table_reset", {session, target_word, 0x600000c});
    call(exported("register_range_reset_indirect"), {session, target_word, 0x600000c, 1, 2});
    expect_only("pipe_stful_table_reset_range", {session, target_word, 0x600000c, 1, 2});
    call(exported("register_hw_sync_indirect"), {session, target_word, 0x600000c, callback, cookie});
    expect_only("pipe_stful_database_sync", {session, target_word, 0x600000c, callback, cookie});
    call(exported("register_hw_sync_direct"), {session, target_word, 0x1000040, callback, cookie});
    expect_only("pipe_stful_direct_database_sync", {session, target_word, 0x1000040, callback, cookie});

    pd_register_value value;
    for (std::uint8_t i = 0; i < 16; ++i)
        value.bytes[i] = static_cast<std::uint8_t>(0xF0 + i);
    ASSERT_EQ(p4_pd_velmar_switch_register_write_direct(session, 0x101, 0x1000040, 3, value), 0u);
    const Seen set = only();
    EXPECT_EQ(set.function, "pipe_mgr_mat_ent_set_resource");
    EXPECT_EQ(set.args, (Words{session, 1, 0x1000040, 3, 1, 0})) << "eight bits of the device";
    pipe_resource_slot slot;
    std::memcpy(&slot, set.bytes.data(), sizeof slot);
    EXPECT_EQ(slot.resource_hdl, 0x1000040u);
    EXPECT_EQ(slot.index, 0u);
    EXPECT_EQ(slot.tag, 1u);
    EXPECT_EQ(std::memcmp(slot.spec, value.bytes, 16), 0);
    for (unsigned i = 16; i < sizeof slot.spec; ++i)
        EXPECT_EQ(slot.spec[i], 0);
}

std::uint64_t as_word(pipe_sync_cb function) {
    return reinterpret_cast<std::uintptr_t>(function);
}

} // namespace

extern "C" {

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
pipe_status pipe_mgr_stat_ent_query(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, const std::uint32_t* indices,
                                    std::uint32_t count, pipe_counter_record* const* records) {
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(records[0]->count_a | records[0]->count_b, 0u) << "zeroed before";
    if (fill_counter) fill_counter(*records[0]);
    return note("pipe_mgr_stat_ent_query", {s, as_word(d), h, indices[0]});
}
pipe_status pipe_mgr_stat_ent_set(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::uint32_t index,
                                  const pipe_counter_record* record) {
    return note("pipe_mgr_stat_ent_set", {s, as_word(d), h, index}, bytes_of(record));
}
pipe_status pipe_mgr_stat_ent_database_sync(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::uint32_t index) {
    return note("pipe_mgr_stat_ent_database_sync", {s, as_word(d), h, index});
}
pipe_status pipe_mgr_stat_database_sync(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, pipe_sync_cb f, void* c) {
    return note("pipe_mgr_stat_database_sync", {s, as_word(d), h, as_word(f), word(c)});
}
pipe_status pipe_mgr_mat_ent_set_resource(pipe_sess_hdl s, pipe_dev_id d, pipe_tbl_hdl t, pipe_ent_hdl e,
                                          const pipe_resource_slot* slots, std::uint32_t count, std::uint32_t flags) {
    return note("pipe_mgr_mat_ent_set_resource", {s, d, t, e, count, flags}, bytes_of(slots));
}
pipe_status pipe_mgr_meter_read_entry(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl t, pipe_ent_hdl e,
                                      pipe_meter_spec* spec) {
    if (fill_meter && refused.empty()) fill_meter(*spec);
    return note("pipe_mgr_meter_read_entry", {s, as_word(d), t, e});
}
pipe_status pipe_mgr_meter_ent_set(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::uint32_t index,
                                   const pipe_meter_spec* spec, std::uint32_t flags) {
    return note("pipe_mgr_meter_ent_set", {s, as_word(d), h, index, flags}, bytes_of(spec));
}
pipe_status pipe_mgr_meter_read_entry_idx(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::uint32_t index,
                                          pipe_meter_spec* spec, std::uint32_t flags) {
    if (fill_meter) fill_meter(*spec);
    return note("pipe_mgr_meter_read_entry_idx", {s, as_word(d), h, index, flags});
}
pipe_status pipe_mgr_meter_set_bytecount_adjust(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::uint32_t value) {
    return note("pipe_mgr_meter_set_bytecount_adjust", {s, as_word(d), h, value});
}
pipe_status pipe_mgr_meter_get_bytecount_adjust(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::uint32_t* value) {
    *value = 20;
    return note("pipe_mgr_meter_get_bytecount_adjust", {s, as_word(d), h});
}
pipe_status pipe_mgr_wred_ent_set(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::uint32_t index,
                                  const pipe_wred_spec* spec, std::uint32_t flags) {
    return note("pipe_mgr_wred_ent_set", {s, as_word(d), h, index, flags}, bytes_of(spec));
}
pipe_status pipe_mgr_wred_read_entry_idx(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::uint32_t index,
                                         pipe_wred_spec* spec, std::uint32_t flags) {
    EXPECT_EQ(spec->words[0] | spec->words[1], 0u);
    *spec = {{0xAB, 0xCD}};
    return note("pipe_mgr_wred_read_entry_idx", {s, as_word(d), h, index, flags});
}
pipe_status pipe_stful_query_get_sizes(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::int32_t* size) {
    *size = values_per_cell;
    return note("pipe_stful_query_get_sizes", {s, as_word(d), h});
}
pipe_status pipe_stful_ent_query(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::uint32_t index,
                                 pipe_stful_query* query, std::uint32_t from_hw) {
    if (fill_cells) fill_cells(query, 1);
    return note("pipe_stful_ent_query", {s, as_word(d), h, index, from_hw});
}
pipe_status pipe_stful_ent_query_range(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::uint32_t first,
                                       std::int32_t count, pipe_stful_query* queries, std::uint32_t* cells,
                                       std::uint32_t from_hw) {
    *cells = fill_cells ? fill_cells(queries, count) : 0;
    return note("pipe_stful_ent_query_range", {s, as_word(d), h, first, static_cast<std::uint32_t>(count), from_hw});
}
pipe_status pipe_stful_direct_ent_query(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl t, pipe_ent_hdl e,
                                        pipe_stful_query*, std::uint32_t from_hw) {
    return note("pipe_stful_direct_ent_query", {s, as_word(d), t, e, from_hw});
}
pipe_status pipe_stful_ent_set(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::uint32_t index,
                               const pipe_stful_element* element, std::uint32_t flags) {
    return note("pipe_stful_ent_set", {s, as_word(d), h, index, flags}, bytes_of(element));
}
pipe_status pipe_stful_table_reset(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, const pipe_stful_element* element) {
    return note("pipe_stful_table_reset", {s, as_word(d), h}, bytes_of(element));
}
pipe_status pipe_stful_table_reset_range(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, std::uint32_t first,
                                         std::uint32_t count, const pipe_stful_element* element) {
    return note("pipe_stful_table_reset_range", {s, as_word(d), h, first, count}, bytes_of(element));
}
pipe_status pipe_stful_database_sync(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl h, pipe_sync_cb f, void* c) {
    return note("pipe_stful_database_sync", {s, as_word(d), h, as_word(f), word(c)});
}
pipe_status pipe_stful_direct_database_sync(pipe_sess_hdl s, pipe_dev_tgt d, pipe_tbl_hdl t, pipe_sync_cb f, void* c) {
    return note("pipe_stful_direct_database_sync", {s, as_word(d), t, as_word(f), word(c)});
}
}
