#pragma once

#include "host/platform_export.h"

/// Marks a function of the headless host that tests, benchmarks and `kzhost` may call. What modules may call
/// is marked with KZHOST_API instead.
#define HEADLESS_API KZ_EXPORT
