// What a console costs, side by side in one run: a dump of a million entries in process and over the socket, the adds of
// an agent alone and while somebody dumps, and an answer of /metrics beside the driver's reads that it makes.
//
//   pd_console_bench [ENTRIES]
//
// The dumps go to /dev/null. Rates swing on a busy machine: run it again, and compare within a run only.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include "console/http.h"
#include "views/stopwatch.h"
#include "views/work.h"
#include "vl_driver/driver.h"
#include "vl_model/control.h"
#include "vl_pd/console.h"
#include "vl_pd/velmar_switch.h"
#include "vl_pd/velmar_switch_pipeline.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr pd_dev_tgt target = {0, PD_ALL_PIPES, 0};
constexpr unsigned rounds = 7;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

pd_entry add_host(pd_session session, uint32_t vrf, uint32_t address) {
    p4_pd_velmar_switch_ipv4Host_match_spec_t key = {};
    key.l3Info_vrfId = static_cast<uint8_t>(vrf);
    key.ingIpv4_dip = address;
    p4_pd_velmar_switch_setNextHop_action_spec_t hop = {};
    hop.action_nextHop = address;
    pd_entry entry = 0;
    if (p4_pd_velmar_switch_ipv4Host_table_add_with_setNextHop(session, target, &key, &hop, &entry) != PD_STATUS_OK)
        throw std::runtime_error("an add was refused");
    return entry;
}

// What the driver's reads took since it was set back.
pd_views::TimeSpent driver_reads;

uint64_t clock_cost() {
    uint64_t least = UINT64_MAX;
    for (unsigned i = 0; i < 10000; ++i) {
        pd_views::TimeSpent spent;
        { const pd_views::Stopwatch stopwatch(spent); }
        least = std::min(least, spent.ticks);
    }
    return least;
}

double measure_tick() {
    const Clock::time_point start = Clock::now();
    const uint64_t ticks = pd_views::read_ticks();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return seconds_since(start) / static_cast<double>(pd_views::read_ticks() - ticks);
}

class Agent {
public:
    explicit Agent(uint32_t entries) {
        p4_pd_velmar_switch_init();
        if (vl_model_device_add(0, &velmar_switch_pipeline) != VL_MODEL_OK ||
            vl_model_session_open(&session) != VL_MODEL_OK)
            throw std::runtime_error("no device");
        for (uint32_t i = 0; i < entries; ++i)
            add_host(session, 1, i);
        path = "/tmp/pd_console_bench." + std::to_string(getpid());
        const vl_pd_console_options options = {
            .socket_path = path.c_str(), .session = session, .device = 0, .mode = 0, .max_clients = 0, .timeout_ms = 0};
        if (const int error = vl_pd_console_start(&options, &console_))
            throw std::runtime_error("no console: error " + std::to_string(error));
        null_ = open("/dev/null", O_WRONLY | O_CLOEXEC);
    }
    ~Agent() {
        vl_pd_console_stop(console_);
        close(null_);
    }
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    void in_process(pd_views::Command& command, const char* name) const {
        const pd_views::Library library(RTLD_DEFAULT, RTLD_DEFAULT);
        static const pd_views::Pipeline pipeline = describe_pipeline(library);
        pd_views::Query query;
        query.name = name;
        pd_views::Output out(1 << 18, [this](std::string_view text) { discard(text); });
        pd_views::Complaints complaints;
        pd_views::Watcher watcher;
        command({.query = query,
                 .library = library,
                 .session = session,
                 .target = target,
                 .pipeline = pipeline,
                 .out = out,
                 .complaints = complaints,
                 .watcher = watcher});
        out.flush();
    }
    void by_socket(const std::string& request) const {
        const console::Answer answer =
            console::get(path, request, "", [this](const console::Answer&, std::string_view text) { discard(text); });
        if (answer.status != 200) throw std::runtime_error("status " + std::to_string(answer.status));
    }

    pd_session session = 0;
    std::string path;

private:
    void discard(std::string_view text) const {
        if (write(null_, text.data(), text.size()) < 0) throw std::runtime_error("/dev/null is full");
    }

    vl_pd_console* console_ = nullptr;
    int null_ = -1;
};

// Entries added per second, and the slowest add of ten thousand.
struct Rate {
    double per_second;
    double slowest_us;
};

Rate measure_adds(const Agent& agent, uint32_t vrf) {
    constexpr uint32_t adds = 200000;
    constexpr uint32_t window = 10000;
    std::vector<pd_entry> entries;
    entries.reserve(adds);
    std::vector<double> slowest(adds / window);
    const Clock::time_point start = Clock::now();
    for (uint32_t i = 0; i < adds; ++i) {
        const Clock::time_point before = Clock::now();
        entries.push_back(add_host(agent.session, vrf, i));
        slowest[i / window] = std::max(slowest[i / window], seconds_since(before));
    }
    const double seconds = seconds_since(start);
    for (const pd_entry entry : entries)
        p4_pd_velmar_switch_ipv4Host_table_delete(agent.session, 0, entry);
    return {adds / seconds, median(slowest) * 1e6};
}

