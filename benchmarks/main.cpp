#include "benchmarks/lines.h"
#include "frame/application.h"

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

namespace {

using namespace Bench;

struct Options {
    std::vector<std::string> names;
    bool isSmoke = false;
    bool hasTable = false;
};

/// A line at one size.
struct Result {
    const Line* line;
    std::optional<std::size_t> size;
    std::vector<Sample> samples = {};

    [[nodiscard]] std::string label() const {
        const std::string number = size.has_value() ? std::to_string(*size) : "-";
        return std::string(line->name) + " " + number + std::string(line->sizeUnit);
    }
    [[nodiscard]] double ratio() const { return statisticsOf(samples, &Sample::ratio).median; }
    [[nodiscard]] bool isExceeded() const { return !(ratio() <= line->limit); }
};

std::vector<Line> allLines() {
    std::vector<Line> lines;
    for (const auto group : {updateLines, nestingLines, overheadLines, templateLines, watchLines}) {
        for (const Line& line : group()) lines.push_back(line);
    }
    return lines;
}

bool isCalled(const Line& line, std::string_view name) {
    return line.name == name || (line.figure.has_value() && line.figure->name == name);
}

std::set<std::string> namesOf(const std::vector<Line>& lines) {
    std::set<std::string> names;
    for (const Line& line : lines) {
        names.emplace(line.name);
        if (line.figure.has_value()) names.emplace(line.figure->name);
    }
    return names;
}

/// The sizes of a line. For a smoke run they are small: they only show that everything works.
std::vector<std::size_t> sizesOf(const Line& line, bool isSmoke) {
    constexpr std::size_t small = 1'000;
    std::vector<std::size_t> sizes = line.sizes;
    if (!isSmoke) return sizes;
    for (std::size_t& size : sizes) size = std::min(size, std::max(small, size / 100));
    sizes.erase(std::unique(sizes.begin(), sizes.end()), sizes.end());
    return sizes;
}

std::vector<Result> linesToMeasure(const std::vector<Line>& lines, const Options& options) {
    std::vector<Result> results;
    for (const Line& line : lines) {
        const auto isName = [&](const std::string& name) { return isCalled(line, name); };
        if (!options.names.empty() && std::ranges::none_of(options.names, isName)) continue;
        if (line.sizes.empty()) results.push_back({.line = &line, .size = std::nullopt});
        for (const std::size_t size : sizesOf(line, options.isSmoke)) {
            results.push_back({.line = &line, .size = size});
        }
    }
    return results;
}

template <class Quantity>
void printTableRow(const Result& result, const char* name, Quantity quantity) {
    const auto [median, mean, deviation] = statisticsOf(result.samples, quantity);
    std::printf("%s %s %.4g %.4g %.2g\n", result.label().c_str(), name, median, mean, deviation);
}

void printTableRows(const Result& result) {
    printTableRow(result, "measured", &Sample::measured);
    printTableRow(result, "baseline", &Sample::baseline);
    printTableRow(result, "ratio", &Sample::ratio);
}

void measureAll(std::vector<Result>& results, const Options& options) {
    const int repetitions = options.isSmoke ? 2 : 9;
    const bool showsProgress = !options.hasTable && isatty(STDOUT_FILENO) != 0;
    if (options.hasTable) std::puts("line size quantity median mean deviation");
    for (std::size_t at = 0; at < results.size(); ++at) {
        Result& result = results[at];
        if (showsProgress) {
            std::printf("\r\033[K[%zu/%zu] %s", at + 1, results.size(), result.label().c_str());
            std::fflush(stdout);
        }
        result.samples = measure(result.line->prepare, result.size.value_or(0), repetitions);
        if (options.hasTable) printTableRows(result);
    }
    if (showsProgress) std::printf("\r\033[K");
    if (options.hasTable) std::puts("");
}

void printRatios(const std::vector<Result>& results) {
    for (const Result& result : results) {
        std::printf("ratio %s %.2f %g %s\n", result.label().c_str(), result.ratio(), result.line->limit,
                    result.isExceeded() ? "OVER" : "ok");
    }
}

void printFigures(const std::vector<Result>& results) {
    for (auto at = results.begin(); at != results.end(); ++at) {
        const std::optional<Figure>& figure = at->line->figure;
        const bool isLargest = at + 1 == results.end() || (at + 1)->line != at->line;
        if (!figure.has_value() || !isLargest) continue;
        const std::string label = at->label().replace(0, at->line->name.size(), figure->name);
        std::printf("figure %s %.4g %s\n", label.c_str(),
                    statisticsOf(at->samples, &Sample::ofRun).median * figure->perMeasured,
                    std::string(figure->unit).c_str());
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<Line> lines = allLines();
    CLI::App app("Checks the performance limits of Zelvane. Fails when a limit is exceeded.");
    Options options;
    app.add_option("name", options.names, "lines or figures to measure; default: all")
        ->check(CLI::IsMember(namesOf(lines)));
    app.add_flag("--smoke", options.isSmoke,
                 "small sizes, to see that everything works; no limit is checked");
    app.add_flag("--table", options.hasTable, "every measurement too, with means and deviations");
    CLI11_PARSE(app, argc, argv);

    const KzDxApplication application;
    std::vector<Result> results = linesToMeasure(lines, options);
    measureAll(results, options);
    printRatios(results);
    printFigures(results);
    if (options.isSmoke || std::ranges::none_of(results, &Result::isExceeded)) return EXIT_SUCCESS;
    std::fputs("zelvane_bench: limit exceeded (marked OVER)\n", stderr);
    return EXIT_FAILURE;
}
