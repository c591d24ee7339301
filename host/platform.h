#pragma once

/// @file
/// The operating system functions that the module uses.

#include "host/platform_export.h"

#include <cstdint>

/// Everything that the module needs of the operating system. Implemented by the host; on the host's own
/// system each function is one call of that system. Wide strings are UTF-16 and end with a null.
/// Clients of the module do not call this: on that system it is part of the module.
namespace KzPlatform {

/// A window; null when there is none. Never dereferenced.
using Window = void*;
/// A loaded library; null when it could not be loaded.
using Library = void*;

/// A queued window message.
struct Message {
    Window window = nullptr;  ///< the window it was posted to
    std::uint32_t number = 0; ///< the kind of message, see `registerWindowMessage`
    std::uintptr_t first = 0; ///< a parameter
    std::intptr_t second = 0; ///< a parameter
    std::uint32_t time = 0;   ///< a time
    std::int32_t cursorX = 0; ///< the cursor position
    std::int32_t cursorY = 0; ///< the cursor position
};

/// The style of a message box.
enum class BoxStyle : std::uint32_t {
    error = 16, ///< error icon, one OK button
};

/// Milliseconds since the system started; wraps around after about 49.7 days.
[[nodiscard]] KZHOST_API std::uint32_t tickCount();

/// Loads a library by its bare file name, in the system's search order. Each load is balanced by one
/// `freeLibrary`.
/// @{
[[nodiscard]] KZHOST_API Library loadLibrary(const char16_t* fileName);
KZHOST_API void freeLibrary(Library library);
/// @}

/// The number of the message with that name. The same for the same name while the process lives; never 0.
[[nodiscard]] KZHOST_API std::uint32_t registerWindowMessage(const char16_t* name);

/// The main window of the main thread; null if there is none.
[[nodiscard]] KZHOST_API Window mainWindow();

/// Puts a message at the end of the queue. Returns false if that failed.
KZHOST_API bool postMessage(Window window, std::uint32_t number, std::uintptr_t first, std::intptr_t second);

/// Whether keyboard or mouse input is in the queue.
[[nodiscard]] KZHOST_API bool inputIsWaiting();

/// Shows a message box and waits until the user closes it. `helpContext` 0 means that there is no help.
KZHOST_API void messageBox(const char16_t* text, BoxStyle style, std::uint32_t helpContext);

} // namespace KzPlatform
