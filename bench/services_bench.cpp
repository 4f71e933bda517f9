// What the services cost that build or unpack more than a record: predicting a hash, beside the same stream built bit by
// bit, and reading a range of register cells, beside the driver's reading alone. The driver is as good as none.
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
constexpr std::array<std::uint32_t, 5> widths = {32, 32, 8, 16, 16};

// The same behind three bits, so that no field stands on a byte boundary.
constexpr std::array<std::uint32_t, 6> odd_widths = {32, 32, 8, 16, 16, 3};

template <std::size_t count>
std::array<pd_hash_attribute, count> some_fields() {
    std::array<pd_hash_attribute, count> fields{};
    for (std::size_t i = 0; i < count; ++i)
        fields[i].attr_value = 0x5A5A5A5Au >> (7 * i % 32) & 7;
    return fields;
}

void predict_by_library(std::uint32_t count, pd_hash_attribute* fields, const std::uint32_t* field_widths) {
    std::uint8_t hash[4];
    benchmark::DoNotOptimize(p4_pd_velmar_switch_hash_calc_hashOuterIpAndL4Hdr_calculate_hash_value(
        session, device, count, fields, field_widths, hash, sizeof hash));
}

void predict_bit_by_bit(std::uint32_t count, pd_hash_attribute* fields, const std::uint32_t* field_widths) {
    std::uint32_t bits = 0;
    for (std::uint32_t i = 0; i < count; ++i)
        bits += field_widths[i];
    const std::uint32_t length = (bits + 7) / 8;
    auto* const stream = static_cast<std::uint8_t*>(bf_sys_calloc(length, 1));
    std::uint32_t at = length * 8 - bits;
    for (std::uint32_t i = 0; i < count; ++i)
        for (std::uint32_t bit = field_widths[i]; bit-- > 0; ++at)
            if ((fields[i].attr_value >> bit & 1) != 0) stream[at / 8] |= static_cast<std::uint8_t>(0x80 >> at % 8);
    std::uint8_t hash[4];
    benchmark::DoNotOptimize(
        pipe_mgr_hash_calc_calculate_hash_value(session, device, 0x8000009, stream, length, hash, sizeof hash));
    bf_sys_free(stream);
}

template <std::size_t count>
void measure_prediction(benchmark::State& state, decltype(&predict_by_library) predict,
                        const std::array<std::uint32_t, count>& field_widths) {
    auto fields = some_fields<count>();
    for ([[maybe_unused]] auto _ : state) {
        ++fields[0].attr_value;
        predict(count, fields.data(), field_widths.data());
    }
}

constexpr std::int32_t cells = 1024;
constexpr std::uint32_t values_per_cell = 4;

void measure_range_read(benchmark::State& state) {
    static std::array<std::uint32_t, cells * values_per_cell> values;
    std::uint32_t read = 0;
    std::uint32_t count = 0;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(p4_pd_velmar_switch_register_range_read_seqNumber(session, target, 0, cells, 0, &read,
                                                                                   values.data(), &count));
}

// What stays if the values are neither laid out nor unpacked: memory for them and the driver's read.
void measure_driver_read(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        auto* const queries = static_cast<pipe_stful_query*>(bf_sys_calloc(cells, sizeof(pipe_stful_query)));
        auto* const elements =
            static_cast<pipe_stful_element*>(bf_sys_calloc(cells * values_per_cell, sizeof(pipe_stful_element)));
        std::uint32_t read = 0;
        benchmark::DoNotOptimize(
            pipe_stful_ent_query_range(session, {device, PIPE_ALL_PIPES, 0}, 0x6000008, 0, cells, queries, &read, 0));
        bf_sys_free(queries);
        bf_sys_free(elements);
    }
}

void print_ratio(const Medians& medians, const char* what, const char* slow, const char* fast) {
    const double* const left = medians.find(slow);
    const double* const right = medians.find(fast);
    if (left != nullptr && right != nullptr)
        std::printf("%-34s %10.1f ns %10.1f ns   %5.2f times\n", what, *left, *right, *left / *right);
}

} // namespace
} // namespace bench

int main(int argc, char** argv) {
    if (!bench::initialize(argc, argv)) return 1;
    const auto prediction = [](const char* name, auto predict, const auto& widths) {
        benchmark::RegisterBenchmark(
            name, [predict, &widths](benchmark::State& state) { bench::measure_prediction(state, predict, widths); });
    };
    prediction("five_tuple/library", &bench::predict_by_library, bench::widths);
    prediction("five_tuple/bit_by_bit", &bench::predict_bit_by_bit, bench::widths);
    prediction("five_tuple_shifted/library", &bench::predict_by_library, bench::odd_widths);
    prediction("five_tuple_shifted/bit_by_bit", &bench::predict_bit_by_bit, bench::odd_widths);
    benchmark::RegisterBenchmark("range_read/library", bench::measure_range_read);
    benchmark::RegisterBenchmark("range_read/driver_alone", bench::measure_driver_read);

    const bench::Medians medians = bench::run();
    std::printf("\n");
    bench::print_ratio(medians, "five-tuple, bit by bit / library", "five_tuple/bit_by_bit", "five_tuple/library");
    bench::print_ratio(medians, "the same shifted by three bits", "five_tuple_shifted/bit_by_bit",
                       "five_tuple_shifted/library");
    bench::print_ratio(medians, "1,024 cells, library / driver", "range_read/library", "range_read/driver_alone");
    if (const double* const range = medians.find("range_read/library"))
        std::printf("%-34s %10.2f ns\n", "per cell of four values", *range / bench::cells);
    benchmark::Shutdown();
}
