#pragma once

/// @file
/// Marks the state that each library has separately.

#include "host/platform_export.h"

// Marks the kit's state, and all functions that use it, as hidden, whatever flags a client is compiled
// with. Without the mark, on systems that merge symbols across libraries, the libraries of a process would
// share the state, functions of one library would use the state of another, and no library could be removed
// from memory.
/// @cond
#define ZELVANE_OWN KZ_HIDDEN
/// @endcond
