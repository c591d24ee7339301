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
    bool isAscending = true;
    for (std::size_t position = 1; position < count && isAscending; ++position)
        isAscending = nameAt(position - 1) < nameAt(position);
    if (isAscending) return {};

    std::vector<Row> rows;
    rows.reserve(count);
    for (std::size_t position = 0; position < count; ++position) rows.push_back({nameAt(position), position});
    std::ranges::sort(rows);
    std::vector<std::size_t> repeated;
    for (std::size_t i = 1; i < count; ++i) {
        if (rows[i].name == rows[i - 1].name) repeated.push_back(rows[i].position);
    }
    std::ranges::sort(repeated);
    return repeated;
}
