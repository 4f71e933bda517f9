// The cost of services that handle more than one record. The prediction of a hash is compared with the same stream
// built bit by bit, the read of a range of register cells with a loop written by hand for that register. The driver
// does next to nothing.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstring>

#include "medians.h"
#include "vl_driver/hash.h"
#include "vl_driver/registers.h"
#include "vl_driver/system.h"
#include "vl_pd/velmar_switch.h"

namespace bench {
namespace {

constexpr pd_session session = 1;
constexpr pd_device device = 0;
constexpr pd_dev_tgt target = {.dev_id = device, .pipe_id = PD_ALL_PIPES, .reserved = 0};

// Two IPv4 addresses, protocol and two ports.
constexpr std::array<uint32_t, 5> widths = {32, 32, 8, 16, 16};

// The same after three bits, so that no field begins at a byte boundary.
constexpr std::array<uint32_t, 6> odd_widths = {32, 32, 8, 16, 16, 3};

template <size_t count>
std::array<pd_hash_attribute, count> some_fields() {
    std::array<pd_hash_attribute, count> fields{};
    for (size_t i = 0; i < count; ++i)
        fields[i].attr_value = 0x5A5A5A5Au >> (7 * i % 32) & 7;
    return fields;
}

using Predict = pd_status (*)(uint32_t count, pd_hash_attribute* fields, const uint32_t* field_widths, uint8_t* hash,
                              uint32_t hash_len);

pd_status predict_by_library(uint32_t count, pd_hash_attribute* fields, const uint32_t* field_widths, uint8_t* hash,
                             uint32_t hash_len) {
    return p4_pd_velmar_switch_hash_calc_hashOuterIpAndL4Hdr_calculate_hash_value(session, device, count, fields,
                                                                                  field_widths, hash, hash_len);
}

template <class Pack>
pd_status predict_by_hand(uint32_t count, const uint32_t* field_widths, uint8_t* hash, uint32_t hash_len, Pack pack) {
    uint32_t bits = 0;
    for (uint32_t i = 0; i < count; ++i)
        bits += field_widths[i];
    const uint32_t length = (bits + 7) / 8;
    auto* const stream = static_cast<uint8_t*>(bf_sys_calloc(length, 1));
    pack(stream, length * 8 - bits);
    const pd_status status = pipe_mgr_hash_calc_calculate_hash_value(
        session, device, p4_pd_velmar_switch_hash_calc_hashOuterIpAndL4Hdr, stream, length, hash, hash_len);
    bf_sys_free(stream);
    return status;
}

pd_status predict_bit_by_bit(uint32_t count, pd_hash_attribute* fields, const uint32_t* field_widths, uint8_t* hash,
                             uint32_t hash_len) {
    return predict_by_hand(count, field_widths, hash, hash_len, [=](uint8_t* stream, uint32_t at) {
        for (uint32_t i = 0; i < count; ++i)
            for (uint32_t bit = field_widths[i]; bit-- > 0; ++at)
                if ((fields[i].attr_value >> bit & 1) != 0) stream[at / 8] |= static_cast<uint8_t>(0x80 >> at % 8);
    });
}

// The part that all predictions have: memory of that size, and the driver's call.
pd_status predict_nothing(uint32_t count, pd_hash_attribute*, const uint32_t* field_widths, uint8_t* hash,
                          uint32_t hash_len) {
    return predict_by_hand(count, field_widths, hash, hash_len, [](uint8_t*, uint32_t) {});
}

template <size_t count>
void measure_prediction(benchmark::State& state, Predict predict, const std::array<uint32_t, count>& field_widths) {
    auto fields = some_fields<count>();
    uint8_t hash[4];
    for ([[maybe_unused]] auto _ : state) {
        ++fields[0].attr_value;
        benchmark::DoNotOptimize(predict(count, fields.data(), field_widths.data(), hash, sizeof hash));
    }
}

template <size_t count>
bool same_streams(const std::array<uint32_t, count>& field_widths) {
    auto fields = some_fields<count>();
    std::array<uint8_t, 16> by_library{};
    std::array<uint8_t, 16> bit_by_bit{};
    predict_by_library(count, fields.data(), field_widths.data(), by_library.data(), by_library.size());
    predict_bit_by_bit(count, fields.data(), field_widths.data(), bit_by_bit.data(), bit_by_bit.size());
    return by_library == bit_by_bit;
}

constexpr int32_t cells = 1024;
constexpr uint32_t values_per_cell = 4;

struct RangeOutputs {
    uint32_t cells_read = 0;
    uint32_t value_count = 0;
    std::array<uint32_t, cells * values_per_cell> values{};

