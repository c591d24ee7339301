#include "headless/shared_library.h"

#include <dlfcn.h>

namespace Headless {

namespace {

/// The loader searches for names without a slash.
std::string asPath(const std::string& path) {
    return path.find('/') == std::string::npos ? "./" + path : path;
}

} // namespace

/// All symbols are looked up at once, so that a missing one is an answer here and not a crash later. They are
/// kept local, because every module has exports of the same names.
OpenedLibrary openLibraryFile(const std::string& path) {
    void* const handle = dlopen(asPath(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle != nullptr) return {.handle = handle};
    return {.failure = dlerror()}; // copied: it is valid until the next call
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
