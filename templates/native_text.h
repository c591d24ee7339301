#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// Text in the system's encoding; implemented once per system.

/// A path in the encoding of this system. Throws if the path cannot be expressed, or out of memory.
[[nodiscard]] std::filesystem::path kzdxNativePath(const std::u16string& path);

/// Converts text in the system's single-byte encoding to UTF-16: on Windows its ANSI code page, some of which
/// use several bytes per character; elsewhere code page 1252. Throws if out of memory.
[[nodiscard]] std::u16string kzdxFromSystemCodePage(std::string_view bytes);
