#include "tests/support/module_test.h"

#include "tests/support/leftovers.h"

ModuleTest::ModuleTest() {
    Headless::reset();
    load();
}

ModuleTest::~ModuleTest() {
    unload();
    EXPECT_EQ(leftoversInHost(), "");
    Headless::reset();
}

std::int32_t ModuleTest::watch(KzApDocument* document, const std::vector<KzDbObjectId>& ids,
                               KzDxClientCallback client) {
    KzDbObjectIdArray array;
    for (const KzDbObjectId id : ids) array.append(id);
    return kzdxBlockReferenceMonitorAttach(document, &array, client);
}
