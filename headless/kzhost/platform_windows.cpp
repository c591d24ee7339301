#include "headless/kzhost/platform.h"
#include "headless/kzhost/script_call.h"
#include "text/paths.h"

#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <vector>

namespace KzHost {

namespace {

/// The system handles the crash afterwards.
LONG WINAPI onCrash(EXCEPTION_POINTERS* /*what*/) {
    if (const char* const client = runningClient()) {
        std::fprintf(stderr, "kzhost: crashed in the client %s\n", client);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

std::string programFolder() {
    std::vector<wchar_t> name(MAX_PATH);
    // The system does not return the length of the name if the buffer is too small.
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, name.data(), DWORD(name.size()));
        if (length < name.size()) {
            return Text::fromPath(std::filesystem::path(std::wstring(name.data(), length)).parent_path());
        }
        name.resize(name.size() * 2);
    }
}

/// False, because there is no prompt on Windows.
bool isInputTyped() {
    return false;
}

void handleSignals() {
    SetUnhandledExceptionFilter(onCrash);
}

} // namespace KzHost
