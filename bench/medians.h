// How all benchmarks run: short repetitions in random order, so that other work on the machine affects all of them
// alike. The median of each counts.
#pragma once

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace bench {

// Records and answers vary from one iteration to the next, and are few enough to stay in the first cache.
inline constexpr size_t ring_size = 64;

// The loop of all cases that go round a ring: calls body(i) in every iteration. All arms of a case pass a body of the
// same type, so they run through the same loop. The place of a loop in memory can cost more than what is measured.
template <class Body>
void go_round(benchmark::State& state, Body body) {
    size_t i = 0;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(body(i));
        i = (i + 1) % ring_size;
    }
}

// Medians of CPU time by benchmark name, in nanoseconds.
using Medians = std::map<std::string, double>;

// Null if a filter left the benchmark out.
inline const double* find(const Medians& medians, const std::string& name) {
    const auto found = medians.find(name);
    return found == medians.end() ? nullptr : &found->second;
}

// A line with two medians and their ratio, unless a filter left one out.
inline void print_ratio(const Medians& medians, const std::string& title, const std::string& left_name,
                        const std::string& right_name, const char* note = "") {
    const double* const left = find(medians, left_name);
    const double* const right = find(medians, right_name);
    if (left != nullptr && right != nullptr)
        std::printf("%-34s %12.1f %12.1f %7.2f  %s\n", title.c_str(), *left, *right, *left / *right, note);
}

inline void print_header(const char* left, const char* right, const char* ratio = "ratio") {
    std::printf("\n%-34s %12s %12s %7s\n", "nanoseconds", left, right, ratio);
}

// Hands everything on to the normal report, and keeps the medians. A single repetition is its own median.
class MedianKeeper : public benchmark::BenchmarkReporter {
public:
    MedianKeeper(benchmark::BenchmarkReporter& report, Medians& medians) : report_(report), medians_(medians) {}

    bool ReportContext(const Context& context) override {
        return report_.ReportContext(context);
    }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration ? run.repetitions <= 1 : run.aggregate_name == "median")
                medians_[run.run_name.function_name] = run.GetAdjustedCPUTime();
        report_.ReportRuns(runs);
    }
    void Finalize() override {
        report_.Finalize();
    }

private:
    benchmark::BenchmarkReporter& report_;
    Medians& medians_;
};

// Sets defaults, which the arguments of the user override. False for unknown arguments.
inline bool initialize(int argc, char** argv) {
    static std::vector<char*> arguments = {argv[0]}; // the benchmark library keeps pointers to them
    static std::array defaults = {std::string("--benchmark_enable_random_interleaving=true"),
                                  std::string("--benchmark_repetitions=15"), std::string("--benchmark_min_time=0.04"),
                                  std::string("--benchmark_display_aggregates_only=true")};
    for (std::string& argument : defaults)
        arguments.push_back(argument.data());
    arguments.insert(arguments.end(), argv + 1, argv + argc); // later ones win
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    return !benchmark::ReportUnrecognizedArguments(count, arguments.data());
}

// Runs all registered benchmarks, with the normal report.
inline Medians run() {
    const std::unique_ptr<benchmark::BenchmarkReporter> report(benchmark::CreateDefaultDisplayReporter());
    Medians medians;
    MedianKeeper keeper(*report, medians);
    benchmark::RunSpecifiedBenchmarks(&keeper);
    return medians;
}

} // namespace bench
