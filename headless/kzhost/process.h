#pragma once

#include <string>

namespace KzHost {

/// The folder in which the program lies.
[[nodiscard]] std::string programFolder();

/// Whether a person types what the program reads.
[[nodiscard]] bool isInputTyped();

} // namespace KzHost
