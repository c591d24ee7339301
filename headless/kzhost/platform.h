#pragma once

#include <string>

/// Functions with an implementation for each operating system.
namespace KzHost {

/// The folder of the program.
[[nodiscard]] std::string programFolder();

/// Whether standard input is a terminal, so that a prompt is useful.
[[nodiscard]] bool isInputTyped();

/// Installs signal handlers: a crash prints the running client, if any, to standard error before the
/// process ends, and writing to a closed pipe fails instead of ending the process.
void handleSignals();

} // namespace KzHost
