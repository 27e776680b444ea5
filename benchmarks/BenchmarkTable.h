#pragma once

// Runs the benchmarks of a program and keeps the best time of each, for ratios within one run: on a machine
// with other work the fastest of several interleaved repetitions is what the code costs.

#include <benchmark/benchmark.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

class BenchmarkTable : public benchmark::ConsoleReporter {
public:
    BenchmarkTable() : ConsoleReporter(OO_Tabular) {}

    /// Google Benchmark's main(): its options may be given, nine interleaved repetitions are the default.
    /// False when the options are wrong.
    [[nodiscard]] bool run(int argc, char* argv[]);

    void ReportRuns(const std::vector<Run>& reports) override;

    /// Nanoseconds an iteration of the benchmark took at best; 0 when it was not run.
    [[nodiscard]] double bestNs(const std::string& name) const;

    /// The line of two benchmarks: the time of `faster`, and how many times it goes into that of `slower`.
    /// With a budget the line also says whether it is kept; nothing is printed when one of them was not run.
    void printAtLeast(const std::string& what, const std::string& slower, const std::string& faster,
                      std::optional<double> budget = {}) const;
    /// The same for how many times `against` goes into `measured`, an upper limit.
    void printAtMost(const std::string& what, const std::string& measured, const std::string& against,
                     std::optional<double> budget = {}) const;
    /// The same for the share of a block's duration, in percent.
    void printShare(const std::string& what, const std::string& name, double blockUs,
                    std::optional<double> budget = {}) const;

private:
    std::map<std::string, double> best;
};
