#pragma once

#include "headless/kzhost/script.h"

namespace KzHost {

/// Reads lines from the terminal, runs them and prints their values, until the end of input. A statement may
/// go over several lines. Errors are printed and end nothing. The tab key completes names.
void prompt(Session& session);

/// The completions of the word that ends a line: global names, the entries of tables, and fields and methods
/// of values. After the name of a kind ("document:") its methods are meant. Ascending.
[[nodiscard]] std::vector<std::string> completions(lua_State* state, const std::string& word);

/// A value as the prompt prints it: strings in quotes, tables with their entries.
[[nodiscard]] std::string readable(lua_State* state, int index);

} // namespace KzHost
