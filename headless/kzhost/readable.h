#pragma once

#include "headless/kzhost/description.h"

#include <lua.hpp>

#include <string>

namespace KzHost {

/// A value as the prompt prints it: strings in quotes, tables with their entries.
[[nodiscard]] std::string readable(lua_State* state, int index);

/// All values on the stack in one line. Those that a function of the host has just given, several at a time,
/// are printed with their meaning: "1 message, 0 taken".
[[nodiscard]] std::string readableResults(lua_State* state);

/// From now on the results of functions are noted for that; forgets those noted before.
void beginNotingResults(lua_State* state);
/// Notes the results of a function, which are on top of the stack.
void noteResults(lua_State* state, const Function& function, int count);

} // namespace KzHost
