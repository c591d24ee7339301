#pragma once

#include "headless/session.h"

#include <array>
#include <cstddef>

namespace Headless {

/// What the host refuses to give at the moment; at first nothing.
class RefusedFacilities {
public:
    [[nodiscard]] static bool include(Facility what) { return refused[static_cast<std::size_t>(what)]; }
    static void set(Facility what, bool isRefused) { refused[static_cast<std::size_t>(what)] = isRefused; }
    static void clear() { refused.fill(false); }

private:
    static inline std::array<bool, facilityCount> refused{};
};

} // namespace Headless
