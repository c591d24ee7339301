#include "tests/support/leftovers.h"

#include "headless/inspection.h"
#include "headless/modules.h"
#include "headless/session.h"

std::string leftoversInHost() {
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
    for (const std::string& mistake : Headless::mistakes()) found += "mistake: " + mistake + "; ";
    return found;
}
