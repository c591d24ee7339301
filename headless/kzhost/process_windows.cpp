#include "headless/kzhost/process.h"
#include "text/paths.h"

#include <windows.h>

#include <io.h>

#include <cstdio>
#include <filesystem>
#include <vector>

namespace KzHost {

namespace {

/// The system does not say how long the name is, only that it did not fit.
std::filesystem::path programFile() {
    std::vector<wchar_t> name(MAX_PATH);
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, name.data(), DWORD(name.size()));
        if (length < name.size()) return std::wstring(name.data(), length);
        name.resize(name.size() * 2); // it was cut off
    }
}

} // namespace

std::string programFolder() {
    return Text::fromPath(programFile().parent_path());
}

bool isInputTyped() {
    return _isatty(_fileno(stdin)) != 0;
}

} // namespace KzHost
