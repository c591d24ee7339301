#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Sorting of attribute names for writing.
class CEattUtil {
public:
    /// Sorts ascending, case-insensitively, by the collation of the C library's current locale
    /// (LC_COLLATE and LC_CTYPE). A program that wants the user's order calls std::setlocale(LC_ALL, "")
    /// first; in the "C" locale the order is that of the code points.
    ///
    /// A Shell sort with gaps n/2, n/4, ... 1. Names that collate equal are not swapped with each other, but
    /// their order can change by swaps with other names. Returns 1.
    static int sortNames(std::vector<std::u16string>& names);

    /// The same without moving the names: returns their positions in sorted order.
    [[nodiscard]] static std::vector<std::size_t> sortedPositions(std::span<const std::u16string_view> names);

    /// Negative, 0 or positive as `a` collates before, equal to or after `b`, ignoring case.
    [[nodiscard]] static int collateNoCase(std::u16string_view a, std::u16string_view b);
};
