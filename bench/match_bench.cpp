// What it costs to find the entry that a packet takes in the embedded driver, beside finding it by its whole key and
// beside a plain scan of a list. Before that, what an entry needs of memory. Each time is of one packet.
#include <benchmark/benchmark.h>

#include <malloc.h>

#include <random>
#include <string>
#include <vector>

#include "match_tables.h"

namespace bench {
namespace {

constexpr uint32_t sizes[] = {1'000, 100'000, 1'000'000};

size_t used_memory() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void print_memory() {
    std::printf("%-22s%12s%20s%26s\n", "bytes per entry", "entries", "before packets", "after the first packet");
    for (const MatchTable* table : match_tables)
        for (const uint32_t size : sizes) {
            const uint32_t session = start_matching();
            const size_t empty = used_memory();
            for (uint32_t i = 0; i < size; ++i)
                table->add(session, i);
            const size_t filled = used_memory();
            require(table->look_up(table->entry(7)) != 0, "a look-up");
            const size_t indexed = used_memory();
            std::printf("%-22s%12u%20.1f%26.1f\n", table->name, size, double(filled - empty) / size,
                        double(indexed - empty) / size);
        }
}

std::vector<MatchTable::Key> make_packets(const MatchTable& table, uint32_t size) {
    std::mt19937 random(1);
    std::vector<MatchTable::Key> packets(4096);
    for (MatchTable::Key& packet : packets)
        packet = table.entry(static_cast<uint32_t>(random() % size));
    return packets;
}

uint32_t fill(const MatchTable& table, uint32_t size) {
    const uint32_t session = start_matching();
    for (uint32_t i = 0; i < size; ++i)
        table.add(session, i);
    return session;
}

template <class Find>
void measure(benchmark::State& state, std::vector<MatchTable::Key> packets, Find find) {
    require(find(packets[0]) != 0, "finding an entry");
    size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(find(packets[i++ % packets.size()]));
}

void look_up(benchmark::State& state, const MatchTable& table, uint32_t size) {
    fill(table, size);
    measure(state, make_packets(table, size), [&](const MatchTable::Key& packet) { return table.look_up(packet); });
}

void find_by_key(benchmark::State& state, const MatchTable& table, uint32_t size) {
    const uint32_t session = fill(table, size);
    measure(state, make_packets(table, size), [&](MatchTable::Key& key) { return table.find(session, key); });
}

void scan(benchmark::State& state, const MatchTable& table, uint32_t size) {
    std::vector<MatchTable::Key> entries;
    for (uint32_t i = 0; i < size; ++i)
        entries.push_back(table.entry(i));
    measure(state, make_packets(table, size), [&](const MatchTable::Key& packet) {
        const MatchTable::Key* best = nullptr;
        for (const MatchTable::Key& entry : entries) {
            uint8_t differs = 0;
            for (size_t i = 0; i < table.key_len; ++i)
                differs |= static_cast<uint8_t>((entry.key[i] ^ packet.key[i]) & entry.mask[i]);
            if (differs == 0 && (best == nullptr || entry.priority < best->priority)) best = &entry;
        }
        return best != nullptr;
    });
}

struct Measured {
    const char* name;
    void (*run)(benchmark::State&, const MatchTable&, uint32_t size);
};
constexpr Measured measured[] = {{"look-up", look_up}, {"find by key", find_by_key}, {"plain scan", scan}};

} // namespace
} // namespace bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    bench::print_memory();
    for (const bench::MatchTable* table : bench::match_tables)
        for (const uint32_t size : bench::sizes)
            for (const bench::Measured& each : bench::measured) {
                const std::string name = std::string(table->name) + "/" + std::to_string(size) + "/" + each.name;
                benchmark::RegisterBenchmark(
                    name.c_str(), [table, size, &each](benchmark::State& state) { each.run(state, *table, size); });
            }
    benchmark::RunSpecifiedBenchmarks();
}
