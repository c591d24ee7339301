#pragma once

#include "headless/kzhost/binding.h"

#include <string>

namespace KzHost {

/// The default locations of modules.
struct Setup {
    std::string modulePath; ///< the default module of `host.load`
    std::string resources;  ///< the default folder in which libraries loaded by bare name are looked up first
};

/// Registers all tables, functions and kinds of values in a new state. `setup` must outlive the state.
void openLibraries(lua_State* state, const Setup& setup);

// The Lua files of this folder, which CMake embeds.
extern const char* const apiLua;
extern const char* const helpLua;
extern const char* const promptLua;

/// Traces the run to a file of trace events, or as text to standard error if the file is "-". False if the
/// file cannot be written.
[[nodiscard]] bool traceRun(const std::string& file);

/// Ends all traces and closes the files. If a file could not be written, prints a message to standard error
/// and returns false.
[[nodiscard]] bool endTracing();

// Each adds its functions to the table `host` on top of the stack, and registers its kinds of values.
void addDrawingLibrary(lua_State* state);
void addModuleLibrary(lua_State* state, const Setup& setup);
void addClientLibrary(lua_State* state);
void addTraceLibrary(lua_State* state);

} // namespace KzHost
