#include "benchmarks/BenchmarkTable.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

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
    const bool listed = std::any_of(argv + 1, argv + argc, [](const char* word) {
        return std::string_view(word).starts_with("--benchmark_list_tests");
    });
    filtered = listed || !benchmark::GetBenchmarkFilter().empty();
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

void BenchmarkTable::print(const BenchmarkRow& row) {
    const double ns = bestNs(row.measured);
    if (ns <= 0) {
        missUnmeasured(row.what, row.measured);
        return;
    }
    std::printf("%-46s %9.0f ns", row.what.c_str(), ns);
    const double faster = bestNs(row.literal) / ns;
    if (faster > 0) {
        std::printf(" %7.2f x literal", faster);
    } else {
        std::printf(" %7s          ", "-");
    }
    const double percent = ns / 10.0 / row.blockUs;
    std::printf(" %8.4f %% of %6.0f us", percent, row.blockUs);
    const double against = bestNs(row.against);
    if (against > 0) {
        std::printf("  %5.2f x as long as %s", ns / against, row.againstWhat.c_str());
    } else if (!row.againstWhat.empty()) {
        std::printf("  not compared: %s", row.againstWhat.c_str());
    }
    if (faster > 0 || !filtered) {
        judge("literal", ">=", row.atLeast, faster >= row.atLeast.value_or(0));
    }
    if (against > 0 || !filtered) {
        judge(row.againstWhat.c_str(), "<=", row.atMost,
              against > 0 && ns / against <= row.atMost.value_or(1e9));
    }
    judge("share", "<=", row.percentAtMost, percent <= row.percentAtMost.value_or(1e9));
    std::printf("\n");
}

void BenchmarkTable::missUnmeasured(const std::string& what, const std::string& benchmark) {
    if (!filtered) {
        std::printf("%-46s MISSED: \"%s\" was not measured\n", what.c_str(), benchmark.c_str());
        ++missed;
    }
}

void BenchmarkTable::judge(const char* what, const char* relation, std::optional<double> budget, bool kept) {
    if (budget) {
        std::printf("  [%s %s %g: %s]", what, relation, *budget, kept ? "kept" : "MISSED");
        missed += kept ? 0 : 1;
    }
}
