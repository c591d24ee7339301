#pragma once

#include <string>

namespace KzHost {

/// The reference of the command line and of the Lua interface, docs/kzhost.md. `usage` is what `--help`
/// prints.
[[nodiscard]] std::string referencePage(const std::string& usage);

/// Declarations of the Lua interface for the Lua language server, so that an editor completes and checks
/// scripts.
[[nodiscard]] std::string luaDeclarations();

} // namespace KzHost