void compare_dumps(const Agent& agent, uint32_t entries) {
    std::vector<double> inside, outside;
    for (unsigned i = 0; i < rounds; ++i) {
        Clock::time_point start = Clock::now();
        agent.in_process(pd_views::show_entries, "ipv4Host");
        inside.push_back(seconds_since(start));
        start = Clock::now();
        agent.by_socket("/v1/tables/ipv4Host/entries?format=text");
        outside.push_back(seconds_since(start));
    }
    std::printf("dump of %u entries     in process %.3f s   over the socket %.3f s   ratio %.2f\n", entries,
                median(inside), median(outside), median(outside) / median(inside));
}

void compare_adds(const Agent& agent) {
    std::vector<double> alone, beside, slow_alone, slow_beside;
    for (unsigned i = 0; i < rounds; ++i) {
        const Rate quiet = measure_adds(agent, 2);
        std::atomic<bool> stops = false;
        std::thread reader([&] {
            while (!stops)
                agent.by_socket("/v1/tables/ipv4Host/entries?format=text");
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(50)); // the dump is under way
        const Rate busy = measure_adds(agent, 3);
        stops = true;
        reader.join();
        alone.push_back(quiet.per_second);
        beside.push_back(busy.per_second);
        slow_alone.push_back(quiet.slowest_us);
        slow_beside.push_back(busy.slowest_us);
    }
    std::printf("adds per second           alone %.0f   beside a dump %.0f   ratio %.2f\n", median(alone),
                median(beside), median(beside) / median(alone));
    std::printf("slowest add of 10,000     alone %.0f us   beside a dump %.0f us\n", median(slow_alone),
                median(slow_beside));
}

constexpr uint32_t counted_entries = 10000;

// What all threads but this one, which is the monitor, have computed.
double agent_seconds() {
    const auto of = [](clockid_t clock) {
        timespec time{};
        clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    return of(CLOCK_PROCESS_CPUTIME_ID) - of(CLOCK_THREAD_CPUTIME_ID);
}

void add_counted_entries(const Agent& agent) {
    for (uint32_t i = 0; i < counted_entries; ++i) {
        p4_pd_velmar_switch_haloCounters_match_spec_t key = {};
        key.haloResultRow1_bestResult = i;
        pd_entry entry = 0;
        if (p4_pd_velmar_switch_haloCounters_table_add_with_onMiss(agent.session, target, &key, &entry) != PD_STATUS_OK)
            throw std::runtime_error("an add was refused");
    }
}

void compare_metrics(const Agent& agent) {
    add_counted_entries(agent);
    std::vector<double> reads, answers;
    const double seconds_per_tick = measure_tick();
    for (unsigned i = 0; i < rounds; ++i) {
        driver_reads = {};
        const double start = agent_seconds();
        agent.by_socket("/metrics");
        const double seconds = agent_seconds() - start;
        // Looking at the clock costs as many ticks outside of a measurement as in it.
        const double of_clock = static_cast<double>(driver_reads.calls * clock_cost()) * seconds_per_tick;
        answers.push_back(seconds - 2 * of_clock);
        reads.push_back(static_cast<double>(driver_reads.ticks) * seconds_per_tick - of_clock);
    }
    std::printf("/metrics, %u counted entries   the driver's reads %.3f s   answer %.3f s   ratio %.2f\n",
                counted_entries, median(reads), median(answers), median(answers) / median(reads));
}

template <auto function, class... Args>
pipe_status timed(const char* name, Args... args) {
    static const auto driven = reinterpret_cast<decltype(function)>(dlsym(RTLD_NEXT, name));
    const pd_views::Stopwatch stopwatch(driver_reads);
    return driven(args...);
}

} // namespace

// The library calls these in place of the driver's, because the program comes first in the search for a name.
pipe_status pipe_mgr_get_entry(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt, pipe_ent_hdl ent_hdl,
                               pipe_match_record* match, pipe_action_record* action, pipe_act_hdl* act_hdl,
                               uint8_t read_from_hw, uint32_t always_1, uint32_t always_0) {
    return timed<&pipe_mgr_get_entry>(__func__, sess_hdl, tbl_hdl, dev_tgt, ent_hdl, match, action, act_hdl,
                                      read_from_hw, always_1, always_0);
}

pipe_status pipe_mgr_mat_ent_direct_stat_query(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                               pipe_ent_hdl ent_hdl, pipe_counter_record* record) {
    return timed<&pipe_mgr_mat_ent_direct_stat_query>(__func__, sess_hdl, dev_id, tbl_hdl, ent_hdl, record);
}

pipe_status pipe_mgr_stat_ent_query(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stat_hdl,
                                    const uint32_t* indices, uint32_t n, pipe_counter_record* const* records) {
    return timed<&pipe_mgr_stat_ent_query>(__func__, sess_hdl, dev_tgt, stat_hdl, indices, n, records);
}

pipe_status pipe_mgr_get_next_entry_handles(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t hdl, uint32_t n, uint32_t* hdls) {
    return timed<&pipe_mgr_get_next_entry_handles>(__func__, sess_hdl, tbl_hdl, dev_tgt, hdl, n, hdls);
}

int main(int count, char** arguments) {
    try {
        const uint32_t entries = count > 1 ? static_cast<uint32_t>(std::strtoul(arguments[1], nullptr, 10)) : 1000000;
        const Agent agent(entries);
        compare_dumps(agent, entries);
        compare_adds(agent);
        compare_metrics(agent);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pd_console_bench: %s\n", error.what());
        return 1;
    }
}
