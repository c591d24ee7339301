#pragma once

/// Marks a function of the headless host that tests, benchmarks and `kzhost` may call. What modules may call
/// is marked with KZHOST_API instead.
#define HEADLESS_API __attribute__((visibility("default")))
