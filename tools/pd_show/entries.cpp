// Dumps of entries, and where their time goes.
#include <algorithm>
#include <chrono>
#include <cstdio>

#include "pd_show/clock.h"
#include "pd_show/commands.h"
#include "pd_show/forms.h"
#include "pd_show/walk.h"

namespace pd_show {
namespace {

constexpr std::size_t longest_value = 4096; // far more than the library has

std::unique_ptr<Form> form_of(const Work& work) {
    switch (work.arguments.format) {
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
          form_(form_of(work)),
          entry_value_(work.place.library.function<decltype(p4_pd_velmar_switch_entry_value)>("entry_value")) {}

    void table(const Table& table) {
        form_->begin_table(table, walk_.count(table));
        walk_.entries(table, [&](pd_entry handle) { entry(table, handle, false); });
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

    std::size_t shown() const {
        return shown_;
    }
    TimeSpent text_time() const {
        return text_time_;
    }

private:
    void entry(const Table& table, pd_entry handle, bool is_default) {
        char value[longest_value];
        const int length = entry_value_(work_.place.session, work_.place.target.dev_id, table.handle, handle,
                                        work_.place.from_hw, value);
        if (length <= 0) return complain(table, handle, is_default, "can't be read");
        const auto show = [&] { return form_->entry(handle, is_default, {value, static_cast<std::size_t>(length)}); };
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
    std::unique_ptr<Form> form_;
    decltype(&p4_pd_velmar_switch_entry_value) entry_value_;
    std::size_t shown_ = 0;
    TimeSpent text_time_;
};

// What it costs to look at the clock twice, in ticks. The least of many times: others had an interruption in them.
std::uint64_t clock_cost() {
    std::uint64_t least = UINT64_MAX;
    for (unsigned i = 0; i < 10000; ++i) {
        TimeSpent spent;
        timed(spent, [] { return 0; });
        least = std::min(least, spent.ticks);
    }
    return least;
}

// Looking at the clock costs as much outside of what is timed as in it.
void tell_times(std::size_t shown, double seconds, TimeSpent all, TimeSpent driver, TimeSpent text,
                std::uint64_t output) {
    const auto cost = static_cast<double>(clock_cost());
    const auto without_clock = [&](TimeSpent spent, double times) {
        return static_cast<double>(spent.ticks) - times * cost * static_cast<double>(spent.calls);
    };
    const double in_driver = without_clock(driver, 1);
    const auto in_output = static_cast<double>(output);
    const double in_text = without_clock(text, 1) - in_output; // a full buffer is written in the middle of it
    const double in_all = without_clock({driver.calls + text.calls, all.ticks}, 2);
    const double seconds_per_tick = seconds / static_cast<double>(all.ticks);
    std::fprintf(stderr, "pd-show: %zu entries in %.3f s, of which\n", shown, in_all * seconds_per_tick);
    const auto line = [&](double spent, const char* what) {
        std::fprintf(stderr, "  %8.3f s %5.1f %%  %s\n", spent * seconds_per_tick, 100 * spent / in_all, what);
    };
    line(in_driver, "the driver's reads");
    line(in_all - in_driver - in_text - in_output, "the library: decoding and value strings");
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
