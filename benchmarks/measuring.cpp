#include "benchmarks/measuring.h"

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace Bench {

namespace {

Sample measureOnce(const Comparison& comparison) {
    using Clock = std::chrono::steady_clock;
    constexpr int fewestRuns = 6;
    constexpr std::chrono::milliseconds shortest{200};

    double measured = std::numeric_limits<double>::infinity();
    double baseline = measured;
    const Clock::time_point begin = Clock::now();
    for (int runs = 0; runs < fewestRuns || Clock::now() - begin < shortest; ++runs) {
        baseline = std::min(baseline, comparison.baseline());
        measured = std::min(measured, comparison.measured());
    }
    return {measured, baseline, comparison.unitsOfWork};
}

void measureInto(int pipe, const Comparison& comparison, int repetitions) {
    for (int repetition = 0; repetition < repetitions; ++repetition) {
        const Sample sample = measureOnce(comparison);
        require(write(pipe, &sample, sizeof sample) == sizeof sample, "the sample is written");
    }
}

} // namespace

double secondsUsed() {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    constexpr double secondsPerNanosecond = 1e-9;
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * secondsPerNanosecond;
}

void fail(const char* expectation) {
    std::fprintf(stderr, "zelvane_bench: check failed: %s\n", expectation);
    std::exit(EXIT_FAILURE);
}

std::vector<Sample> measure(Comparison (*prepare)(std::size_t size), std::size_t size, int repetitions) {
    std::array<int, 2> ends{};
    require(pipe(ends.data()) == 0, "a pipe is made");
    std::fflush(nullptr); // otherwise the other process prints it again
    const pid_t process = fork();
    require(process >= 0, "a process is started");
    if (process == 0) {
        measureInto(ends[1], prepare(size), repetitions);
        std::_Exit(EXIT_SUCCESS);
    }
    close(ends[1]);
    std::vector<Sample> samples;
    for (Sample sample; read(ends[0], &sample, sizeof sample) == sizeof sample;) samples.push_back(sample);
    close(ends[0]);
    waitpid(process, nullptr, 0);
    require(samples.size() == static_cast<std::size_t>(repetitions), "every repetition is measured");
    return samples;
}

double allocatedBytes() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

} // namespace Bench
