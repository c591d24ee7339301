#pragma once

#include "headless/kzhost/binding.h"

#include <string>

namespace KzHost {

/// Where a script finds modules.
struct Setup {
    std::string modulePath; ///< what `host.load()` loads by default
    std::string resources;  ///< the folder in which libraries are looked up first by default
};

/// Registers all tables, functions and kinds of values in a new state. `setup` must outlive the state.
void openLibraries(lua_State* state, const Setup& setup);

// Each adds its functions to the table `host` on top of the stack, and registers its kinds of values.
void addHostLibrary(lua_State* state);
void addDrawingLibrary(lua_State* state);
void addModuleLibrary(lua_State* state, const Setup& setup);
void addClientLibrary(lua_State* state);
void addTraceLibrary(lua_State* state);

} // namespace KzHost
