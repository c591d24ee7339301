#include "text/paths.h"

#include "text/unicode.h"

#include <type_traits>

namespace Text {

std::filesystem::path toPath(std::string_view name) {
    return std::u8string(name.begin(), name.end()); // a std::string would be read in the system's code page
}

std::string fromPath(const std::filesystem::path& path) {
    if constexpr (std::is_same_v<std::filesystem::path::value_type, char>) {
        return path.string();
    } else {
        const std::wstring name = path.generic_wstring();
        return toUtf8(std::u16string(name.begin(), name.end()));
    }
}

} // namespace Text
