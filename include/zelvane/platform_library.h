#pragma once

/// @file
/// How each system finds a library that the process has loaded already; for `zelvane/client.h`.

#if defined(_WIN32)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <dlfcn.h>
#endif

/// A library of the process, kept in memory as long as this stands.
class KzDxLoadedLibrary {
public:
    /// Loads nothing: looks for a library with that file name among the loaded ones.
    explicit KzDxLoadedLibrary(const char* fileName) noexcept;
    KzDxLoadedLibrary(const KzDxLoadedLibrary&) = delete;
    KzDxLoadedLibrary& operator=(const KzDxLoadedLibrary&) = delete;
    ~KzDxLoadedLibrary();

    /// Whether it is there.
    [[nodiscard]] bool isFound() const noexcept { return handle_ != nullptr; }
    /// The address of an exported function; null when there is none.
    template <class Function>
    [[nodiscard]] Function* function(const char* name) const noexcept;

private:
#if defined(_WIN32)
    HMODULE handle_ = nullptr;
#else
    void* handle_ = nullptr;
#endif
};

#if defined(_WIN32)

inline KzDxLoadedLibrary::KzDxLoadedLibrary(const char* fileName) noexcept {
    GetModuleHandleExA(0, fileName, &handle_);
}

inline KzDxLoadedLibrary::~KzDxLoadedLibrary() {
    if (handle_ != nullptr) FreeLibrary(handle_);
}

template <class Function>
Function* KzDxLoadedLibrary::function(const char* name) const noexcept {
    void (*const found)() = reinterpret_cast<void (*)()>(GetProcAddress(handle_, name));
    return reinterpret_cast<Function*>(found);
}

#else

inline KzDxLoadedLibrary::KzDxLoadedLibrary(const char* fileName) noexcept
    : handle_(dlopen(fileName, RTLD_NOW | RTLD_NOLOAD)) {}

inline KzDxLoadedLibrary::~KzDxLoadedLibrary() {
    if (handle_ != nullptr) dlclose(handle_);
}

template <class Function>
Function* KzDxLoadedLibrary::function(const char* name) const noexcept {
    return reinterpret_cast<Function*>(dlsym(handle_, name));
}

#endif
