// Compares entries with the hardware, by the library's comparison. The software's side is the placement data that the
// driver hands out.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "views/work.h"

namespace pd_views {
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

// Compares a table's entries with the hardware.
class Comparison {
public:
    Comparison(const Work& work, const Table& table)
        : work_(work),
          table_(table),
          get_placement_(work.library.function<GetPlacement>(table.name + "_get_plcmt_data")),
          equal_(work.library.function<decltype(p4_pd_velmar_switch_plcmt_data_eq_to_hw)>("plcmt_data_eq_to_hw")) {}

    const void* placement = nullptr;
    char message[most_bytes] = ""; // if they differ

    // Whether the two are equal. Nothing if the entry can't be compared or was deleted meanwhile.
    std::optional<bool> operator()(pd_entry handle, bool is_default) {
        std::optional<bool> same = look(handle, is_default);
        // Others may have changed the entry between the two reads.
        if (same == false && work_.live) same = look(handle, is_default);
        return same;
    }

private:
    using GetPlacement = decltype(p4_pd_velmar_switch_ipv4Host_get_plcmt_data); // of the same type for all tables

    std::optional<bool> look(pd_entry handle, bool is_default) {
        const pd_status status = get_placement_(work_.session, work_.target, 0, handle, &placement);
        if (work_.live && work_.library.surely_not_found(status)) return {};
        if (status != PD_STATUS_OK) {
            complain(work_, table_.name + " " + entry_name(handle, is_default) + ": asking for its placement data",
                     status);
            return {};
        }
        message[0] = 0;
        return equal_(work_.session, work_.target.dev_id, table_.handle, handle, placement, nullptr, message) != 0;
    }

    const Work& work_;
    const Table& table_;
    GetPlacement* get_placement_;
    decltype(&p4_pd_velmar_switch_plcmt_data_eq_to_hw) equal_;
};

// Compares the entries of the tally's table, and calls `differs` for each that differs.
void compare_table(const Work& work, Tally& tally, Comparison& compare, const Visit& differs) {
    const auto visit = [&](pd_entry handle, bool is_default) {
        const std::optional<bool> same = compare(handle, is_default);
        if (same) ++tally.compared;
        if (same != false) return true;
        ++tally.different;
        return differs(handle, is_default);
    };
    visit_entries(work, *tally.table, tally.entries, visit);
    if (tally.default_entry != PD_HDL_END) {
        work.watcher.step();
        visit(tally.default_entry, true);
    }
}

// An entry that differs, in text: looked at once more, because text begins with the summary.
std::string difference_text(const Work& work, const Table& table, Comparison& compare, pd_entry handle,
                            bool is_default) {
    const std::string name = table.name + " " + entry_name(handle, is_default);
    const std::optional<bool> same = compare(handle, is_default);
    if (same != false) return "  " + name + ": " + (same ? "no longer differs" : "is no longer there") + "\n";
    std::string text = "  " + name + ": " + compare.message + "\n";
    for (const std::string& line : {value_string(work, table, handle, false),
                                    is_default ? std::string() : description(work, table, compare.placement)})
        if (!line.empty()) text += "      " + line + "\n";
    return text;
}

void put_difference_json(const Work& work, const Table& table, const Comparison& compare, pd_entry handle,
                         bool is_default) {
    std::string& out = work.out.text;
    out += R"({"handle":)" + std::to_string(handle) + R"(,"default":)" + (is_default ? "true" : "false");
    const auto add = [&](const char* name, std::string_view text) {
        out.append(",\"").append(name).append("\":");
        put_json_string(out, text);
    };
    add("message", compare.message);
    add("software", value_string(work, table, handle, false));
    if (const std::string words = is_default ? std::string() : description(work, table, compare.placement);
        !words.empty())
        add("of", words);
    out += "}";
}

bool verify_in_json(const Work& work, std::vector<Tally>& tallies) {
    JsonArray array(work.out);
    bool equal = true;
    for (Tally& tally : tallies) {
        array.begin();
        work.out.text += R"({"table":")" + tally.table->name + R"(","differences":[)";
        Comparison compare(work, *tally.table);
        compare_table(work, tally, compare, [&](pd_entry handle, bool is_default) {
            if (tally.different > 1) work.out.text += ",";
            put_difference_json(work, *tally.table, compare, handle, is_default);
            work.out.put("");
            return true;
        });
        work.out.text += "],\"compared\":" + std::to_string(tally.compared) +
                         ",\"different\":" + std::to_string(tally.different) + "}";
        equal &= tally.different == 0;
        work.out.flush(); // for those who watch
    }
    array.end(work.complaints);
    return equal;
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

bool verify_in_text(const Work& work, std::vector<Tally>& tallies) {
    struct Different {
        pd_entry handle;
        bool is_default;
    };
    std::vector<std::vector<Different>> different(tallies.size());
    for (size_t i = 0; i < tallies.size(); ++i) {
        Comparison compare(work, *tallies[i].table);
        compare_table(work, tallies[i], compare, [&](pd_entry handle, bool is_default) {
            different[i].push_back({handle, is_default});
            return true;
        });
    }
    work.watcher.end();
    put_summary(work, tallies);
    const bool equal = std::ranges::all_of(different, [](const auto& entries) { return entries.empty(); });
    work.out.put(!equal                  ? "\nDifferences, software first:\n"
                 : work.complaints.any() ? "\nNothing that could be read differs.\n"
                                         : "\nNothing differs.\n");
    for (size_t i = 0; i < tallies.size(); ++i) {
        Comparison compare(work, *tallies[i].table);
        for (const auto& [handle, is_default] : different[i])
            work.out.put(difference_text(work, *tallies[i].table, compare, handle, is_default));
    }
    return equal;
}

} // namespace

bool verify(const Work& work) {
    std::vector<Tally> tallies;
    size_t steps = 0;
    for (const Table* table : chosen_tables(work)) {
        tallies.push_back(
            {.table = table, .entries = count_entries(work, *table), .default_entry = default_entry(work, *table)});
        steps += tallies.back().entries.value_or(0) + (tallies.back().default_entry != PD_HDL_END ? 1 : 0);
    }
    work.watcher.begin("comparing", steps);
    return work.query.format == Format::json ? verify_in_json(work, tallies) : verify_in_text(work, tallies);
}

} // namespace pd_views
