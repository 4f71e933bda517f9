// Dumps of entries, and where their time goes.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>

#include "pd_show/clock.h"
#include "pd_show/commands.h"
#include "pd_show/forms.h"
#include "pd_show/walk.h"

namespace pd_show {
namespace {

std::unique_ptr<Form> form_of(const Work& work) {
    switch (work.arguments.format.value_or(Format::text)) {
    case Format::json:
        return json_form(work.out);
    case Format::value:
        return value_form(work.out);
    case Format::text:
        break;
    }
    return text_form(work.out);
}

class Dump {
public:
    explicit Dump(const Work& work)
        : work_(work),
          walk_(work.place, work.complaints),
          values_(work.place),
          form_(form_of(work)) {}

    void table(const Table& table) {
        const std::optional<uint32_t> count = walk_.count(table);
        form_->begin_table(table, count.value_or(0));
        walk_.entries(table, count, [&](pd_entry handle) { entry(table, handle, false); });
        const pd_entry default_entry = walk_.default_entry(table);
        if (default_entry != PD_HDL_END) entry(table, default_entry, true);
    }

    void all(const std::vector<const Table*>& tables) {
        form_->begin();
        for (const Table* each : tables)
            table(*each);
        form_->end();
        work_.out.flush();
    }

    size_t shown() const {
        return shown_;
    }
    TimeSpent text_time() const {
        return text_time_;
    }

private:
    void entry(const Table& table, pd_entry handle, bool is_default) {
        const std::string_view value = values_.read(table, handle, work_.place.from_hw);
        if (value.empty()) return complain(table, handle, is_default, "can't be read");
        const auto show = [&] { return form_->entry(handle, is_default, value); };
        if (!(work_.arguments.time ? timed(text_time_, show) : show()))
            return complain(table, handle, is_default, "reads as what the table's schema doesn't announce");
        ++shown_;
    }

    void complain(const Table& table, pd_entry handle, bool is_default, const char* what) {
        work_.complaints.add(table.name + ": " +
                             (is_default ? "the default entry" : "entry #" + std::to_string(handle)) + " " + what);
    }

    const Work& work_;
    Walk walk_;
    Values values_;
    std::unique_ptr<Form> form_;
    size_t shown_ = 0;
    TimeSpent text_time_;
};

// What it costs to look at the clock twice, in ticks. The least of many times: others had an interruption in them.
uint64_t clock_cost() {
    uint64_t least = UINT64_MAX;
    for (unsigned i = 0; i < 10000; ++i) {
        TimeSpent spent;
        timed(spent, [] { return 0; });
        least = std::min(least, spent.ticks);
    }
    return least;
}

// Looking at the clock costs as much outside of what is timed as in it. That is an estimate, and what took less time
// than its error is told as none.
void tell_times(size_t shown, double seconds, TimeSpent all, TimeSpent driver, TimeSpent text, uint64_t output) {
    const auto cost = static_cast<double>(clock_cost());
    const auto without_clock = [&](TimeSpent spent, double times) {
        return std::max(0.0, static_cast<double>(spent.ticks) - times * cost * static_cast<double>(spent.calls));
    };
    const double in_driver = without_clock(driver, 1);
    const auto in_output = static_cast<double>(output);
    const double in_text = std::max(0.0, without_clock(text, 1) - in_output); // a full buffer is written amid it
    const double in_library =
        std::max(0.0, without_clock({driver.calls + text.calls, all.ticks}, 2) - in_driver - in_text - in_output);
    const double in_all = std::max(1.0, in_driver + in_library + in_text + in_output);
    const double seconds_per_tick = seconds / static_cast<double>(all.ticks);
    std::fprintf(stderr, "pd-show: %zu entries in %.3f s, of which\n", shown, in_all * seconds_per_tick);
    const auto line = [&](double spent, const char* what) {
        std::fprintf(stderr, "  %8.3f s %5.1f %%  %s\n", spent * seconds_per_tick, 100 * spent / in_all, what);
    };
    line(in_driver, "the driver's reads");
    line(in_library, "the library: decoding and value strings");
    line(in_text, "text");
    line(in_output, "output");
}

} // namespace

void show_entries(const Work& work) {
    std::vector<const Table*> tables;
    if (work.arguments.name)
        tables.push_back(&table_named(work.pipeline, *work.arguments.name));
    else
        for (const Table& table : work.pipeline.tables)
            tables.push_back(&table);

    Dump dump(work);
    if (!work.arguments.time) return dump.all(tables);
    TimeSpent all;
    const auto start = std::chrono::steady_clock::now();
    timed(all, [&] {
        dump.all(tables);
        return 0;
    });
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    tell_times(dump.shown(), seconds.count(), all, work.place.library.driver_time(), dump.text_time(),
               work.out.time_spent());
}

} // namespace pd_show
