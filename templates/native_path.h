#pragma once

#include <filesystem>
#include <string>

/// A path as this system names files. Throws when the system cannot express it, or memory has run out.
[[nodiscard]] std::filesystem::path kzdxNativePath(const std::u16string& path);
