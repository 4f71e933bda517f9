// Counters and what they count. For a direct counter, each entry is shown with its description; for an indirect
// counter, the cells that have counted.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "views/counters.h"

namespace pd_views {
namespace {

constexpr uint32_t most_cells = 65536;

using ReadDirect = pd_status(pd_session, pd_device, pd_entry, uint32_t, pd_counter_value*) noexcept;
using ReadIndirect = pd_status(pd_session, pd_dev_tgt, uint32_t, uint32_t, pd_counter_value*) noexcept;

// Shows the counts of entries or cells as the query asks.
class Shown : public CountSink {
public:
    explicit Shown(const Work& work) : work_(work) {
        if (work.query.format == Format::json) array_.emplace(work.out);
    }
    void end() {
        if (array_) array_->end(work_.complaints);
    }

    // `table` is null for a counter without one.
    void begin(const char* counter, const Table* table, const std::string& of_what, const char* counted) override {
        counter_ = counter;
        table_ = table;
        if (array_) return;
        char columns[64];
        std::snprintf(columns, sizeof columns, "  %15s  %15s  ", "count_a", "count_b");
        work_.out.put(counter_ + ", " + of_what + "\n" + columns + counted + "\n");
    }
    void entry(const pd_counter_value& value, pd_entry handle, bool is_default, std::string_view words) override {
        if (!array_) return put(value, entry_name(handle, is_default).append(words.empty() ? "" : "  ").append(words));
        begin_element();
        std::string& out = work_.out.text;
        out += ",\"handle\":" + std::to_string(handle) + ",\"default\":" + (is_default ? "true" : "false") + ",\"of\":";
        put_json_string(out, words);
        end_element(value);
    }
    void cell(const pd_counter_value& value, uint32_t index) override {
        if (!array_) return put(value, std::to_string(index));
        begin_element();
        work_.out.text += ",\"index\":" + std::to_string(index);
        end_element(value);
    }
    void idle_cells(uint32_t idle, uint32_t cells, bool there_may_be_more) override {
        if (!array_)
            return work_.out.put("  " + std::to_string(idle) + (there_may_be_more ? " of the first " : " of ") +
                                 std::to_string(cells) + " cells are at 0\n");
        begin_element();
        work_.out.text += ",\"cells\":" + std::to_string(cells) + ",\"idle\":" + std::to_string(idle) + "}";
    }

private:
    void put(const pd_counter_value& value, const std::string& what) {
        char counts[64];
        std::snprintf(counts, sizeof counts, "  %15llu  %15llu  ", static_cast<unsigned long long>(value.count_a),
                      static_cast<unsigned long long>(value.count_b));
        work_.out.put(counts + what + "\n");
    }
    void begin_element() {
        array_->begin();
        work_.out.text += R"({"counter":")" + counter_ + R"(","table":)" +
                          (table_ != nullptr ? "\"" + table_->name + "\"" : std::string("null"));
    }
    void end_element(const pd_counter_value& value) {
        work_.out.text +=
            ",\"count_a\":" + std::to_string(value.count_a) + ",\"count_b\":" + std::to_string(value.count_b) + "}";
    }

    const Work& work_;
    std::optional<JsonArray> array_;
    std::string counter_;
    const Table* table_ = nullptr;
};

// The library's description of the entry, written to `text`; empty if the library has none. Nothing if the entry can't
// be read, for which the library gives the same answer.
std::optional<std::string_view> description(const Work& work, const Table& table, pd_entry handle,
                                            char (&text)[most_bytes]) {
    static const auto describe =
        work.library.function<decltype(p4_pd_velmar_switch_stringify_counter_matchspec)>("stringify_counter_matchspec");
    const int length = describe(work.session, work.target.dev_id, table.handle, handle, text);
    Entry entry;
    if (length <= 0 && read_entry(work, table, handle, true, entry) != PD_STATUS_OK) return {};
    const std::string_view words(text, static_cast<size_t>(std::max(length, 0)));
    return words.substr(0, words.find_last_not_of(' ') + 1);
}

void show_direct(const Work& work, CountSink& counts, const Table& table, const char* counter) {
    counts.begin(counter, &table, "of the entries of " + table.name, "entry");
    const auto read = work.library.function<ReadDirect>(std::string("counter_read_") + counter);
    char text[most_bytes];
    visit_all_entries(work, table, count_entries(work, table), [&](pd_entry handle, bool is_default) {
        pd_counter_value value{};
        pd_status status = PD_STATUS_OK;
        std::optional<std::string_view> words;
        const Found found = read_listed(work, table, handle, [&] {
            status = read(work.session, work.target.dev_id, handle, work.query.from_hw, &value);
            if (status == PD_STATUS_OK) words = description(work, table, handle, text);
            return words.has_value();
        });
        if (found == Found::read)
            counts.entry(value, handle, is_default, *words);
        else if (found == Found::unreadable && status != PD_STATUS_OK)
            complain(work, std::string(counter) + ": reading the counts of " + entry_name(handle, is_default), status);
        else if (found == Found::unreadable)
            work.complaints.add(table.name + ": " + entry_name(handle, is_default) + " can't be read");
        return true;
    });
}

// Only the driver knows the number of cells: it refuses the index after the last one. A driver that has very many
// cells, or refuses no index, is asked for the first cells only.
void show_indirect(const Work& work, CountSink& counts, const char* counter, const Table* table,
                   const std::string& of_what) {
    counts.begin(counter, table, of_what, "index");
    const auto read = work.library.function<ReadIndirect>(std::string("counter_read_") + counter);
    uint32_t index = 0;
    uint32_t idle = 0;
    for (; index < most_cells; ++index) {
        work.watcher.step();
        pd_counter_value value{};
        const pd_status status = read(work.session, work.target, index, work.query.from_hw, &value);
        if (status != PD_STATUS_OK) {
            if (index == 0) complain(work, std::string(counter) + ": reading cell 0", status);
            break;
        }
        if (value.count_a == 0 && value.count_b == 0)
            ++idle;
        else
            counts.cell(value, index);
    }
    counts.idle_cells(idle, index, index == most_cells);
}

} // namespace

void read_counters(const Work& work, CountSink& counts) {
    const std::optional<std::string>& name = work.query.name;
    std::vector<std::string> names;
    for (const Table& table : work.pipeline.tables) {
        if (!table.counters.empty()) names.push_back(table.name);
        for (const catalog::Resource* counter : table.counters)
            names.emplace_back(counter->name);
    }
    for (const catalog::Resource* counter : work.pipeline.counters_without_table)
        names.emplace_back(counter->name);
    if (name && std::ranges::find(names, *name) == names.end())
        throw Problem(Fault::unknown_name,
                      "there is no counter, and no table with a counter, " + *name + near_text(*name, names));

    for (const Table& table : work.pipeline.tables)
        for (const catalog::Resource* counter : table.counters) {
            if (name && *name != table.name && *name != counter->name) continue;
            if (counter->addressing == catalog::Addressing::direct)
                show_direct(work, counts, table, counter->name);
            else
                show_indirect(work, counts, counter->name, &table, "of what entries of " + table.name + " name");
        }
    for (const catalog::Resource* counter : work.pipeline.counters_without_table)
        if (!name || *name == counter->name) show_indirect(work, counts, counter->name, nullptr, "of no table");
}

bool show_counters(const Work& work) {
    Shown shown(work);
    read_counters(work, shown);
    shown.end();
    return true;
}

} // namespace pd_views
