#include "benchmarks/BenchmarkTable.h"

#include <algorithm>
#include <cstdio>

namespace {

void printVerdict(const char* relation, std::optional<double> budget, bool kept) {
    if (budget) {
        std::printf("   budget %s %g: %s", relation, *budget, kept ? "kept" : "MISSED");
    }
    std::printf("\n");
}

} // namespace

bool BenchmarkTable::run(int argc, char* argv[]) {
    std::string repetitions = "--benchmark_repetitions=9";
    std::string minimum = "--benchmark_min_time=0.02s";
    std::string interleaving = "--benchmark_enable_random_interleaving=true";
    std::string aggregates = "--benchmark_report_aggregates_only=false";
    // Before the caller's own, which win.
    std::vector<char*> words{argv[0], repetitions.data(), minimum.data(), interleaving.data(),
                             aggregates.data()};
    words.insert(words.end(), argv + 1, argv + argc);
    auto count = static_cast<int>(words.size());
    benchmark::Initialize(&count, words.data());
    if (benchmark::ReportUnrecognizedArguments(count, words.data())) {
        return false;
    }
    benchmark::RunSpecifiedBenchmarks(this);
    std::printf("\n");
    return true;
}

void BenchmarkTable::ReportRuns(const std::vector<Run>& reports) {
    for (const Run& report : reports) {
        if (report.run_type != Run::RT_Iteration || report.iterations == 0) {
            continue;
        }
        const double ns = report.real_accumulated_time * 1e9 / static_cast<double>(report.iterations);
        const auto [entry, added] = best.try_emplace(report.run_name.str(), ns);
        if (!added) {
            entry->second = std::min(entry->second, ns);
        }
    }
}

double BenchmarkTable::bestNs(const std::string& name) const {
    const auto found = best.find(name);
    return found != best.end() ? found->second : 0.0;
}

void BenchmarkTable::printAtLeast(const std::string& what, const std::string& slower,
                                  const std::string& faster, std::optional<double> budget) const {
    if (bestNs(slower) > 0 && bestNs(faster) > 0) {
        const double ratio = bestNs(slower) / bestNs(faster);
        std::printf("%-68s %9.0f ns %8.2f times faster", what.c_str(), bestNs(faster), ratio);
        printVerdict(">=", budget, ratio >= budget.value_or(0));
    }
}

void BenchmarkTable::printAtMost(const std::string& what, const std::string& measured,
                                 const std::string& against, std::optional<double> budget) const {
    if (bestNs(measured) > 0 && bestNs(against) > 0) {
        const double ratio = bestNs(measured) / bestNs(against);
        std::printf("%-68s %9.0f ns %8.2f times as long", what.c_str(), bestNs(measured), ratio);
        printVerdict("<=", budget, ratio <= budget.value_or(ratio));
    }
}

void BenchmarkTable::printShare(const std::string& what, const std::string& name, double blockUs,
                                std::optional<double> budget) const {
    if (bestNs(name) > 0) {
        const double percent = bestNs(name) / 10.0 / blockUs;
        std::printf("%-68s %9.0f ns %8.3f %% of %.0f us", what.c_str(), bestNs(name), percent, blockUs);
        printVerdict("<=", budget, percent <= budget.value_or(percent));
    }
}
