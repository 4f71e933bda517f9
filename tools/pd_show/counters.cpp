// Counters with what they count: of a direct one the entries' descriptions, of others the cells that have counted.
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "pd_show/commands.h"
#include "pd_show/near_names.h"
#include "pd_show/walk.h"

namespace pd_show {
namespace {

constexpr uint32_t most_cells = 65536;

using ReadDirect = pd_status(pd_session, pd_device, pd_entry, uint32_t, pd_counter_value*) noexcept;
using ReadIndirect = pd_status(pd_session, pd_dev_tgt, uint32_t, uint32_t, pd_counter_value*) noexcept;

std::string count_line(const pd_counter_value& value, const std::string& what) {
    char counts[64];
    std::snprintf(counts, sizeof counts, "  %15llu  %15llu  ", static_cast<unsigned long long>(value.count_a),
                  static_cast<unsigned long long>(value.count_b));
    return counts + what + "\n";
}

std::string heading(const std::string& counter, const std::string& of_what, const char* counted) {
    char columns[64];
    std::snprintf(columns, sizeof columns, "  %15s  %15s  ", "count_a", "count_b");
    return counter + ", " + of_what + "\n" + columns + counted + "\n";
}

class Counts {
public:
    explicit Counts(const Work& work)
        : work_(work),
          walk_(work.place, work.complaints),
          values_(work.place),
          describe_(work.place.library.function<decltype(p4_pd_velmar_switch_stringify_counter_matchspec)>(
              "stringify_counter_matchspec")) {}

    void direct(const Table& table, const Counter& counter) {
        work_.out.put(heading(counter.name, "of the entries of " + table.name, "entry"));
        const auto read = work_.place.library.function<ReadDirect>("counter_read_" + counter.name);
        const auto show = [&](pd_entry handle, const std::string& entry) {
            pd_counter_value value{};
            const pd_status status =
                read(work_.place.session, work_.place.target.dev_id, handle, work_.place.from_hw, &value);
            std::string description;
            if (status != PD_STATUS_OK)
                work_.complaints.add(counter.name + ": reading the counts of " + entry + " was refused with status " +
                                     work_.place.library.status_text(status));
            else if (describe(table, handle, description))
                work_.out.put(count_line(value, description.empty() ? entry : entry + "  " + description));
            else
                work_.complaints.add(table.name + ": " + entry + " can't be read");
        };
        walk_.entries(table, walk_.count(table),
                      [&](pd_entry handle) { show(handle, std::string("#").append(std::to_string(handle))); });
        const pd_entry default_entry = walk_.default_entry(table);
        if (default_entry != PD_HDL_END) show(default_entry, "default");
    }

    // How many cells there are is the driver's to say: the first index that it refuses is behind the last one. Drivers
    // that refuse none, or have very many, are asked for the first ones alone.
    void indirect(const std::string& of_what, const Counter& counter) const {
        work_.out.put(heading(counter.name, of_what, "index"));
        const auto read = work_.place.library.function<ReadIndirect>("counter_read_" + counter.name);
        uint32_t index = 0;
        uint32_t idle = 0;
        for (; index < most_cells; ++index) {
            pd_counter_value value{};
            const pd_status status = read(work_.place.session, work_.place.target, index, work_.place.from_hw, &value);
            if (status != PD_STATUS_OK && index == 0)
                work_.complaints.add(counter.name + ": reading cell 0 was refused with status " +
                                     work_.place.library.status_text(status));
            if (status != PD_STATUS_OK) break;
            if (value.count_a == 0 && value.count_b == 0)
                ++idle;
            else
                work_.out.put(count_line(value, std::to_string(index)));
        }
        work_.out.put("  " + std::to_string(idle) + (index == most_cells ? " of the first " : " of ") +
                      std::to_string(index) + " cells are at 0\n");
    }

private:
    // Nothing to say and not readable are the same to the library; the entry itself tells which it is.
    bool describe(const Table& table, pd_entry handle, std::string& description) {
        char text[longest_text];
        const Place& place = work_.place;
        const int length = describe_(place.session, place.target.dev_id, table.handle, handle, text);
        if (length > 0) description.assign(text, static_cast<size_t>(length));
        description.erase(description.find_last_not_of(' ') + 1);
        return length > 0 || !values_.read(table, handle, true).empty();
    }

    const Work& work_;
    Walk walk_;
    Values values_;
    decltype(&p4_pd_velmar_switch_stringify_counter_matchspec) describe_;
};

} // namespace

void show_counters(const Work& work) {
    Counts counts(work);
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
        for (const Counter& counter : table.counters) {
            if (!asked_for(counter.name) && !whole_table) continue;
            if (counter.direct)
                counts.direct(table, counter);
            else
                counts.indirect("of what entries of " + table.name + " name", counter);
        }
    }
    for (const Counter& counter : work.pipeline.counters_without_table)
        if (asked_for(counter.name)) counts.indirect("of no table", counter);
    if (!found)
        throw Problem(exit_bad_usage,
                      "there is no counter, and no table with a counter, " + *name + near_text(*name, names));
}

} // namespace pd_show
