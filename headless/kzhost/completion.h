#pragma once

#include <lua.hpp>

#include <string>
#include <vector>

namespace KzHost {

/// The completions of the word that ends a line: global names, the entries of tables, and fields and methods
/// of values. After the name of a kind ("document:") its methods are meant. Ascending. Runs no Lua.
[[nodiscard]] std::vector<std::string> completions(lua_State* state, const std::string& word);

} // namespace KzHost
