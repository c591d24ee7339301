#include "benchmarks/comparison.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace Bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int fewestRuns = 6;
constexpr std::chrono::milliseconds enough{200};

} // namespace

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
