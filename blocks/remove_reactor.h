#pragma once

#include "host/ids.h"

class KzDbObjectReactor;

/// Removes a reactor from an object. Returns false if the object exists but cannot be opened now: the reactor
/// must then not be destroyed. An object that no longer exists counts as removed from.
[[nodiscard]] bool kzdxRemoveReactor(KzDbObjectId id, KzDbObjectReactor* reactor) noexcept;
