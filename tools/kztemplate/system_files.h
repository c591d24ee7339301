#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <system_error>

/// What each system does with files in a way of its own: one source for each.

/// Appends everything up to the end of standard input.
[[nodiscard]] std::error_code readStandardInput(std::string& result);

/// Writes the bytes as they are, without ends of lines of the system's own.
[[nodiscard]] std::error_code writeStandardOutput(std::span<const std::byte> bytes);

/// Gives a file this content, whole or not at all: a new file in the same folder takes its name. One that was
/// there keeps its permissions, and is left alone when it may not be written; a symbolic link is followed,
/// also to a file that is not there yet.
[[nodiscard]] std::error_code replaceFile(const std::filesystem::path& file,
                                          std::span<const std::byte> bytes);
