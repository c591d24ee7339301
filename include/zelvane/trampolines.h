#pragma once

/// @file
/// Plain functions that lead to what they are called for.

#include "zelvane/own_state.h"
#include "zelvane/zelvane.h"

#include <array>
#include <cstddef>
#include <utility>

namespace Zelvane {

/// A callback that passes its number on: callbacks carry no data, and differ in their addresses alone.
template <auto call, std::size_t number>
ZELVANE_OWN void trampoline() {
    call(number);
}

/// The trampolines 0 … count - 1 of `call`, a function that is given their numbers. Their addresses are in
/// no particular order.
template <auto call, std::size_t count>
[[nodiscard]] ZELVANE_OWN constexpr std::array<KzDxClientCallback, count> trampolines() {
    return []<std::size_t... numbers>(std::index_sequence<numbers...>) {
        return std::array<KzDxClientCallback, count>{trampoline<call, numbers>...};
    }
    (std::make_index_sequence<count>());
}

} // namespace Zelvane
