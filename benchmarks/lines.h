#pragma once

#include "benchmarks/measuring.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

/// The lines of the benchmark; docs/performance.md describes the baselines. To add a line, write a function
/// that creates its data and returns the comparison, and list it in the function of the group at the end of
/// the source file. A new group is declared here and listed in main.cpp.
namespace Bench {

/// The measured side as a separate number.
struct Figure {
    std::string_view name;
    std::string_view unit;
    double perMeasured; ///< for example 1000 when seconds are measured and printed as milliseconds
};

/// A line of the output, for each of its sizes.
struct Line {
    std::string_view name;
    std::vector<std::size_t> sizes; ///< ascending; empty if it has none
    double limit;                   ///< the highest ratio allowed
    Comparison (*prepare)(std::size_t size);
    std::optional<Figure> figure = std::nullopt; ///< printed for the largest size
    std::string_view sizeUnit = {};
};

[[nodiscard]] std::vector<Line> updateLines();
[[nodiscard]] std::vector<Line> nestingLines();
[[nodiscard]] std::vector<Line> overheadLines();
[[nodiscard]] std::vector<Line> templateLines();
[[nodiscard]] std::vector<Line> watchLines();

inline constexpr std::size_t tenThousand = 10'000;
inline constexpr std::size_t hundredThousand = 100'000;
inline constexpr std::size_t million = 1'000'000;

/// The size that a measurement for each unit is compared with.
[[nodiscard]] constexpr std::size_t smallSizeFor(std::size_t size) {
    return size / 100;
}

[[nodiscard]] constexpr Figure inMilliseconds(std::string_view name) {
    return {.name = name, .unit = "ms", .perMeasured = 1e3};
}

} // namespace Bench
