#include "templates/native_path.h"

/// File names are UTF-16 there, and half a surrogate pair is a legal name: nothing is converted.
std::filesystem::path kzdxNativePath(const std::u16string& path) {
    return std::wstring(path.begin(), path.end());
}
