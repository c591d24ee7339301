#include "templates/native_path.h"

std::filesystem::path kzdxNativePath(const std::u16string& path) {
    return path;
}
