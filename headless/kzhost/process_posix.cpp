#include "headless/kzhost/process.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace KzHost {

std::string programFolder() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    // Without the answer of the system the working folder is as good a guess as any.
    return error ? "." : program.parent_path().string();
}

bool isInputTyped() {
    return isatty(STDIN_FILENO) != 0;
}

} // namespace KzHost
