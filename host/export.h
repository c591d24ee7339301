#pragma once

/// Marks a function that the host offers to modules. Everything else of the host stays invisible to them.
#define KZHOST_API __attribute__((visibility("default")))
