#include "benchmarks/comparison.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace Bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int fewestRuns = 6;
constexpr std::chrono::milliseconds enough{200};

} // namespace

double secondsUsed() {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    constexpr double secondsPerNanosecond = 1e-9;
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * secondsPerNanosecond;
}

Sample TimedComparison::measure() {
    double ourBest = std::numeric_limits<double>::infinity();
    double otherBest = ourBest;
    const Clock::time_point begin = Clock::now();
    for (int runs = 0; runs < fewestRuns || Clock::now() - begin < enough; ++runs) {
        otherBest = std::min(otherBest, other());
        ourBest = std::min(ourBest, ours());
    }
    return {ourBest, otherBest, ourBest * unitsOfWork()};
}

void endBecause(const char* failure) {
    std::fprintf(stderr, "not so: %s\n", failure);
    std::exit(EXIT_FAILURE);
}

} // namespace Bench
