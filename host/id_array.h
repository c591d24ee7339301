#pragma once

/// @file
/// Lists of object ids.

#include "host/ids.h"
#include "host/kz_array.h"

/// A list of object ids, as the host and its modules pass it to each other.
using KzDbObjectIdArray = KzArray<KzDbObjectId>;
