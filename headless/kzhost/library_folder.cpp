#include "headless/kzhost/library_folder.h"

#include <filesystem>
#include <system_error>

namespace KzHost {

namespace {

bool hasModule(const std::filesystem::path& folder) {
    std::error_code unreadable; // counts as not there
    return std::filesystem::exists(folder / defaultModule, unreadable);
}

} // namespace

std::string libraryFolder(const std::string& program) {
    const auto installed = (std::filesystem::path(program) / KZHOST_MODULES).lexically_normal();
    return !hasModule(program) && hasModule(installed) ? installed.string() : program;
}

} // namespace KzHost
