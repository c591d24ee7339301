#pragma once

/// @file
/// The functions of the operating system that the client kit uses.

#include <cstdint>

#if defined(_WIN32)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include "host/platform.h"

#include <dlfcn.h>
#include <link.h>
#endif

/// A loaded library of the process. Keeps the library in memory while the object exists.
class KzDxLoadedLibrary {
public:
    /// Finds a loaded library by its file name. Does not load one.
    explicit KzDxLoadedLibrary(const char* fileName) noexcept;
    KzDxLoadedLibrary(const KzDxLoadedLibrary&) = delete;
    KzDxLoadedLibrary& operator=(const KzDxLoadedLibrary&) = delete;
    ~KzDxLoadedLibrary();

    /// Whether the library was found.
    [[nodiscard]] bool isFound() const noexcept { return handle_ != nullptr; }
    /// The address of an exported function; null if there is none.
    template <class Function>
    [[nodiscard]] Function* function(const char* name) const noexcept;

private:
#if defined(_WIN32)
    HMODULE handle_ = nullptr;
#else
    void* handle_ = nullptr;
#endif
};

namespace Zelvane::detail {

/// The clock that the loaded Zelvane uses for intervals: milliseconds, with wrap-around.
[[nodiscard]] inline std::uint32_t tickCount();

/// A number that changes whenever a library is loaded or unloaded; always 0 if the system does not support
/// this.
[[nodiscard]] inline std::uint64_t libraryChanges();

/// Keeps the library that contains an address in memory until the process ends.
inline void keepLibraryOf(const void* address) noexcept;

} // namespace Zelvane::detail

#if defined(_WIN32)

/// The headless host, if it is the host of the process, has its own clock.
inline std::uint32_t Zelvane::detail::tickCount() {
    using TickCount = std::uint32_t();
    const KzDxLoadedLibrary headlessHost("kzheadless.dll");
    TickCount* const ticks =
        headlessHost.isFound() ? headlessHost.function<TickCount>("_ZN10KzPlatform9tickCountEv") : nullptr;
    return ticks != nullptr ? ticks() : GetTickCount();
}

inline std::uint64_t Zelvane::detail::libraryChanges() {
    return 0;
}

inline void Zelvane::detail::keepLibraryOf(const void* address) noexcept {
    HMODULE library = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       static_cast<const char*>(address), &library);
}

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

inline std::uint32_t Zelvane::detail::tickCount() {
    return KzPlatform::tickCount();
}

inline std::uint64_t Zelvane::detail::libraryChanges() {
    std::uint64_t changes = 0;
    const auto readFirst = [](dl_phdr_info* info, std::size_t /*size*/, void* result) {
        *static_cast<std::uint64_t*>(result) = info->dlpi_adds + info->dlpi_subs;
        return 1; // the numbers are the same for all libraries
    };
    dl_iterate_phdr(readFirst, &changes);
    return changes;
}

inline void Zelvane::detail::keepLibraryOf(const void* address) noexcept {
    Dl_info library;
    if (dladdr(address, &library) == 0) return;
    static_cast<void>(dlopen(library.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE));
}

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
