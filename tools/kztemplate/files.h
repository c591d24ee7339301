#pragma once

#include "templates/byte_source.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <system_error>

/// Opens a file for reading; "-" is standard input, which is read to its end at once. Null: `error` says why.
[[nodiscard]] std::unique_ptr<KzDxByteSource> openInput(const std::string& name, std::error_code& error);

/// Everything that is left in the source.
[[nodiscard]] std::error_code readAll(KzDxByteSource& source, std::string& result);

/// Writes the bytes to a file; "-" is standard output. The file is written whole or not at all: into a new
/// file in the same folder, which then takes the name. A file that was there keeps its permissions; a
/// symbolic link is followed; what is not a regular file is refused.
[[nodiscard]] std::error_code writeOutput(const std::string& name, std::span<const std::byte> bytes);
