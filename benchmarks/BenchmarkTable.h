#pragma once

// Runs the benchmarks of a program and keeps the best time of each, for ratios within one run: on a machine
// with other work the fastest of several interleaved repetitions is what the code costs.

#include <benchmark/benchmark.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// One line of the table: what a benchmark costs, and beside what. A budget that is missing is none. A
/// benchmark that is named and was not run misses the budget that needs it, unless the caller chose some by a
/// filter.
struct BenchmarkRow {
    // The initialisers let a designated initialiser leave the member out without a compiler's warning.
    // NOLINTBEGIN(readability-redundant-member-init)
    std::string what;
    std::string measured;               ///< a benchmark's name, as the others
    std::string literal = {};           ///< the definition's loops: how many times slower they are
    std::optional<double> atLeast = {}; ///< budget for that
    std::string against = {};           ///< another yardstick: how many times as long this one takes
    std::string againstWhat = {};       ///< what that is, for the reader; alone: why there is no comparison
    std::optional<double> atMost = {};  ///< budget for that
    double blockUs = 0;                 ///< duration of the sound that is worked on
    std::optional<double> percentAtMost = {}; ///< budget for the share of it
    // NOLINTEND(readability-redundant-member-init)
};

class BenchmarkTable : public benchmark::ConsoleReporter {
public:
    BenchmarkTable() : ConsoleReporter(OO_Tabular) {}

    /// Google Benchmark's main(): its options may be given, nine interleaved repetitions are the default.
    /// False when the options are wrong.
    [[nodiscard]] bool run(int argc, char* argv[]);

    void ReportRuns(const std::vector<Run>& reports) override;

    /// Nanoseconds an iteration of the benchmark took at best; 0 when it was not run.
    [[nodiscard]] double bestNs(const std::string& name) const;

    /// Prints a row. Where its benchmark was not run: nothing under a filter, else that it is missed.
    void print(const BenchmarkRow& row);
    /// Prints the verdict on a budget, on the line of what it judges; nothing without a budget.
    void judge(const char* what, const char* relation, std::optional<double> budget, bool kept);
    /// Prints that a row or fit is missed, since a benchmark was not run; nothing under a filter.
    void missUnmeasured(const std::string& what, const std::string& benchmark);

    /// Whether each budget so far was kept.
    [[nodiscard]] bool allKept() const { return missed == 0; }

private:
    std::map<std::string, double> best;
    bool filtered = false; // the caller chose some benchmarks
    int missed = 0;
};
