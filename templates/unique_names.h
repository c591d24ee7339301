#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

/// The positions of the names that repeat an earlier one, ascending. `nameAt(position)` returns a name. The
/// names are sorted, not hashed, so that no file can make it slow: O(n log n) comparisons, and O(n) without
/// an allocation for names in ascending order, as in most blocks.
[[nodiscard]] std::vector<std::size_t> kzdxRepeatedNames(std::size_t count, const auto& nameAt) {
    struct Row {
        std::u16string_view name;
        std::size_t position = 0;
        auto operator<=>(const Row&) const = default;
    };
    std::vector<std::size_t> repeated;
    std::size_t ascending = 1;
    while (ascending < count && nameAt(ascending - 1) < nameAt(ascending)) ++ascending;
    if (ascending >= count) return repeated;

    std::vector<Row> rows;
    rows.reserve(count);
    for (std::size_t position = 0; position < count; ++position) rows.push_back({nameAt(position), position});
    std::ranges::sort(rows);
    for (std::size_t i = 1; i < count; ++i) {
        if (rows[i].name == rows[i - 1].name) repeated.push_back(rows[i].position);
    }
    std::ranges::sort(repeated);
    return repeated;
}
