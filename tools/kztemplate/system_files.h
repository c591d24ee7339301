#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <system_error>

/// System-specific file operations: one source file per system.

/// Appends the content of standard input up to its end.
[[nodiscard]] std::error_code readStandardInput(std::string& result);

/// Writes the bytes unchanged, without converting line ends.
[[nodiscard]] std::error_code writeStandardOutput(std::span<const std::byte> bytes);

/// Replaces the content of a file atomically: a new file in the same folder is renamed. An existing file
/// keeps its permissions, and is not changed if it is write-protected; a symbolic link is followed, also to
/// a file that does not exist yet.
[[nodiscard]] std::error_code replaceFile(const std::filesystem::path& file,
                                          std::span<const std::byte> bytes);
