#pragma once

#include "headless/kind.h"
#include "host/runtime_class.h"

namespace Headless {

/// The runtime class of the objects of one kind; null for `none`.
[[nodiscard]] KzRxClass* classOf(Kind kind);

} // namespace Headless
