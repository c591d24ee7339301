#pragma once

#include "headless/kzhost/call.h"

#include <string>

namespace KzHost {

/// What a script starts from; `program` is the folder of `kzhost`.
struct Setup {
    std::string modulePath; ///< what `host.load()` loads when it is given no path
    std::string program;    ///< the folder in which libraries are looked for first unless told otherwise
};

/// Makes the table `host` and everything that it hands out known to a new state. `setup` has to stay.
void openLibraries(lua_State* state, const Setup& setup);

// ---- one for each kind of value

void enterDocumentMethods(lua_State* state);
int documentField(Call& call, const std::string& key);

void enterObjectMethods(lua_State* state, Headless::Kind kind);
int objectField(Call& call, const std::string& key);

/// Enters `host.load`, `host.unload` into the table on top of the stack.
void enterModuleFunctions(lua_State* state, const Setup& setup);

} // namespace KzHost
