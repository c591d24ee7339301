#pragma once

#include <cstdint>

namespace Headless {

/// What an object of a drawing is; `none` stands for no object.
enum class Kind : std::uint8_t { none, table, record, reference, attribute, graph };

} // namespace Headless
