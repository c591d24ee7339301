// Guards what outside clients find in "zelvane/client.h": each function leads to the export of its name.

#include "headless/modules.h"
#include "tests/headless/recorder.h"
#include "zelvane/client.h"

using namespace Headless;

namespace {

TEST_F(DrawingTest, ClientHeaderLeadsToEachExport) {
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
        EXPECT_TRUE(records.length() == 1 && records[0] == table);
        EXPECT_TRUE(tables.length() == 1 && tables[0] == placed);

        static int calls = 0;
        const KzDxClientCallback client = [] { ++calls; };
        EXPECT_EQ(zelvane.kzdxBlockReferenceMonitorAttach(document, &records, client), 1);
        insert(space, table);
        EXPECT_EQ(zelvane.kzdxUpdateBlockGraph(document, false, true), 1);
        EXPECT_EQ(calls, 1);
        zelvane.kzdxBlockReferenceMonitorDetach(document, client);
        EXPECT_EQ(zelvane.kzdxDocTimerAttach(document, client, 0, 1), 1);
        insert(space, table);
        idle();
        EXPECT_EQ(calls, 2);

        std::vector<std::u16string> blocks{u"before"};
        std::vector<std::u16string> attributes{u"before"};
        zelvane.kzdxReadLegacyBlkTemplate(u"", blocks, attributes);
        EXPECT_TRUE(blocks.empty() && attributes.empty());
    }
    EXPECT_EQ(unloadModule(module), 0);
}

} // namespace
