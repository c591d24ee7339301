#pragma once

#include "headless/export.h"

#include <string>

/// The system's loader of shared libraries. Each system has its own source file. Paths are UTF-8.
namespace Headless {

/// An open library; may be null. Each opening must be ended by one `closeLibrary`.
using LibraryHandle = void*;

struct OpenedLibrary {
    LibraryHandle handle = nullptr;
    std::string failure = {}; ///< the system's error message
};

/// Opens a file. A bare file name is looked up in the working folder, not in the system's search path.
[[nodiscard]] OpenedLibrary openLibraryFile(const std::string& path);
/// Opens a library by its name in the system's search path. Null if it is not found.
[[nodiscard]] LibraryHandle openLibraryByName(const std::string& name);
/// Ends one opening. The last one removes the library from the process.
void closeLibrary(LibraryHandle library);

/// The address of an exported symbol; null if there is none of that name.
[[nodiscard]] void* librarySymbol(LibraryHandle library, const char* name);

/// A value that is the same for all addresses in one library; null for an address in none.
[[nodiscard]] const void* libraryContaining(const void* address);

/// Whether a file is open as a library in this process. Does not open it.
[[nodiscard]] HEADLESS_API bool isLibraryOpen(const std::string& path);

} // namespace Headless
