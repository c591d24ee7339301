#include "headless/shared_library.h"
#include "text/paths.h"
#include "text/unicode.h"

#include <windows.h>

#include <bit>
#include <filesystem>
#include <string_view>

namespace Headless {

namespace {

/// An absolute path with the system's separators, so that the loader does not use its search path.
std::wstring asPath(const std::string& path) {
    std::error_code error;
    return std::filesystem::absolute(Text::toPath(path), error).make_preferred().wstring();
}

/// The system's error message for the previous call, without the final full stop.
std::string lastFailure() {
    wchar_t text[512]; // NOLINT(modernize-avoid-c-arrays): a buffer for the system
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        GetLastError(), 0, text, DWORD(std::size(text)), nullptr);
    std::u16string message(text, text + length);
    message.erase(message.find_last_not_of(u" .\r\n") + 1);
    return Text::toUtf8(message);
}

HMODULE asModule(LibraryHandle library) {
    return static_cast<HMODULE>(library);
}

} // namespace

OpenedLibrary openLibraryFile(const std::string& path) {
    // The libraries that this one needs are looked up in its folder, then in the program's and the
    // system's.
    constexpr DWORD places = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS;
    const HMODULE module = LoadLibraryExW(asPath(path).c_str(), nullptr, places);
    if (module == nullptr) return {.failure = lastFailure()};
    return {.handle = module};
}

LibraryHandle openLibraryByName(const std::string& name) {
    return LoadLibraryW(Text::toPath(name).c_str());
}

void closeLibrary(LibraryHandle library) {
    FreeLibrary(asModule(library));
}

void* librarySymbol(LibraryHandle library, const char* name) {
    return std::bit_cast<void*>(GetProcAddress(asModule(library), name));
}

const void* libraryContaining(const void* address) {
    constexpr DWORD byAddress =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE module = nullptr;
    return GetModuleHandleExW(byAddress, static_cast<const wchar_t*>(address), &module) != 0 ? module
                                                                                             : nullptr;
}

/// This call does not count as an opening.
bool isLibraryOpen(const std::string& path) {
    return GetModuleHandleW(asPath(path).c_str()) != nullptr;
}

} // namespace Headless
