#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// Paths as scripts and command lines name them: in UTF-8 on Windows, in whatever bytes they have elsewhere.
namespace Text {

/// Throws for bytes that no path of this system can be made of.
[[nodiscard]] std::filesystem::path toPath(std::string_view name);

/// The name with forward slashes. On Windows half a surrogate pair becomes U+FFFD.
[[nodiscard]] std::string fromPath(const std::filesystem::path& path);

} // namespace Text
