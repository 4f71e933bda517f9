// Counters and what they count. For a direct counter, each entry is shown with its description; for an indirect
// counter, the cells that have counted.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "pd_show/work.h"

namespace pd_show {
namespace {

constexpr uint32_t most_cells = 65536;

using ReadDirect = pd_status(pd_session, pd_device, pd_entry, uint32_t, pd_counter_value*) noexcept;
using ReadIndirect = pd_status(pd_session, pd_dev_tgt, uint32_t, uint32_t, pd_counter_value*) noexcept;

void put_count(const Work& work, const pd_counter_value& value, const std::string& what) {
    char counts[64];
    std::snprintf(counts, sizeof counts, "  %15llu  %15llu  ", static_cast<unsigned long long>(value.count_a),
                  static_cast<unsigned long long>(value.count_b));
    work.out.put(counts + what + "\n");
}

void put_heading(const Work& work, const std::string& counter, const std::string& of_what, const char* counted) {
    char columns[64];
    std::snprintf(columns, sizeof columns, "  %15s  %15s  ", "count_a", "count_b");
    work.out.put(counter + ", " + of_what + "\n" + columns + counted + "\n");
}

// The library's description of the entry, after two blanks; empty if the library has none. Nothing if the entry can't
// be read, for which the library gives the same answer.
std::optional<std::string> description(const Work& work, const Table& table, pd_entry handle) {
    const auto describe =
        work.library.function<decltype(p4_pd_velmar_switch_stringify_counter_matchspec)>("stringify_counter_matchspec");
    char text[most_bytes];
    const int length = describe(work.session, work.target.dev_id, table.handle, handle, text);
    Entry entry;
    if (length <= 0 && !read_entry(work, table, handle, true, entry)) return {};
    std::string words = "  " + std::string(text, static_cast<size_t>(std::max(length, 0)));
    words.erase(words.find_last_not_of(' ') + 1);
    return words;
}

void show_direct(const Work& work, const Table& table, const std::string& counter) {
    put_heading(work, counter, "of the entries of " + table.name, "entry");
    const auto read = work.library.function<ReadDirect>("counter_read_" + counter);
    visit_all_entries(work, table, count_entries(work, table), [&](pd_entry handle, bool is_default) {
        const std::string entry = entry_name(handle, is_default);
        pd_counter_value value{};
        const pd_status status = read(work.session, work.target.dev_id, handle, work.arguments.from_hw, &value);
        if (status != PD_STATUS_OK) return complain(work, counter + ": reading the counts of " + entry, status);
        if (const std::optional<std::string> words = description(work, table, handle))
            put_count(work, value, entry + *words);
        else
            work.complaints.add(table.name + ": " + entry + " can't be read");
    });
}

// Only the driver knows the number of cells: it refuses the index after the last one. A driver that has very many
// cells, or refuses no index, is asked for the first cells only.
void show_indirect(const Work& work, const std::string& counter, const std::string& of_what) {
    put_heading(work, counter, of_what, "index");
    const auto read = work.library.function<ReadIndirect>("counter_read_" + counter);
    uint32_t index = 0;
    uint32_t idle = 0;
    for (; index < most_cells; ++index) {
        pd_counter_value value{};
        const pd_status status = read(work.session, work.target, index, work.arguments.from_hw, &value);
        if (status != PD_STATUS_OK) {
            if (index == 0) complain(work, counter + ": reading cell 0", status);
            break;
        }
        if (value.count_a == 0 && value.count_b == 0)
            ++idle;
        else
            put_count(work, value, std::to_string(index));
    }
    work.out.put("  " + std::to_string(idle) + (index == most_cells ? " of the first " : " of ") +
                 std::to_string(index) + " cells are at 0\n");
}

} // namespace

bool show_counters(const Work& work) {
    const std::optional<std::string>& name = work.arguments.name;
    bool found = !name;
    std::vector<std::string> names;
    const auto asked_for = [&](const std::string& each) {
        names.push_back(each);
        const bool asked = !name || *name == each;
        found |= asked;
        return asked;
    };
    for (const Table& table : work.pipeline.tables) {
        const bool whole_table = !table.counters.empty() && asked_for(table.name);
        for (const catalog::Resource* counter : table.counters) {
            if (!asked_for(counter->name) && !whole_table) continue;
            if (counter->addressing == catalog::Addressing::direct)
                show_direct(work, table, counter->name);
            else
                show_indirect(work, counter->name, "of what entries of " + table.name + " name");
        }
    }
    for (const catalog::Resource* counter : work.pipeline.counters_without_table)
        if (asked_for(counter->name)) show_indirect(work, counter->name, "of no table");
    if (!found)
        throw Problem(exit_bad_usage,
                      "there is no counter, and no table with a counter, " + *name + near_text(*name, names));
    return true;
}

} // namespace pd_show
