#pragma once

#include "host/enhanced_block.h"

namespace Headless {

/// The one protocol object between enhanced blocks and their representations; it lives as long as the
/// process.
[[nodiscard]] KzDbBlockRepresentation& representationProtocol();

} // namespace Headless
