// Compares entries with the hardware, by the library's comparison. The software's side is the placement data that the
// driver hands out.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "pd_show/work.h"

namespace pd_show {
namespace {

// For tables with a counter. These functions of different tables differ only in the type of record.
using Decode = pd_status(const void*, void*, void*, uint8_t*) noexcept;
using DecodeWithPriority = pd_status(const void*, void*, uint32_t*, void*, uint8_t*) noexcept;
using Describe = int(const void*, char*) noexcept;

// The numbers of one table, or of several together.
struct Tally {
    const Table* table = nullptr;
    std::optional<uint32_t> entries; // nothing if the driver refuses to count them
    pd_entry default_entry = PD_HDL_END;
    size_t compared = 0;
    size_t different = 0;
};

// Describes what the entry counts, from the placement data: the functions that take a handle read the hardware, which
// may have lost the entry.
std::string description(const Work& work, const Table& table, const void* placement) {
    const auto is_direct = [](const catalog::Resource* counter) {
        return counter->addressing == catalog::Addressing::direct;
    };
    if (std::ranges::none_of(table.counters, is_direct)) return {};
    Entry entry;
    const std::string decode = table.name + "_get_entry_from_plcmt_data";
    const pd_status status =
        table.has_priority
            ? work.library.function<DecodeWithPriority>(decode)(placement, entry.key, &entry.priority, entry.params,
                                                                &entry.is_default)
            : work.library.function<Decode>(decode)(placement, entry.key, entry.params, &entry.is_default);
    if (status != PD_STATUS_OK) return {};
    char text[most_bytes];
    const int length =
        work.library.function<Describe>(table.name + "_match_spec_stringify_for_counter")(entry.key, text);
    std::string words(text, static_cast<size_t>(std::max(length, 0)));
    words.erase(words.find_last_not_of(' ') + 1);
    return words;
}

// Compares the entries of the tally's table. Returns the differences as text.
std::string compare_table(const Work& work, Tally& tally, route_agent::Progress& progress) {
    const Table& table = *tally.table;
    using GetPlacement = decltype(p4_pd_velmar_switch_ipv4Host_get_plcmt_data); // of the same type for all tables
    const auto get_placement = work.library.function<GetPlacement>(table.name + "_get_plcmt_data");
    const auto equal = work.library.function<decltype(p4_pd_velmar_switch_plcmt_data_eq_to_hw)>("plcmt_data_eq_to_hw");
    std::string differences;
    const auto compare = [&](pd_entry handle, bool is_default) {
        const std::string name = table.name + " " + entry_name(handle, is_default);
        const void* placement = nullptr;
        const pd_status status = get_placement(work.session, work.target, 0, handle, &placement);
        progress.step();
        if (status != PD_STATUS_OK) return complain(work, name + ": asking for its placement data", status);
        ++tally.compared;
        char message[most_bytes] = "";
        if (equal(work.session, work.target.dev_id, table.handle, handle, placement, nullptr, message) != 0) return;
        ++tally.different;
        differences += "  " + name + ": " + message + "\n";
        for (const std::string& text : {value_string(work, table, handle, false),
                                        is_default ? std::string() : description(work, table, placement)})
            if (!text.empty()) differences += "      " + text + "\n";
    };
    visit_entries(work, table, tally.entries, compare);
    if (tally.default_entry != PD_HDL_END) compare(tally.default_entry, true);
    return differences;
}

void put_row(const Work& work, const Tally& tally, const std::string& what) {
    char counts[64];
    std::snprintf(counts, sizeof counts, "  %11zu  %11zu  ", tally.compared, tally.different);
    work.out.put(counts + what + "\n");
}

// Tables without entries share a row.
void put_summary(const Work& work, const std::vector<Tally>& tallies) {
    work.out.put("     compared    different\n");
    Tally others;
    Tally all;
    size_t other_tables = 0;
    for (const Tally& tally : tallies) {
        all.compared += tally.compared;
        all.different += tally.different;
        if (tally.entries == 0 && tally.different == 0 && tallies.size() > 1) {
            others.compared += tally.compared;
            ++other_tables;
        } else {
            put_row(work, tally, tally.table->name);
        }
    }
    if (other_tables != 0) put_row(work, others, std::to_string(other_tables) + " others, with default entries only");
    if (tallies.size() > 1) put_row(work, all, "in all");
}

} // namespace

bool verify(const Work& work) {
    if (work.arguments.corrupt) corrupt_hardware(work);
    std::vector<Tally> tallies;
    size_t steps = 0;
    for (const Table* table : chosen_tables(work)) {
        tallies.push_back(
            {.table = table, .entries = count_entries(work, *table), .default_entry = default_entry(work, *table)});
        steps += tallies.back().entries.value_or(0) + (tallies.back().default_entry != PD_HDL_END ? 1 : 0);
    }
    std::string differences;
    {
        TerminalProgress progress;
        progress.bar.begin_phase("comparing", steps);
        for (Tally& tally : tallies)
            differences += compare_table(work, tally, progress.bar);
    }
    put_summary(work, tallies);
    work.out.put(!differences.empty()    ? "\nDifferences, software first:\n" + differences
                 : work.complaints.any() ? "\nNothing that could be read differs.\n"
                                         : "\nNothing differs.\n");
    return differences.empty();
}

} // namespace pd_show
