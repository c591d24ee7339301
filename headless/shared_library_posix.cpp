#include "headless/shared_library.h"

#include <dlfcn.h>

namespace Headless {

namespace {

/// The loader searches for names without a slash.
std::string asPath(const std::string& path) {
    return path.find('/') == std::string::npos ? "./" + path : path;
}

} // namespace

OpenedLibrary openLibraryFile(const std::string& path) {
    void* const handle = dlopen(asPath(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) return {.failure = dlerror()};
    return {.handle = handle};
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

const void* libraryContaining(const void* address) {
    Dl_info info{};
    return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

bool isLibraryOpen(const std::string& path) {
    void* const handle = dlopen(asPath(path).c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
}

} // namespace Headless
