#pragma once

/// @file
/// State that each library has for itself.

#include "host/platform_export.h"

// Where symbols are merged across libraries, the kit's state and all that touches it take this mark, whatever
// flags a client is compiled with. Otherwise the libraries of a process would share the state, functions of
// one would work on the state of another, and none could leave memory.
/// @cond
#define ZELVANE_OWN KZ_HIDDEN
/// @endcond
