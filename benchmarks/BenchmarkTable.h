#pragma once

// Runs the benchmarks of a program and keeps the best time of each, for ratios within one run: on a machine
// with other work the fastest of several interleaved repetitions is what the code costs.

#include <benchmark/benchmark.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// One line of the table: what a benchmark costs, and beside what. A budget that is missing is none; a
/// comparison whose benchmark was not run is a dash.
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

    /// Prints a row, nothing when its benchmark was not run.
    void print(const BenchmarkRow& row);

    /// Whether each budget of the rows so far was kept.
    [[nodiscard]] bool allKept() const { return missed == 0; }

private:
    void printVerdict(const char* what, const char* relation, std::optional<double> budget, bool kept);

    std::map<std::string, double> best;
    int missed = 0;
};
