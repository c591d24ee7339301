#pragma once

#include "headless/inspection.h"
#include "headless/modules.h"
#include "headless/session.h"

#include <string>

/// What the host still holds that a module should have taken along when it was unloaded: filters, reactors,
/// services, libraries, opened objects; and what the module should not have passed to the host. Empty when
/// there is nothing.
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
