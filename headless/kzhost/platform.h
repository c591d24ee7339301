#pragma once

#include <string>

/// What differs between operating systems.
namespace KzHost {

/// The folder of the program.
[[nodiscard]] std::string programFolder();

/// Whether a person types what the program reads, so that a prompt makes sense.
[[nodiscard]] bool isInputTyped();

/// From now on a crash prints the running client, if any, to standard error first, and writing to a closed
/// pipe fails instead of ending the process.
void handleSignals();

} // namespace KzHost
