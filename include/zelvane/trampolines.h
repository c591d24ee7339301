#pragma once

/// @file
/// Plain functions that call a function with their number.

#include "zelvane/own_state.h"
#include "zelvane/zelvane.h"

#include <array>
#include <cstddef>
#include <utility>

namespace Zelvane {

/// A callback that passes its number to `call`. Callbacks have no data and differ only in their addresses.
template <auto call, std::size_t number>
ZELVANE_OWN void trampoline() {
    call(number);
}

/// The trampolines 0 … count - 1 of `call`. Their addresses are in no particular order.
template <auto call, std::size_t count>
[[nodiscard]] ZELVANE_OWN constexpr std::array<KzDxClientCallback, count> trampolines() {
    return []<std::size_t... numbers>(std::index_sequence<numbers...>) {
        return std::array<KzDxClientCallback, count>{trampoline<call, numbers>...};
    }
    (std::make_index_sequence<count>());
}

} // namespace Zelvane
