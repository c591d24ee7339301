#include "headless/shared_library.h"

#include <dlfcn.h>

namespace Headless {

namespace {

/// A name with a slash, because the loader looks up other names in its search path.
std::string asPath(const std::string& path) {
    return path.find('/') == std::string::npos ? "./" + path : path;
}

} // namespace

/// Resolves all symbols immediately, so that a missing one is an error here and not a crash later. Symbols
/// are local, because all modules have exports of the same names.
OpenedLibrary openLibraryFile(const std::string& path) {
    void* const handle = dlopen(asPath(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle != nullptr) return {.handle = handle};
    return {.failure = dlerror()}; // a copy: valid until the next call
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

/// The base address of the library identifies it.
const void* libraryContaining(const void* address) {
    Dl_info info{};
    return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

bool isLibraryOpen(const std::string& path) {
    void* const handle = dlopen(asPath(path).c_str(), RTLD_NOW | RTLD_NOLOAD);
    // If the library was open, this call counts as another opening.
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
}

} // namespace Headless