    bool operator==(const RangeOutputs&) const = default;
};

using ReadRange = pd_status (*)(uint32_t flags, RangeOutputs& out);

pd_status read_range_by_library(uint32_t flags, RangeOutputs& out) {
    return p4_pd_velmar_switch_register_range_read_seqNumber(session, target, 0, cells, flags, &out.cells_read,
                                                             out.values.data(), &out.value_count);
}

// Written for one register of 32-bit words.
pd_status read_range_by_hand(uint32_t flags, RangeOutputs& out) {
    constexpr uint32_t seq_number = p4_pd_velmar_switch_register_seqNumber;
    constexpr pipe_dev_tgt all_pipes = {device, PIPE_ALL_PIPES, 0};
    int32_t size = 0;
    pd_status status = pipe_stful_query_get_sizes(session, all_pipes, seq_number, &size);
    if (status != PD_STATUS_OK) return status;
    const auto per_cell = static_cast<uint32_t>(size);
    auto* const queries = static_cast<pipe_stful_query*>(bf_sys_calloc(cells, sizeof(pipe_stful_query)));
    auto* const elements =
        static_cast<pipe_stful_element*>(bf_sys_calloc(cells * per_cell, sizeof(pipe_stful_element)));
    for (uint32_t i = 0; i < cells; ++i)
        queries[i] = {.count = per_cell, .reserved = 0, .elements = elements + i * per_cell};
    status = pipe_stful_ent_query_range(session, all_pipes, seq_number, 0, cells, queries, &out.cells_read, flags & 1);
    if (status == PD_STATUS_OK) {
        uint32_t* to = out.values.data();
        for (uint32_t i = 0; i < out.cells_read; ++i)
            for (uint32_t j = 0; j < queries[i].count; ++j)
                std::memcpy(to++, queries[i].elements[j].bytes, sizeof *to);
        out.value_count = static_cast<uint32_t>(to - out.values.data());
    }
    bf_sys_free(elements);
    bf_sys_free(queries);
    return status;
}

void measure_range_read(benchmark::State& state, ReadRange read_range) {
    static RangeOutputs out;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(read_range(0, out));
}

bool same_cells() {
    RangeOutputs by_library;
    RangeOutputs by_hand;
    return read_range_by_library(1, by_library) == read_range_by_hand(1, by_hand) && by_library == by_hand;
}

} // namespace
} // namespace bench

int main(int argc, char** argv) {
    using namespace bench;
    if (!initialize(argc, argv)) return 1;
    if (!same_streams(widths) || !same_streams(odd_widths) || !same_cells()) {
        std::fprintf(stderr, "The library and the code that it is compared with differ in their effect\n");
        return 1;
    }
    const auto prediction = [](const char* name, Predict predict, const auto& field_widths) {
        benchmark::RegisterBenchmark(name, [predict, &field_widths](benchmark::State& state) {
            measure_prediction(state, predict, field_widths);
        });
    };
    prediction("five_tuple/library", predict_by_library, widths);
    prediction("five_tuple/bit_by_bit", predict_bit_by_bit, widths);
    prediction("five_tuple/driver_alone", predict_nothing, widths);
    prediction("five_tuple_shifted/library", predict_by_library, odd_widths);
    prediction("five_tuple_shifted/bit_by_bit", predict_bit_by_bit, odd_widths);
    benchmark::RegisterBenchmark("range_read/library", measure_range_read, &read_range_by_library);
    benchmark::RegisterBenchmark("range_read/by_hand", measure_range_read, &read_range_by_hand);

    const Medians medians = run();
    print_header("bit by bit", "library");
    print_ratio(medians, "five-tuple", "five_tuple/bit_by_bit", "five_tuple/library");
    print_ratio(medians, "the same shifted by three bits", "five_tuple_shifted/bit_by_bit",
                "five_tuple_shifted/library");
    if (const double* const alone = find(medians, "five_tuple/driver_alone"))
        std::printf("%-34s %12.1f, in each of these\n", "memory and the driver's call", *alone);
    print_header("library", "by hand");
    print_ratio(medians, "1,024 cells of four values", "range_read/library", "range_read/by_hand");
    const double *const by_library = find(medians, "range_read/library"), *const by_hand =
                                                                              find(medians, "range_read/by_hand");
    if (by_library != nullptr && by_hand != nullptr)
        std::printf("%-34s %12.2f %12.2f\n", "per cell", *by_library / cells, *by_hand / cells);
    benchmark::Shutdown();
}
