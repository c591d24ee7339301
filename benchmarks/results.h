#pragma once

#include "benchmarks/promises.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Bench {

/// What was measured of one promise at one size: medians over all repetitions.
struct Result {
    const Promise* promise = nullptr;
    std::size_t size = 0;
    double ratio = 0;
    double seconds = 0; ///< our side

    /// The benchmark's name in the tables.
    [[nodiscard]] std::string title() const;
    [[nodiscard]] bool isOver() const;
};

/// Registers the benchmark of a result that is not measured yet. REQUIRES: at least two repetitions
void registerBenchmark(const Result& result, int repetitions);

/// Takes the medians out of the measurements, and shows how far they are or the tables.
class Reporter : public benchmark::ConsoleReporter {
public:
    /// `results` are borrowed. With `hasTable` every measurement is printed, otherwise one line of progress
    /// on a terminal and nothing elsewhere.
    Reporter(std::vector<Result>& results, bool hasTable)
        : ConsoleReporter(OO_Tabular), results_(results), hasTable_(hasTable) {}

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    std::vector<Result>& results_;
    bool hasTable_;
    std::size_t measured_ = 0;
};

/// Prints a line for each result that has a limit. False when one is over.
[[nodiscard]] bool printRatios(const std::vector<Result>& results);

/// Prints the figures, each for the largest of its sizes.
void printFigures(const std::vector<Result>& results);

} // namespace Bench
