// How all benchmarks run: short repetitions in random order, so that other work on the machine moves all of them alike,
// and of each the median.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace bench {

// Medians of CPU time by benchmark name, in nanoseconds.
class Medians {
public:
    // Null if it was filtered out.
    const double* find(const std::string& name) const {
        const auto found = values_.find(name);
        return found == values_.end() ? nullptr : &found->second;
    }

    void keep(const std::string& name, double nanoseconds) {
        values_[name] = nanoseconds;
    }

private:
    std::map<std::string, double> values_;
};

// Hands everything on to the normal report, and keeps the medians; a single repetition is its own.
class MedianKeeper : public benchmark::BenchmarkReporter {
public:
    MedianKeeper(benchmark::BenchmarkReporter& report, Medians& medians) : report_(report), medians_(medians) {}

    bool ReportContext(const Context& context) override {
        return report_.ReportContext(context);
    }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration ? run.repetitions <= 1 : run.aggregate_name == "median")
                medians_.keep(run.run_name.function_name, run.GetAdjustedCPUTime());
        report_.ReportRuns(runs);
    }
    void Finalize() override {
        report_.Finalize();
    }

private:
    benchmark::BenchmarkReporter& report_;
    Medians& medians_;
};

// Sets the defaults; later arguments win, so the user's stand behind them. False for arguments that are not known.
inline bool initialize(int argc, char** argv) {
    // The library keeps pointers to the arguments.
    static std::vector<std::string> arguments;
    arguments = {argv[0], "--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=15",
                 "--benchmark_min_time=0.04", "--benchmark_display_aggregates_only=true"};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size());
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    return !benchmark::ReportUnrecognizedArguments(count, pointers.data());
}

// Runs all that is registered, with the normal report.
inline Medians run() {
    const std::unique_ptr<benchmark::BenchmarkReporter> report(benchmark::CreateDefaultDisplayReporter());
    Medians medians;
    MedianKeeper keeper(*report, medians);
    benchmark::RunSpecifiedBenchmarks(&keeper);
    return medians;
}

} // namespace bench
