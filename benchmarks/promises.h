#pragma once

#include "benchmarks/comparisons.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Bench {

/// Our side of a measurement, as a number of its own.
struct Figure {
    std::string_view name;
    std::string_view unit;
    double perSecond; ///< units in a second; 0 when the figure is the ratio itself
};

/// Something measured, with the limit that its ratio has to keep.
struct Promise {
    std::string_view name;
    std::vector<std::size_t> sizes;
    std::optional<double> limit; ///< none when only the figure is of interest
    Made (*make)(std::size_t size);
    std::optional<Figure> figure = std::nullopt; ///< given for the largest size
    std::string_view sizeUnit = {};
    bool hasSize = true;

    /// The sizes to measure: the promised ones, or small ones that only show that everything works.
    [[nodiscard]] std::vector<std::size_t> sizesToMeasure(bool areSmall) const;
    /// A size as it is printed.
    [[nodiscard]] std::string printed(std::size_t size) const;
    /// Whether the promise or its figure is called so.
    [[nodiscard]] bool isCalled(std::string_view other) const;
};

/// Everything that is promised.
[[nodiscard]] std::span<const Promise> promises();

} // namespace Bench
