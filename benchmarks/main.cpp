#include "benchmarks/results.h"
#include "frame/application.h"
#include "headless/session.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace Bench;

struct Options {
    std::vector<std::string> names;
    bool isSmoke = false;
    bool hasTable = false;
};

bool isAsked(const Promise& promise, const Options& options) {
    const auto isItsName = [&](const std::string& name) { return promise.isCalled(name); };
    return options.names.empty() || std::ranges::any_of(options.names, isItsName);
}

std::string refusalOf(const std::string& name) {
    const auto isItsOwner = [&](const Promise& promise) { return promise.isCalled(name); };
    if (std::ranges::any_of(promises(), isItsOwner)) return {};
    std::string refusal = "nothing is called \"" + name + "\"; there are:";
    for (const Promise& promise : promises()) refusal += "\n  " + std::string(promise.name);
    return refusal;
}

std::vector<Result> toMeasure(const Options& options) {
    std::vector<Result> results;
    for (const Promise& promise : promises()) {
        if (!isAsked(promise, options)) continue;
        for (const std::size_t size : promise.sizesToMeasure(options.isSmoke)) {
            results.push_back({.promise = &promise, .size = size});
        }
    }
    return results;
}

/// False when a limit is exceeded.
bool run(const Options& options) {
    std::vector<Result> results = toMeasure(options);
    const int repetitions = options.isSmoke ? 2 : 9;
    for (const Result& result : results) registerBenchmark(result, repetitions);
    Reporter reporter(results, options.hasTable);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::ClearRegisteredBenchmarks();
    const bool allKept = printRatios(results);
    printFigures(results);
    if (allKept || options.isSmoke) return true;
    std::fputs("a promise is not kept: see OVER\n", stderr);
    return false;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Measures what Zelvane promises about its speed. Fails when a promise is not kept.");
    Options options;
    app.add_option("name", options.names, "a promise or a figure; all of them when none is named")
        ->check(refusalOf);
    app.add_flag("--smoke", options.isSmoke, "small sizes, to see that everything works; judges no time");
    app.add_flag("--table", options.hasTable, "prints every measurement, with means and deviations");
    CLI11_PARSE(app, argc, argv);

    int bareArgc = 1;
    benchmark::Initialize(&bareArgc, argv);
    const KzDxApplication application;
    return run(options) ? EXIT_SUCCESS : EXIT_FAILURE;
}
