#pragma once

#include "headless/inspection.h"
#include "headless/modules.h"
#include "headless/session.h"

#include <string>

/// What an unloaded module has left in the host, and what it passed wrongly. Empty if there is nothing.
[[nodiscard]] inline std::string leakedRegistrations() {
    std::string found;
    const auto expectNone = [&found](std::size_t count, const char* what) {
        if (count != 0) found += std::to_string(count) + ' ' + what + "; ";
    };
    expectNone(Headless::filterCount(), "message filters");
    expectNone(Headless::managerReactorCount(), "reactors of the document manager");
    expectNone(Headless::services().size(), "services");
    expectNone(Headless::loadedLibraryCount(), "loaded libraries");
    for (const KzApDocument* const document : Headless::documents()) {
        expectNone(Headless::reactorCountOf(document), "reactors of a drawing's objects");
        expectNone(Headless::openCountOf(document), "open objects of a drawing");
    }
    for (const std::string& each : Headless::usageErrors()) found += "usage error: " + each + "; ";
    return found;
}
