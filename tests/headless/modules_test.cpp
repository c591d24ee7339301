// Loading and unloading of extension modules: what is refused, and that nothing of a closed library is
// called.

#include "headless/modules.h"
#include "headless/shared_library.h"
#include "tests/headless/recorder.h"

using namespace Headless;

namespace {

const std::string folder = PROBE_FOLDER;
const std::string probe = folder + "/ProbeModule.hmx";

class Modules : public DrawingTest {
protected:
    void callEverything() {
        touch(space);
        reportLockMode(document, u"X");
        post(1, 0, 0);
        pump();
    }
};

TEST_F(Modules, RegistrationsDroppedBeforeLibraryCloses) {
    const ModuleId module = loadModule(probe, "").module;
    ASSERT_NE(module, ModuleId::none);
    EXPECT_EQ(filterCount() + managerReactorCount() + reactorCountOf(document), 3U);
    const Recorder another(log, "space", space);
    EXPECT_EQ(unloadModule(module), 5);
    EXPECT_FALSE(isLibraryOpen(probe));
    EXPECT_EQ(filterCount() + managerReactorCount(), 0U);
    EXPECT_EQ(reactorCountOf(document), 1U) << "the other reactor stays";
    callEverything();
    EXPECT_EQ(heard().size(), 3U);
    EXPECT_EQ(unloadModule(module), 0) << "it is not loaded any more";
}

TEST_F(Modules, LibraryStaysUntilItsCallReturns) {
    loadModule(probe, "");
    using SetCall = void (*)(void (*)());
    const auto setCall = reinterpret_cast<SetCall>(moduleExport(lastModule(), "probeSetCall"));
    setCall([] {
        EXPECT_EQ(unloadModule(lastModule()), 5);
        EXPECT_EQ(lastModule(), ModuleId::none);
        EXPECT_TRUE(isLibraryOpen(probe));
    });
    post(1, 0, 0);
    EXPECT_EQ(pump().taken, 1U); // the filter has returned into its own code
    EXPECT_FALSE(isLibraryOpen(probe));
    EXPECT_EQ(filterCount() + managerReactorCount() + reactorCountOf(document), 0U);
    callEverything();
}

TEST_F(Modules, NotUnloadedWhileObjectHeldOpen) {
    loadModule(probe, "");
    holdOpen(space);
    EXPECT_EQ(unloadModule(lastModule()), std::nullopt);
    EXPECT_EQ(filterCount(), 1U);
    releaseHold(space);
    EXPECT_EQ(unloadModule(lastModule()), 5);
}

} // namespace
