#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <numeric>
#include <vector>

namespace Bench {

/// The processor time that this thread has used so far, in seconds. Unlike elapsed time it does not advance
/// while other programs have the processor.
[[nodiscard]] double secondsUsed();

/// How much processor time `work` takes, in seconds. Everything measured is one thread that never waits.
template <class Work>
[[nodiscard]] double secondsOf(Work&& work) {
    const double begin = secondsUsed();
    work();
    return secondsUsed() - begin;
}

[[noreturn]] void fail(const char* expectation);

/// Ends the program unless the measured operation had the expected effect.
inline void require(bool condition, const char* expectation) {
    if (!condition) fail(expectation);
}

/// An operation and its baseline. Both use data that they share.
struct Comparison {
    /// One run, in seconds per unit of work (or in bytes), without its preparation and cleanup.
    std::function<double()> measured;
    std::function<double()> baseline;
    /// The number of units of work in one run of `measured`.
    double unitsOfWork = 1;
};

/// A side of a comparison whose time is measured.
template <class Work>
[[nodiscard]] std::function<double()> timed(Work work) {
    return [=]() mutable { return secondsOf(work); };
}

/// The result of one repetition.
struct Sample {
    double measured = 0;
    double baseline = 0;
    double unitsOfWork = 0;

    [[nodiscard]] double ratio() const { return measured / baseline; }
    /// The measured side of a whole run.
    [[nodiscard]] double ofRun() const { return measured * unitsOfWork; }
};

/// Prepares and measures a comparison of this size. Runs both sides alternately. Each repetition keeps the
/// minimum of each side, because other load on the machine can only make a run longer. Uses a separate
/// process, because memory that other comparisons have used and freed is fragmented.
[[nodiscard]] std::vector<Sample> measure(Comparison (*prepare)(std::size_t size), std::size_t size,
                                          int repetitions);

/// The memory that the process has allocated, including the overhead of the allocator.
[[nodiscard]] double allocatedBytes();

struct Statistics {
    double median;
    double mean;
    double deviation;
};

/// REQUIRES: at least two samples
template <class Quantity>
[[nodiscard]] Statistics statisticsOf(const std::vector<Sample>& samples, Quantity quantity) {
    std::vector<double> values(samples.size());
    std::ranges::transform(samples, values.begin(), quantity);
    std::ranges::sort(values);
    const auto count = static_cast<double>(values.size());
    const double mean = std::accumulate(values.begin(), values.end(), 0.0) / count;
    double squares = 0;
    for (const double value : values) squares += (value - mean) * (value - mean);
    return {.median = std::midpoint(values[(values.size() - 1) / 2], values[values.size() / 2]),
            .mean = mean,
            .deviation = std::sqrt(squares / (count - 1))};
}

} // namespace Bench
