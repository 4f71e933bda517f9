// Loads what the arguments ask for, and shows it on the terminal.
#include "pd_show/in_process.h"

#include <chrono>
#include <iostream>
#include <optional>
#include <string_view>

#include "pd_show/corrupt.h"
#include "pd_show/loading.h"
#include "pd_show/messages.h"
#include "pd_show/modules.h"
#include "pd_show/output.h"
#include "pd_show/times.h"
#include "views/work.h"

namespace pd_show {

using namespace pd_views;

namespace {

// Shows the steps of a command as a progress bar.
class Bar : public Watcher {
public:
    void begin(const char* phase, size_t steps) override {
        progress_.emplace();
        progress_->bar.begin_phase(phase, steps);
    }
    void end() override {
        progress_.reset();
    }
    void step() override {
        if (progress_) progress_->bar.step();
    }

private:
    std::optional<TerminalProgress> progress_;
};

// Told at the end, when no progress bar is in the way.
struct ToldComplaints : Complaints {
    ToldComplaints() = default;
    ~ToldComplaints() {
        for (const std::string& line : lines())
            std::cerr << "pd-show: " << line << '\n';
    }
    ToldComplaints(const ToldComplaints&) = delete;
    ToldComplaints& operator=(const ToldComplaints&) = delete;
};

} // namespace

Command* command_of(const Arguments& arguments) {
    switch (arguments.command) {
    case CommandName::tables:
        return show_tables;
    case CommandName::table:
        return show_table;
    case CommandName::entries:
        return show_entries;
    case CommandName::profiles:
        return arguments.query.name ? show_profile : show_profiles;
    case CommandName::counters:
        return show_counters;
    case CommandName::verify:
        return verify;
    case CommandName::match:
        return show_match;
    case CommandName::route:
        return show_route;
    case CommandName::serve:
        break;
    }
    throw Problem(Fault::bad_value, "serve needs --agent");
}

int run_in_process(const Arguments& arguments) {
    const Loaded loaded = load(arguments.driver, arguments.time);
    const Library& library = loaded.library;
    const Pipeline pipeline = describe_pipeline(library);
    const pd_session session = start(library, arguments);
    const pd_dev_tgt target = {
        .dev_id = static_cast<pd_device>(arguments.device.value_or(0)), .pipe_id = PD_ALL_PIPES, .reserved = 0};

    Query query = arguments.query;
    if (arguments.demo && arguments.routes) query.usual_vrf = routes_vrf_beside_demo;
    StandardOutput standard_output;
    Output out(StandardOutput::capacity, [&](std::string_view text) { standard_output.write(text); });
    ToldComplaints complaints;
    Bar bar;
    EntryTimes times;
    const Work work{.query = query,
                    .library = library,
                    .session = session,
                    .target = target,
                    .pipeline = pipeline,
                    .out = out,
                    .complaints = complaints,
                    .watcher = bar,
                    .times = &times};
    if (arguments.corrupt) {
        const std::string damage = corrupt_hardware(work, *arguments.corrupt, arguments.seed.value_or(1));
        if (query.format == Format::json) // which must stay JSON
            std::cerr << damage;
        else
            out.put(damage);
    }

    TimeSpent all;
    const auto start_time = std::chrono::steady_clock::now();
    bool equal = false;
    {
        const Stopwatch stopwatch(all);
        equal = command_of(arguments)(work);
        out.flush();
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start_time;
    bar.end();
    if (arguments.time)
        tell_times(times.shown, seconds.count(), all, driver_time(loaded), times.text, standard_output.spent);
    // What the embedded driver holds ends with the process.
    static_cast<void>(library.function<decltype(p4_pd_velmar_switch_cleanup)>("cleanup")());
    return equal && !complaints.any() ? exit_shown : exit_failed;
}

} // namespace pd_show
