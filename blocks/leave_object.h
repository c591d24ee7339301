#pragma once

#include "host/ids.h"

class KzDbObjectReactor;

/// Removes a reactor from an object. False when the object is there but cannot be opened now: then the
/// reactor must live on. An object that has gone counts as left.
[[nodiscard]] bool kzdxLeaveObject(KzDbObjectId id, KzDbObjectReactor* reactor) noexcept;
