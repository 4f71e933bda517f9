// What an entry operation costs in the library, beside code written by hand for that table. The driver does nothing, so
// that both figures are those of encoding and decoding with one call through the linkage table.
//
// With --against=LIBRARY another build of the library runs as a third arm in the same run.
//
// Other work on the machine moves both arms alike only if they take turns: hence short, randomly interleaved
// repetitions, of which the medians count.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "medians.h"
#include "same_effect.h"

namespace bench {
namespace {

template <class Table>
const std::array<Record<Table>, ring_size>& records() {
    static const auto ring = [] {
        Random random;
        std::array<Record<Table>, ring_size> made;
        for (Record<Table>& record : made)
            record = random_record<Table>(random);
        return made;
    }();
    return ring;
}

// Both arms run through the same loop: where a loop happens to be placed can cost more than what is to be found out.
template <class Table, class Add>
[[gnu::noinline]] void measure_add(benchmark::State& state, Add* add) {
    const auto& ring = records<Table>();
    size_t i = 0;
    pd_entry entry = 0;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(call_add<Table>(add, ring[i], &entry));
        i = (i + 1) % ring_size;
    }
}

template <class Table, class Find>
[[gnu::noinline]] void measure_find(benchmark::State& state, Find* find) {
    const auto& ring = records<Table>();
    size_t i = 0;
    pd_entry entry = 0;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(call_find<Table>(find, ring[i], &entry));
        i = (i + 1) % ring_size;
    }
}

template <class Table, class Read>
[[gnu::noinline]] void measure_read(benchmark::State& state, Read* read) {
    const auto& ring = answers<Table>();
    size_t i = 0;
    Outputs<Table> out;
    for ([[maybe_unused]] auto _ : state) {
        null_driver_answer = &ring[i].driver;
        benchmark::DoNotOptimize(call_read<Table>(read, out));
        i = (i + 1) % ring_size;
    }
}

// An operation without records: what any call costs.
void measure_forwarding(benchmark::State& state) {
    pd_entry entry = 0;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(p4_pd_velmar_switch_ipv4Host_table_delete(session, target.dev_id, ++entry));
}

constexpr std::array operations = {"add", "look_up", "read"};
constexpr const char* forwarding = "forwarding_call";

std::string benchmark_name(const char* operation, const char* table, const char* arm) {
    return std::string(operation) + "/" + table + "/" + arm;
}

template <class Table, class Arm>
void register_arm(const Arm& arm, const char* arm_name) {
    const auto name = [&](const char* operation) { return benchmark_name(operation, Table::name, arm_name); };
    using Add = std::remove_pointer_t<decltype(arm.add)>;
    using Find = std::remove_pointer_t<decltype(arm.find)>;
    using Read = std::remove_pointer_t<decltype(arm.read)>;
    benchmark::RegisterBenchmark(name("add").c_str(), measure_add<Table, Add>, arm.add);
    benchmark::RegisterBenchmark(name("look_up").c_str(), measure_find<Table, Find>, arm.find);
    benchmark::RegisterBenchmark(name("read").c_str(), measure_read<Table, Read>, arm.read);
}

void print_ratios(const Medians& medians, const char* other, const char* other_title) {
    std::printf("\n%-8s %-18s %12s %12s %7s\n", "", "", "library, ns", other_title, "ratio");
    for (const char* operation : operations)
        for_each_table([&]<class Table>() {
            const double* const library = medians.find(benchmark_name(operation, Table::name, "library"));
            const double* const written = medians.find(benchmark_name(operation, Table::name, other));
            if (library != nullptr && written != nullptr)
                std::printf("%-8s %-18s %12.1f %12.1f %7.2f\n", operation, Table::name, *library, *written,
                            *library / *written);
        });
}

// The value of the argument --against=LIBRARY, which is taken out of the list; null without it.
const char* take_other_library(int& argc, char** argv) {
    constexpr std::string_view option = "--against=";
    const char* library = nullptr;
    argc = static_cast<int>(std::remove_if(argv + 1, argv + argc,
                                           [&](const char* argument) {
                                               if (!std::string_view(argument).starts_with(option)) return false;
                                               library = argument + option.size();
                                               return true;
                                           }) -
                            argv);
    return library;
}

} // namespace
} // namespace bench

int main(int argc, char** argv) {
    if (!bench::all_have_same_effect()) return 1;

    const char* const other_path = bench::take_other_library(argc, argv);
    if (!bench::initialize(argc, argv)) return 1;
    void* other = nullptr;
    if (other_path != nullptr && (other = dlopen(other_path, RTLD_LAZY | RTLD_LOCAL)) == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }

    bench::for_each_table([other]<class Table>() {
        bench::register_arm<Table>(Table::library, "library");
        bench::register_arm<Table>(Table::written, "by_hand");
        if (other != nullptr) bench::register_arm<Table>(Table::functions_of(other), "other");
    });
    benchmark::RegisterBenchmark(bench::forwarding, bench::measure_forwarding);

    const bench::Medians medians = bench::run();
    bench::print_ratios(medians, "by_hand", "by hand, ns");
    if (other != nullptr) bench::print_ratios(medians, "other", "other, ns");
    if (const double* const call = medians.find(bench::forwarding))
        std::printf("%-27s %12.1f\n", bench::forwarding, *call);
    benchmark::Shutdown();
}
