// The operating system calls of the module on Windows: one system call per function.

#include "host/platform.h"

#include <windows.h>

#include <cstddef>

namespace {

using KzPlatform::Message;

// The filter receives the records of the system.
static_assert(sizeof(Message) == sizeof(MSG));
static_assert(offsetof(Message, window) == offsetof(MSG, hwnd));
static_assert(offsetof(Message, number) == offsetof(MSG, message));
static_assert(offsetof(Message, first) == offsetof(MSG, wParam));
static_assert(offsetof(Message, second) == offsetof(MSG, lParam));
static_assert(offsetof(Message, time) == offsetof(MSG, time));
static_assert(offsetof(Message, cursorX) == offsetof(MSG, pt));

/// The strings of the system are UTF-16 of another type.
const wchar_t* wide(const char16_t* text) {
    static_assert(sizeof(wchar_t) == sizeof(char16_t));
    return reinterpret_cast<const wchar_t*>(text);
}

HWND asSystemWindow(KzPlatform::Window window) {
    return static_cast<HWND>(window);
}

/// Stops the enumeration of the windows of a thread at the main window.
BOOL CALLBACK takeMainWindow(HWND window, LPARAM result) {
    const bool isMain = IsWindowVisible(window) != 0 && GetWindow(window, GW_OWNER) == nullptr;
    if (isMain) *reinterpret_cast<HWND*>(result) = window;
    return isMain ? FALSE : TRUE;
}

} // namespace

namespace KzPlatform {

std::uint32_t tickCount() {
    return GetTickCount();
}

Library loadLibrary(const char16_t* fileName) {
    return LoadLibraryW(wide(fileName));
}

void freeLibrary(Library library) {
    FreeLibrary(static_cast<HMODULE>(library));
}

std::uint32_t registerWindowMessage(const char16_t* name) {
    return RegisterWindowMessageW(wide(name));
}

/// The first visible top-level window of the thread without an owner: dialogs and tool windows have an owner.
Window mainWindow() {
    HWND result = nullptr;
    EnumThreadWindows(GetCurrentThreadId(), takeMainWindow, reinterpret_cast<LPARAM>(&result));
    return result;
}

bool postMessage(Window window, std::uint32_t number, std::uintptr_t first, std::intptr_t second) {
    return PostMessageW(asSystemWindow(window), number, first, second) != 0;
}

bool inputIsWaiting() {
    return GetInputState() != 0;
}

void messageBox(const char16_t* text, BoxStyle style, std::uint32_t helpContext) {
    MSGBOXPARAMSW box{};
    box.cbSize = sizeof box;
    box.hwndOwner = asSystemWindow(mainWindow());
    box.lpszText = wide(text);
    box.dwStyle = DWORD(style) | (helpContext != 0 ? MB_HELP : 0);
    box.dwContextHelpId = helpContext;
    MessageBoxIndirectW(&box);
}

} // namespace KzPlatform
