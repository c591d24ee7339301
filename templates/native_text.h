#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// Text whose encoding is the system's: one source for each system.

/// A path in the encoding of this system. Throws when the system cannot express it, or memory has run out.
[[nodiscard]] std::filesystem::path kzdxNativePath(const std::u16string& path);

/// Text in the system's single-byte encoding as UTF-16: on Windows its ANSI code page, of which some take
/// several bytes for a character; elsewhere code page 1252. Throws when memory has run out.
[[nodiscard]] std::u16string kzdxFromSystemCodePage(std::string_view bytes);
