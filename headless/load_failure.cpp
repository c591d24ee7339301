#include "headless/load_failure.h"

#include "host/module_interface.h"
#include "text/paths.h"

#include <cstdio>
#include <filesystem>

namespace Headless {

namespace {

/// Versions are written this way wherever authors of modules meet them.
std::string inHexadecimal(std::uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", value);
    return text;
}

} // namespace

std::string describeUnopened(const std::string& path, const OpenedLibrary& refused) {
    std::error_code unreadable; // the system's own message says more then
    if (!std::filesystem::exists(Text::toPath(path), unreadable) && !unreadable)
        return "there is no such file";
    // Only some systems name the symbol.
    if (refused.missingSymbol.empty()) return "it cannot be opened as a library: " + refused.failure;
    return "it needs a symbol that neither the host nor a library has: " + refused.missingSymbol;
}

std::string describeMissingExport(const char* name) {
    return std::string("it is no module of this host: it does not export ") + name;
}

std::string describeOtherVersion(std::uint32_t version) {
    return "it was built for version " + inHexadecimal(version) + " of the interface, and this host has " +
           inHexadecimal(KzRx::apiVersion);
}

std::string describeRefusedLoad(std::int32_t answer, const std::vector<std::string>& notFound) {
    std::string text = "it refused: it answered its load message with " + std::to_string(answer);
    const char* separator = " after it had not found ";
    for (const std::string& each : notFound) {
        text += separator + each;
        separator = ", ";
    }
    return text;
}

} // namespace Headless
