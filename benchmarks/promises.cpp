#include "benchmarks/promises.h"

#include <algorithm>
#include <array>

namespace Bench {

namespace {

constexpr std::size_t tenThousand = 10'000;
constexpr std::size_t hundredThousand = 100'000;
constexpr std::size_t million = 1'000'000;

constexpr Figure milliseconds(std::string_view name) {
    return {.name = name, .unit = "ms", .perSecond = 1e3};
}

} // namespace

std::span<const Promise> promises() {
    static const std::vector<std::size_t> three{tenThousand, hundredThousand, million};
    static const std::array all{
        Promise{"update/floor", three, 1.5, updateOverFloor},
        Promise{"build/floor", three, 2.5, buildOverFloor, milliseconds("build")},
        Promise{"enable/floor", three, 2, enableOverFloor},
        Promise{"edit/floor", three, 1.6, editOverFloor, milliseconds("edit")},
        Promise{"attribute/touched", three, 4, attributeOverTouched, milliseconds("attribute")},
        Promise{"attribute/flat", {million}, 2, attributeFlat},
        Promise{"attach/floor", three, 1.8, attachOverFloor, milliseconds("attach")},
        Promise{"update/linear", {million}, 2, updatePerReference},
        Promise{"propagate/linear", {million}, 3, propagatePerEntry},
        Promise{"nested/bfs", {million}, 4, nestedOverSearch},
        Promise{"nested/dirty", {million}, 10, nestedAfterEdit, milliseconds("nested/dirty")},
        Promise{"xref/own", {hundredThousand}, 1.5, attachedOverOwn},
        Promise{"representations/linear", {hundredThousand}, 2, enhancedOverPlain},
        Promise{.name = "filter/call", .sizes = {0}, .limit = 2, .make = filterOverCall, .hasSize = false},
        Promise{"idle/timers", {100}, 4, idleCheckOverTicks},
        Promise{
            .name = "tracing/off", .sizes = {0}, .limit = 0.25, .make = untracedOverEdit, .hasSize = false},
        Promise{"template/floor", {40}, 2.5, templateOverStrings, {}, "MB"},
        Promise{"template/names", {million}, 2, templatePerName},
        Promise{"template/collisions", {2 * tenThousand}, 3, collisionsOverNames},
        Promise{"memory/reference",
                {million},
                24,
                memoryPerReference,
                Figure{.name = "memory", .unit = "bytes", .perSecond = 0}},
    };
    return all;
}

std::vector<std::size_t> Promise::sizesToMeasure(bool areSmall) const {
    constexpr std::size_t small = 1'000;
    std::vector<std::size_t> result = sizes;
    if (!areSmall) return result;
    for (std::size_t& size : result) size = std::min(size, std::max(small, size / 100));
    result.erase(std::unique(result.begin(), result.end()), result.end());
    return result;
}

std::string Promise::printed(std::size_t size) const {
    return hasSize ? std::to_string(size) + std::string(sizeUnit) : "-";
}

bool Promise::isCalled(std::string_view other) const {
    return name == other || (figure.has_value() && figure->name == other);
}

} // namespace Bench
