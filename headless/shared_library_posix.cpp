#include "headless/shared_library.h"

#include <cxxabi.h>
#include <dlfcn.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace Headless {

namespace {

/// The loader searches for names without a slash.
std::string asPath(const std::string& path) {
    return path.find('/') == std::string::npos ? "./" + path : path;
}

/// A symbol as the linker names it, and as the source does where that differs.
std::string describeSymbol(const std::string& symbol) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), &std::free);
    return readable != nullptr ? symbol + ", which is " + readable.get() : symbol;
}

/// The symbol that the loader has not found, when that is what it says. There is no other way to learn it
/// than the words of its message.
std::string missingSymbol(const std::string& failure) {
    constexpr std::string_view undefined = "undefined symbol: ";
    const std::size_t at = failure.find(undefined);
    return at == std::string::npos ? "" : describeSymbol(failure.substr(at + undefined.size()));
}

} // namespace

/// All symbols are looked up at once, so that a missing one is an answer here and not a crash later. They are
/// kept local, because every module has exports of the same names.
OpenedLibrary openLibraryFile(const std::string& path) {
    void* const handle = dlopen(asPath(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle != nullptr) return {.handle = handle};
    // Copied: the loader's text holds until the next call.
    const std::string failure = dlerror();
    return {.failure = failure, .missingSymbol = missingSymbol(failure)};
}

LibraryHandle openLibraryByName(const std::string& name) {
    return dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void closeLibrary(LibraryHandle library) {
    dlclose(library);
}

void* librarySymbol(LibraryHandle library, const char* name) {
    return dlsym(library, name);
}

/// The address at which the library begins stands for it.
const void* libraryContaining(const void* address) {
    Dl_info info{};
    return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

bool isLibraryOpen(const std::string& path) {
    void* const handle = dlopen(asPath(path).c_str(), RTLD_NOW | RTLD_NOLOAD);
    // The question has counted as an opening when it was open.
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
}

} // namespace Headless
