// Guards what outside clients find in "zelvane/client.h": each function leads to the export of its name.

#include "headless/modules.h"
#include "tests/headless/recorder.h"
#include "zelvane/client.h"

#include <array>

using namespace Headless;

namespace {

std::array<int, 2> calls;

template <std::size_t client>
void count() {
    ++calls[client];
}

std::vector<KzDbObjectId> listed(const KzDbObjectIdArray& ids) {
    return {ids.begin(), ids.end()};
}

TEST_F(DrawingTest, ClientHeaderLeadsToEachExport) {
    calls = {};
    EXPECT_FALSE(KzDxExports().isAvailable());
    const std::string folder = PROBE_FOLDER;
    const ModuleId module = loadModule(folder + "/Zelvane.hmx", folder).module;
    ASSERT_NE(module, ModuleId::none);
    const KzDbObjectId table = makeBlock(document, u"*T1");
    const KzDbObjectId placed = insert(space, table);
    {
        const KzDxExports zelvane;
        ASSERT_TRUE(zelvane.isAvailable());
        KzDbObjectIdArray records;
        KzDbObjectIdArray tables;
        EXPECT_EQ(zelvane.kzdxGetBlockRecordIdsOfKzDbTables(document, &records), 1);
        EXPECT_EQ(zelvane.kzdxGetKzDbTableIds(document, &tables), 1);
        EXPECT_THAT(listed(records), testing::ElementsAre(table));
        EXPECT_THAT(listed(tables), testing::ElementsAre(placed));

        EXPECT_EQ(zelvane.kzdxDocTimerAttach(document, &count<0>, 0, 1), 1);
        EXPECT_EQ(zelvane.kzdxBlockReferenceMonitorAttach(document, &records, &count<1>), 1);
        insert(space, table);
        idle();
        insert(space, table);
        EXPECT_EQ(zelvane.kzdxUpdateBlockGraph(document, false, true), 1);
        EXPECT_THAT(calls, testing::ElementsAre(1, 2));
        zelvane.kzdxBlockReferenceMonitorDetach(document, &count<1>);
        insert(space, table);
        idle();
        EXPECT_THAT(calls, testing::ElementsAre(2, 2));

        std::vector<std::u16string> blocks{u"before"};
        std::vector<std::u16string> attributes{u"before"};
        zelvane.kzdxReadLegacyBlkTemplate(u"", blocks, attributes);
        EXPECT_TRUE(blocks.empty() && attributes.empty());
    }
    EXPECT_EQ(unloadModule(module), 0);
}

} // namespace
