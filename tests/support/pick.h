#pragma once

#include <cstdint>
#include <vector>

/// The element that a byte stands for, whatever it is; a default one of an empty list.
template <class T>
[[nodiscard]] T pick(const std::vector<T>& list, std::uint8_t byte) {
    return list.empty() ? T() : list[byte % list.size()];
}
