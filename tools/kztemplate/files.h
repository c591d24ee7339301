#pragma once

#include "templates/byte_source.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <system_error>

/// Opens a file for reading; "-" is standard input, which is read completely. Returns null on failure, with
/// the reason in `error`.
[[nodiscard]] std::unique_ptr<KzDxByteSource> openInput(const std::string& name, std::error_code& error);

/// The remaining bytes of the source.
[[nodiscard]] std::error_code readAll(KzDxByteSource& source, std::string& result);

/// Writes the bytes to a file; "-" is standard output. The file is written atomically: a new file in the
/// same folder is renamed. An existing file keeps its permissions; a symbolic link is followed; only
/// regular files are written.
[[nodiscard]] std::error_code writeOutput(const std::string& name, std::span<const std::byte> bytes);
