// The cost of an entry operation in the library, compared with code written by hand for the same table. The driver does
// nothing, so both figures are for encoding and decoding, and for one call through the linkage table.
//
// With --against=LIBRARY another build of the library runs as a third arm in the same run.
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

template <class Table, class Add>
[[gnu::noinline]] void measure_add(benchmark::State& state, Add* add) {
    const auto& ring = records<Table>();
    pd_entry entry = 0;
    go_round(state, [&](size_t i) { return call_add<Table>(add, ring[i], &entry); });
}

template <class Table, class Find>
[[gnu::noinline]] void measure_find(benchmark::State& state, Find* find) {
    const auto& ring = records<Table>();
    pd_entry entry = 0;
    go_round(state, [&](size_t i) { return call_find<Table>(find, ring[i], &entry); });
}

template <class Table, class Read>
[[gnu::noinline]] void measure_read(benchmark::State& state, Read* read) {
    const auto& ring = answers<Table>();
    Outputs<Table> out;
    go_round(state, [&](size_t i) {
        null_driver_answer = &ring[i].driver;
        return call_read<Table>(read, out);
    });
}

// An operation without records: what any call costs.
void measure_forwarding(benchmark::State& state) {
    pd_entry entry = 0;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(p4_pd_velmar_switch_ipv4Host_table_delete(session, target.dev_id, ++entry));
}

constexpr const char* forwarding = "forwarding_call";

template <class Table>
std::string benchmark_name(const char* operation) {
    return std::string(operation) + "/" + Table::name + "/";
}

template <class Table, class Add, class Find, class Read>
void register_arm(const Functions<Add, Find, Read>& arm, const char* name) {
    benchmark::RegisterBenchmark((benchmark_name<Table>("add") + name).c_str(), measure_add<Table, Add>, arm.add);
    benchmark::RegisterBenchmark((benchmark_name<Table>("look_up") + name).c_str(), measure_find<Table, Find>,
                                 arm.find);
    benchmark::RegisterBenchmark((benchmark_name<Table>("read") + name).c_str(), measure_read<Table, Read>, arm.read);
}

void print_ratios(const Medians& medians, const char* other) {
    print_header("library", other);
    for (const char* operation : {"add", "look_up", "read"})
        for_each_table([&]<class Table>() {
            const std::string name = benchmark_name<Table>(operation);
            print_ratio(medians, name.substr(0, name.size() - 1), name + "library", name + other);
        });
}

// Takes the argument --against=LIBRARY out of the list and returns its value, or null if there is none.
const char* take_other_library(int& argc, char** argv) {
    constexpr std::string_view option = "--against=";
    char** const found = std::find_if(
        argv + 1, argv + argc, [&](const char* argument) { return std::string_view(argument).starts_with(option); });
    if (found == argv + argc) return nullptr;
    const char* const library = *found + option.size();
    std::copy(found + 1, argv + argc, found);
    --argc;
    return library;
}

} // namespace
} // namespace bench

int main(int argc, char** argv) {
    using namespace bench;
    if (!all_have_same_effect()) return 1;

    const char* const other_path = take_other_library(argc, argv);
    if (!initialize(argc, argv)) return 1;
    void* other = nullptr;
    if (other_path != nullptr && (other = dlopen(other_path, RTLD_LAZY | RTLD_LOCAL)) == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    for_each_table([other]<class Table>() {
        register_arm<Table>(Table::library, "library");
        register_arm<Table>(Table::written, "by_hand");
        if (other != nullptr) register_arm<Table>(Table::functions_of(other), "other");
    });
    benchmark::RegisterBenchmark(forwarding, measure_forwarding);

    const Medians medians = run();
    print_ratios(medians, "by_hand");
    if (other != nullptr) print_ratios(medians, "other");
    if (const double* const call = find(medians, forwarding)) std::printf("%-34s %12.1f\n", forwarding, *call);
    benchmark::Shutdown();
}
