#pragma once

// How the cost of a benchmark grows with its arguments.

#include "benchmarks/BenchmarkTable.h"

#include <string>
#include <vector>

/// One benchmark of a family, and how often each of the family's terms is in its cost: the sources, the
/// frames, their product. The fixed part is not among them.
struct FitPoint {
    std::string benchmark;
    std::vector<double> counts;
};

/// Fits cost = fixed + sum of (count x cost of its term) by least squares, each point weighted by its own
/// cost, so that the small ones count as much as the large. Prints the fit beside each point, and as a budget
/// of the table that the largest residual is at most `residualPercentAtMost` of the measured time: else the
/// cost does not grow linearly. `terms` names the terms: "a source". Where a point was not run the budget is
/// missed, or, under a filter, nothing is printed.
void printCostFit(BenchmarkTable& table, const std::string& what, const std::vector<std::string>& terms,
                  const std::vector<FitPoint>& points, double residualPercentAtMost);
