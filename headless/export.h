#pragma once

#include "host/platform_export.h"

/// Marks a function of the headless host that tests, benchmarks and `kzhost` may call. Functions that
/// modules may call are marked with KZHOST_API.
#define HEADLESS_API KZ_EXPORT
