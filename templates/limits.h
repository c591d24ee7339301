#pragma once

#include <cstddef>

/// How much memory the reading of templates takes in one go. None of these bounds what can be read.
namespace KzDxTemplateLimits {

/// Bytes between the file and the archive reader.
inline constexpr std::size_t bufferSize = 4096;

/// Attributes for which a block makes room at once: its count is only a claim.
inline constexpr std::size_t reservedAttributes = 64;

/// Characters for which each of them is given room. Names of one block are much alike, so the first tells.
inline constexpr std::size_t reservedNameLength = 32;

} // namespace KzDxTemplateLimits
