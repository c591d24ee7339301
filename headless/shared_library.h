#pragma once

#include "headless/export.h"

#include <string>

/// The system's loader of shared libraries: one source for each system. Paths are UTF-8.
namespace Headless {

/// An open library; null when there is none. Each opening is given back by one `closeLibrary`.
using LibraryHandle = void*;

struct OpenedLibrary {
    LibraryHandle handle = nullptr;
    std::string failure = {}; ///< why it could not be opened, in the system's words
};

/// Opens a file. A bare file name means the one in the working folder, not one of the system's libraries.
[[nodiscard]] OpenedLibrary openLibraryFile(const std::string& path);
/// Opens a library that is looked for by its name in the system's search order. Null when none is found.
[[nodiscard]] LibraryHandle openLibraryByName(const std::string& name);
/// The library leaves the process with its last opening.
void closeLibrary(LibraryHandle library);

/// The address of an exported symbol; null when there is none of that name.
[[nodiscard]] void* librarySymbol(LibraryHandle library, const char* name);

/// A value that is the same for all addresses of one library. Null for an address in none.
[[nodiscard]] const void* libraryContaining(const void* address);

/// Whether a file is open as a library in this process. Opens nothing.
[[nodiscard]] HEADLESS_API bool isLibraryOpen(const std::string& path);

} // namespace Headless
