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

/// Ends the program unless the measured operation did what it is measured for.
inline void require(bool condition, const char* expectation) {
    if (!condition) fail(expectation);
}

/// An operation, and what it is compared with. Both work on data that they own together.
struct Comparison {
    /// One run, in seconds for each unit of work (or in bytes). What a run prepares or restores is not
    /// included.
    std::function<double()> measured;
    std::function<double()> baseline;
    /// How many units of work one run of `measured` does.
    double unitsOfWork = 1;
};

/// A side of a comparison that is only to be timed.
template <class Work>
[[nodiscard]] std::function<double()> timed(Work work) {
    return [=]() mutable { return secondsOf(work); };
}

/// What one repetition measured.
struct Sample {
    double measured = 0;
    double baseline = 0;
    double unitsOfWork = 0;

    [[nodiscard]] double ratio() const { return measured / baseline; }
    /// The measured side of a whole run.
    [[nodiscard]] double ofRun() const { return measured * unitsOfWork; }
};

/// Prepares a comparison of that size, and measures it. Runs both sides alternately. Each repetition keeps
/// the lowest result of each side, because other load on the machine can only make a run longer. All of it
/// happens in a process of its own, because memory that other comparisons have used and freed is scattered.
[[nodiscard]] std::vector<Sample> measure(Comparison (*prepare)(std::size_t size), std::size_t size,
                                          int repetitions);

/// All that the process has allocated, with the allocator's own share.
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
