// Guards what the kit does when memory runs out: whichever allocation is refused, once or from then on, no
// change is lost: the watch reports that it could not read, and the next update reports the change.

#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/modules.h"
#include "headless/session.h"
#include "tests/reliability/allocation_gate.h"
#include "zelvane/block_watch.h"

#include <gtest/gtest.h>

using namespace Headless;

namespace {

TEST(KitMemory, RefusedAllocationLosesNoChange) {
    loadModule(MODULE, FOLDER);
    for (const FaultSpan span : {FaultSpan::once, FaultSpan::fromThenOn}) {
        bool isRefused = true;
        for (std::size_t number = 1; isRefused; ++number) {
            KzApDocument* const document = openDocument(u"house");
            const KzDbObjectId door = makeBlock(document, u"Door");
            std::size_t added = 0;
            bool isComplete = true;
            const auto count = [&](const Zelvane::BlockChanges& changes) {
                isComplete = changes.isComplete();
                for (const Zelvane::BlockChange& change : changes) added += change.added.size();
            };
            Zelvane::BlockWatch watch;
            ASSERT_EQ(watch.attach(document, {door}, count), Zelvane::Status::ok);
            insert(modelSpace(document), door);
            reportLockMode(document, u"#");
            AllocationGate::refuse(number, span);
            pump();
            isRefused = AllocationGate::end() != 0;
            idle();
            const testing::Message what = testing::Message()
                                          << "allocation " << number
                                          << (span == FaultSpan::once ? "" : " and all after it");
            EXPECT_TRUE(added == 1 || !isComplete) << what;
            watch.update();
            EXPECT_EQ(added, 1U) << what;
            closeDocument(document);
        }
    }
    reset();
}

} // namespace
