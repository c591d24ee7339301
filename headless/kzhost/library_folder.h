#pragma once

#include <string>

namespace KzHost {

/// The module that `host.load()` loads when it is told no other.
inline constexpr const char* defaultModule = "Zelvane.hmx";

/// Where modules and what they load are looked for: beside the program, as it is built, or else in the folder
/// of the installed modules, when the module lies there and not beside the program.
[[nodiscard]] std::string libraryFolder(const std::string& program);

} // namespace KzHost
