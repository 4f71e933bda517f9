// Compares entries with the hardware by the library's own comparison, of what the driver says that it placed.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "pd_show/commands.h"
#include "pd_show/terminal_progress.h"
#include "pd_show/walk.h"

namespace pd_show {
namespace {

// The functions of tables with a counter differ in the record alone that they take the address of.
using Decode = pd_status(const void*, void*, void*, uint8_t*) noexcept;
using DecodeWithPriority = pd_status(const void*, void*, uint32_t*, void*, uint8_t*) noexcept;
using Describe = int(const void*, char*) noexcept;

struct Difference {
    std::string entry;
    std::string message;
    std::string value;
    std::string description;
};

struct Tally {
    const Table* table;
    std::optional<uint32_t> entries; // nothing if they can't be counted
    pd_entry default_entry;
    size_t compared = 0;
    size_t different = 0;
};

class Comparison {
public:
    explicit Comparison(const Work& work)
        : work_(work),
          walk_(work.place, work.complaints),
          values_(work.place),
          equal_(
              work.place.library.function<decltype(p4_pd_velmar_switch_plcmt_data_eq_to_hw)>("plcmt_data_eq_to_hw")) {}

    void add(const Table& table) {
        tallies_.push_back(
            {.table = &table, .entries = walk_.count(table), .default_entry = walk_.default_entry(table)});
    }

    void run() {
        size_t steps = 0;
        for (const Tally& tally : tallies_)
            steps += tally.entries.value_or(0) + (tally.default_entry != PD_HDL_END ? 1 : 0);
        TerminalProgress progress;
        progress.bar.begin_phase("comparing", steps);
        for (Tally& tally : tallies_)
            compare_table(tally, progress.bar);
    }

    // Whether nothing differs.
    bool report() const {
        work_.out.put("     compared    different\n");
        Tally others{};
        Tally all{};
        size_t other_tables = 0;
        for (const Tally& tally : tallies_) {
            const bool alone = tally.entries == 0 && tally.different == 0 && tallies_.size() > 1;
            if (alone) {
                others.compared += tally.compared;
                ++other_tables;
            } else {
                put_row(tally, tally.table->name);
            }
            all.compared += tally.compared;
            all.different += tally.different;
        }
        if (other_tables != 0)
            put_row(others, std::to_string(other_tables) + " others, without entries but default ones");
        if (tallies_.size() > 1) put_row(all, "in all");
        work_.out.put(!differences_.empty()    ? "\nDifferences, software first:\n"
                      : work_.complaints.any() ? "\nNothing of what could be read differs.\n"
                                               : "\nNothing differs.\n");
        for (const Difference& each : differences_) {
            work_.out.put("  " + each.entry + ": " + each.message + "\n");
            for (const std::string& text : {each.value, each.description})
                if (!text.empty()) work_.out.put("      " + text + "\n");
        }
        return differences_.empty();
    }

private:
    using Fetch = decltype(p4_pd_velmar_switch_ipv4Host_get_plcmt_data); // all tables' are of one type

    void compare_table(Tally& tally, route_agent::Progress& progress) {
        const Table& table = *tally.table;
        const auto fetch = work_.place.library.function<Fetch>(table.name + "_get_plcmt_data");
        const auto compare_next = [&](pd_entry handle, bool is_default) {
            compare(tally, *fetch, handle, is_default);
            progress.step();
        };
        walk_.entries(table, tally.entries, [&](pd_entry handle) { compare_next(handle, false); });
        if (tally.default_entry != PD_HDL_END) compare_next(tally.default_entry, true);
    }

    void compare(Tally& tally, Fetch& fetch, pd_entry handle, bool is_default) {
        const Table& table = *tally.table;
        const Place& place = work_.place;
        const auto entry = [&] { return table.name + (is_default ? " default" : " #" + std::to_string(handle)); };
        const void* placement = nullptr;
        const pd_status status = fetch(place.session, place.target, 0, handle, &placement);
        if (status != PD_STATUS_OK) {
            work_.complaints.add(entry() + ": asking for its placement data was refused with status " +
                                 place.library.status_text(status));
            return;
        }
        ++tally.compared;
        char message[longest_text] = "";
        if (equal_(place.session, place.target.dev_id, table.handle, handle, placement, nullptr, message) != 0) return;
        ++tally.different;
        differences_.push_back({.entry = entry(),
                                .message = message,
                                .value = std::string(values_.read(table, handle, false)),
                                .description = is_default ? std::string() : description(table, placement)});
    }

    // What the entry counts, by the software's record: the library's own reads are of the hardware, which may have lost
    // the entry.
    std::string description(const Table& table, const void* placement) const {
        if (std::ranges::none_of(table.counters, &Counter::direct)) return {};
        const Library& library = work_.place.library;
        alignas(std::max_align_t) char key[longest_text];
        alignas(std::max_align_t) char action[longest_text];
        uint32_t priority = 0;
        uint8_t is_default = 0;
        const std::string decode = table.name + "_get_entry_from_plcmt_data";
        const pd_status status =
            table.has_priority
                ? library.function<DecodeWithPriority>(decode)(placement, key, &priority, action, &is_default)
                : library.function<Decode>(decode)(placement, key, action, &is_default);
        if (status != PD_STATUS_OK) return {};
        char text[longest_text];
        const int length = library.function<Describe>(table.name + "_match_spec_stringify_for_counter")(key, text);
        std::string description(text, static_cast<size_t>(std::max(length, 0)));
        description.erase(description.find_last_not_of(' ') + 1);
        return description;
    }

    void put_row(const Tally& tally, const std::string& what) const {
        char counts[64];
        std::snprintf(counts, sizeof counts, "  %11zu  %11zu  ", tally.compared, tally.different);
        work_.out.put(counts + what + "\n");
    }

    const Work& work_;
    Walk walk_;
    Values values_;
    decltype(&p4_pd_velmar_switch_plcmt_data_eq_to_hw) equal_;
    std::vector<Tally> tallies_;
    std::vector<Difference> differences_;
};

} // namespace

bool verify(const Work& work) {
    Comparison comparison(work);
    if (work.arguments.name)
        comparison.add(table_named(work.pipeline, *work.arguments.name));
    else
        for (const Table& table : work.pipeline.tables)
            comparison.add(table);
    comparison.run();
    return comparison.report();
}

} // namespace pd_show
