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

// The Lua files of this folder, which CMake embeds.
extern const char* const apiLua;
extern const char* const helpLua;
extern const char* const promptLua;

/// Traces the whole run to a file of trace events, or as text to standard error if the file is "-". False if
/// the file cannot be written.
[[nodiscard]] bool traceRun(const std::string& file);

/// Ends all tracing and closes the files. False if one could not be written: a message is on standard error.
[[nodiscard]] bool endTracing();

// Each adds its functions to the table `host` on top of the stack, and registers its kinds of values.
void addDrawingLibrary(lua_State* state);
void addModuleLibrary(lua_State* state, const Setup& setup);
void addClientLibrary(lua_State* state);
void addTraceLibrary(lua_State* state);

} // namespace KzHost
