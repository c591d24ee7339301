#pragma once

#include <cstddef>

/// Sizes of the allocations made while templates are read. None of them limits what can be read.
namespace KzDxTemplateLimits {

/// Size in bytes of the archive reader's buffer.
inline constexpr std::size_t bufferSize = 4096;

/// Attributes that a block reserves at first, because its count is only a claim.
inline constexpr std::size_t reservedAttributes = 64;

/// Maximum of characters reserved for each. Names of one block are similar, so the first name gives the
/// number.
inline constexpr std::size_t reservedNameLength = 32;

} // namespace KzDxTemplateLimits
