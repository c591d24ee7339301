#pragma once

/// @file
/// Identification of the changed blocks of a watch by callbacks without arguments.

#include <algorithm>
#include <array>
#include <bitset>
#include <cstddef>

/// Internals of the client kit. Clients use `BlockWatch` and `IdleTimer`.
namespace Zelvane::detail {

/// A superimposed code (Kautz and Singleton): identifies the changed blocks by the callbacks that were
/// called.
///
/// A callback has no arguments, but it has an address. Block `number` is attached to one callback in each
/// of four rows; the column in row r is a + r·b + r²·c modulo 127, where a, b and c are the digits of the
/// number in base 127. A block can have changed only if all of its four callbacks were called, as in a
/// Bloom filter: there are no false negatives, and the code limits the false positives. Two such
/// polynomials agree in at most as many rows as the degree of their difference. Hence the result is
///
/// - exact for the first 127 blocks of a document: in row 0 each has a column of its own;
/// - exact for the first 16,129 blocks when at most three changed, because c is 0 for them;
/// - exact for 2,048,383 blocks when one changed. Numbers beyond that share codes.
struct SuperimposedCode {
    static constexpr std::size_t rows = 4;
    static constexpr std::size_t columns = 127; // a prime, so that the rows are independent
    static constexpr std::size_t callbacks = rows * columns;
    /// The callbacks that were called.
    using Called = std::bitset<callbacks>;

    /// The callback of a block in a row.
    [[nodiscard]] static constexpr std::size_t callback(std::size_t number, std::size_t row) {
        return row * columns + (number % columns + shift(number / columns, row)) % columns;
    }

    /// Calls `use(number)` for each of the first `count` blocks all of whose callbacks were called, in
    /// ascending order. O(callbacks called in row 0 * count / columns).
    template <class Use>
    static void forEachCovered(const Called& called, std::size_t count, Use use) {
        std::array<std::size_t, columns> inFirstRow{};
        std::size_t calledInFirstRow = 0;
        for (std::size_t column = 0; column < columns; ++column) {
            if (called[column]) inFirstRow[calledInFirstRow++] = column;
        }
        for (std::size_t base = 0; base < count; base += columns) {
            std::array<std::size_t, rows> shifts{};
            for (std::size_t row = 0; row < rows; ++row) shifts[row] = shift(base / columns, row);
            const auto isCalled = [&](std::size_t column, std::size_t row) {
                const std::size_t sum = column + shifts[row];
                return called[row * columns + (sum < columns ? sum : sum - columns)];
            };
            for (std::size_t at = 0; at < calledInFirstRow && base + inFirstRow[at] < count; ++at) {
                const std::size_t column = inFirstRow[at];
                if (isCalled(column, 1) && isCalled(column, 2) && isCalled(column, 3)) use(base + column);
            }
        }
    }

private:
    /// r·b + r²·c; `upper` is the number without its lowest digit.
    [[nodiscard]] static constexpr std::size_t shift(std::size_t upper, std::size_t row) {
        return row * (upper % columns + row * (upper / columns % columns)) % columns;
    }
};

} // namespace Zelvane::detail
