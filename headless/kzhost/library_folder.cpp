#include "headless/kzhost/library_folder.h"

#include "text/paths.h"

#include <filesystem>
#include <system_error>

namespace KzHost {

namespace {

bool hasModule(const std::filesystem::path& folder) {
    std::error_code unreadable; // counts as not there
    return std::filesystem::exists(folder / defaultModule, unreadable);
}

} // namespace

/// Beside the program wins: a build tree must not load what is installed. With the module in neither place
/// the program's folder is what messages name.
std::string libraryFolder(const std::string& program) {
    const auto folder = Text::toPath(program);
    const auto installed = (folder / KZHOST_MODULES).lexically_normal();
    return !hasModule(folder) && hasModule(installed) ? Text::fromPath(installed) : program;
}

} // namespace KzHost
