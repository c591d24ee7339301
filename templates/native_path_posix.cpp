#include "templates/native_path.h"

// The library converts it to UTF-8, and throws for half a surrogate pair, which has none.
std::filesystem::path kzdxNativePath(const std::u16string& path) {
    return path;
}
