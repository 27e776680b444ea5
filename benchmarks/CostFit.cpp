#include "benchmarks/CostFit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <utility>

namespace {

// The solution of the linear system whose rows hold the coefficients and then the right side.
std::vector<double> solve(std::vector<std::vector<double>> system) {
    const std::size_t size = system.size();
    for (std::size_t pivot = 0; pivot < size; ++pivot) {
        for (std::size_t row = 0; row < size; ++row) {
            if (row == pivot) {
                continue;
            }
            const double factor = system[row][pivot] / system[pivot][pivot];
            for (std::size_t column = pivot; column <= size; ++column) {
                system[row][column] -= factor * system[pivot][column];
            }
        }
    }
    std::vector<double> solution(size);
    for (std::size_t row = 0; row < size; ++row) {
        solution[row] = system[row][size] / system[row][row];
    }
    return solution;
}

// The counts of a point behind the 1 of the fixed part.
std::vector<double> withFixed(const FitPoint& point) {
    std::vector<double> counts{1.0};
    counts.insert(counts.end(), point.counts.begin(), point.counts.end());
    return counts;
}

std::vector<double> leastSquares(const BenchmarkTable& table, const std::vector<FitPoint>& points,
                                 std::size_t size) {
    std::vector<std::vector<double>> system(size, std::vector<double>(size + 1));
    for (const FitPoint& point : points) {
        const double cost = table.bestNs(point.benchmark);
        std::vector<double> row = withFixed(point);
        for (double& count : row) {
            count /= cost;
        }
        row.push_back(1.0);
        for (std::size_t i = 0; i < size; ++i) {
            for (std::size_t j = 0; j <= size; ++j) {
                system[i][j] += row[i] * row[j];
            }
        }
    }
    return solve(std::move(system));
}

} // namespace

void printCostFit(BenchmarkTable& table, const std::string& what, const std::vector<std::string>& terms,
                  const std::vector<FitPoint>& points, double residualPercentAtMost) {
    const auto notRun = std::ranges::find_if(
        points, [&](const FitPoint& point) { return table.bestNs(point.benchmark) <= 0; });
    if (notRun != points.end()) {
        table.missUnmeasured(what + ", fit", notRun->benchmark);
        return;
    }
    const std::vector<double> fit = leastSquares(table, points, terms.size() + 1);
    std::printf("\n%s costs about %.0f ns", what.c_str(), fit[0]);
    for (std::size_t term = 0; term < terms.size(); ++term) {
        std::printf(" + %.3f ns %s", fit[term + 1], terms[term].c_str());
    }
    std::printf("\n");
    double largestResidual = 0;
    for (const FitPoint& point : points) {
        const double cost = table.bestNs(point.benchmark);
        const std::vector<double> counts = withFixed(point);
        double fitted = 0;
        for (std::size_t term = 0; term < fit.size(); ++term) {
            fitted += fit[term] * counts[term];
        }
        std::printf("  %-34s %9.0f ns (fit %9.0f)\n", point.benchmark.c_str(), cost, fitted);
        largestResidual = std::max(largestResidual, std::fabs(fitted - cost) / cost);
    }
    std::printf("  largest residual: %.1f %% of the measured time", 100 * largestResidual);
    table.judge("residual", "<=", residualPercentAtMost, 100 * largestResidual <= residualPercentAtMost);
    std::printf("\n");
}
