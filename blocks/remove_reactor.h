#pragma once

#include "host/ids.h"

class KzDbObjectReactor;

/// Removes a reactor from an object. Returns false if the object exists but cannot be opened now; then the
/// reactor must not be destroyed. Returns true if the object no longer exists.
[[nodiscard]] bool kzdxRemoveReactor(KzDbObjectId id, KzDbObjectReactor* reactor) noexcept;
