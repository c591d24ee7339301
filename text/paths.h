#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// Paths as in scripts and command lines: UTF-8 on Windows, raw bytes elsewhere.
namespace Text {

/// Throws for bytes that this system cannot convert to a path.
[[nodiscard]] std::filesystem::path toPath(std::string_view name);

/// The name with forward slashes. On Windows an unpaired surrogate becomes U+FFFD.
[[nodiscard]] std::string fromPath(const std::filesystem::path& path);

} // namespace Text
