#include "benchmarks/results.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace Bench {

namespace {

/// The data of the benchmark that runs, kept for all its repetitions and gone before the next one begins.
Comparison& dataOf(const Promise& promise, std::size_t size) {
    static Made data;
    static std::pair<const Promise*, std::size_t> made;
    if (data == nullptr || made != std::pair(&promise, size)) {
        data.reset();
        data = promise.make(size);
        made = {&promise, size};
    }
    return *data;
}

void measure(benchmark::State& state, const Promise& promise, std::size_t size) {
    Comparison& comparison = dataOf(promise, size);
    Sample sample;
    for ([[maybe_unused]] const auto once : state) {
        sample = comparison.measure();
        state.SetIterationTime(sample.seconds);
    }
    state.counters["ours"] = sample.ours;
    state.counters["other"] = sample.other;
    state.counters["ratio"] = sample.ours / sample.other;
}

bool isTerminal() {
    return isatty(STDOUT_FILENO) != 0;
}

void clearProgress() {
    if (isTerminal()) std::printf("\r\033[K");
}

void showProgress(const std::string& last, std::size_t done, std::size_t all) {
    if (!isTerminal()) return;
    clearProgress();
    std::printf("[%zu/%zu] %s", done, all, last.c_str());
    std::fflush(stdout);
}

} // namespace

std::string Result::title() const {
    return std::string(promise->name) + "/" + promise->printed(size);
}

bool Result::isOver() const {
    return promise->limit.has_value() && !(ratio <= *promise->limit);
}

void registerBenchmark(const Result& result, int repetitions) {
    const auto run = [promise = result.promise, size = result.size](benchmark::State& state) {
        measure(state, *promise, size);
    };
    benchmark::RegisterBenchmark(result.title().c_str(), run)
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(repetitions)
        ->DisplayAggregatesOnly()
        ->Unit(benchmark::kMillisecond);
}

bool Reporter::ReportContext(const Context& context) {
    if (hasTable_) return ConsoleReporter::ReportContext(context);
    showProgress("measuring", 0, results_.size());
    return true;
}

void Reporter::ReportRuns(const std::vector<Run>& runs) {
    ++measured_;
    if (hasTable_)
        ConsoleReporter::ReportRuns(runs);
    else
        showProgress(runs.front().run_name.function_name, measured_, results_.size());
    for (const Run& run : runs) {
        if (run.aggregate_name != "median") continue;
        const auto result = std::ranges::find(results_, run.run_name.function_name, &Result::title);
        if (result == results_.end()) continue;
        constexpr double millisecondsPerSecond = 1e3;
        result->ratio = run.counters.at("ratio").value;
        result->seconds = run.GetAdjustedRealTime() / millisecondsPerSecond;
    }
}

void Reporter::Finalize() {
    if (hasTable_)
        std::puts("");
    else
        clearProgress();
}

bool printRatios(const std::vector<Result>& results) {
    bool isAnyOver = false;
    for (const Result& result : results) {
        if (!result.promise->limit.has_value()) continue;
        std::printf("ratio %s %s %.2f %g %s\n", std::string(result.promise->name).c_str(),
                    result.promise->printed(result.size).c_str(), result.ratio, *result.promise->limit,
                    result.isOver() ? "OVER" : "ok");
        isAnyOver = isAnyOver || result.isOver();
    }
    return !isAnyOver;
}

void printFigures(const std::vector<Result>& results) {
    for (auto at = results.begin(); at != results.end(); ++at) {
        const std::optional<Figure>& figure = at->promise->figure;
        const bool isLargest = at + 1 == results.end() || (at + 1)->promise != at->promise;
        if (!figure.has_value() || !isLargest) continue;
        const double value = figure->perSecond != 0 ? at->seconds * figure->perSecond : at->ratio;
        std::printf("figure %s %s %.4g %s\n", std::string(figure->name).c_str(),
                    at->promise->printed(at->size).c_str(), value, std::string(figure->unit).c_str());
    }
}

} // namespace Bench
