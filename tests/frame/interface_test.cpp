// Guards the layout of arrays and the numbers of statuses. Slots and the order of bases: slots/slots_test.py.

#include "blocks/block_node.h"
#include "tests/support/graph_checks.h"
#include "tests/support/module_test.h"
#include "timers/cmd_line_hook.h"

#include <cstring>

namespace {

using Interface = ModuleTest;

/// Physical, logical and grow length as they follow the pointer to the elements.
template <class T>
std::array<std::int32_t, 3> lengthsOf(const KzArray<T>& array) {
    static_assert(sizeof(array) == sizeof(void*) + 4 * sizeof(std::int32_t));
    std::array<std::int32_t, 3> lengths{};
    std::memcpy(lengths.data(), reinterpret_cast<const std::byte*>(&array) + sizeof(void*), sizeof(lengths));
    return lengths;
}

TEST(Array, GrowsByLengthThenByStep) {
    struct Growth {
        std::int32_t growLength;
        std::vector<std::int32_t> physicalLengths; // one after the other, beginning with an empty array
    };
    const std::vector<Growth> all = {
        {8, {8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192, 16384, 24576}},
        {3, {3, 6, 12, 24, 48, 96, 192, 384, 768, 1536, 3072, 6144, 12288, 20480}},
        {5000, {5000, 10000, 18192, 26384}},
        {9000, {9000, 18000, 27000}},
    };
    for (const Growth& each : all) {
        KzArray<KzDbObjectId> array(0, each.growLength);
        for (const std::int32_t physical : each.physicalLengths) {
            const std::int32_t before = array.length();
            array.append(KzDbObjectId(1));
            EXPECT_THAT(lengthsOf(array), testing::ElementsAre(physical, before + 1, each.growLength));
            while (array.length() < physical) array.append(KzDbObjectId(1));
        }
    }
}

TEST_F(Interface, StatusesHaveTheirNumbers) {
    KzApDocument* const document = Headless::openDocument(u"document");
    KzDxBlocks& graph = graphOf(document);
    KzDbObject* object = nullptr;
    const KzDbObjectId block = Headless::makeBlock(document, u"B");
    ASSERT_EQ(kzdbOpenKzDbObject(object, block, KzDb::OpenMode::forRead, false), 0);
    auto* const made = static_cast<KzDbBlockTableRecord*>(object);
    KzDxBlock* node = nullptr;
    Headless::failHostCall(Headless::HostCall::references, 2, Headless::FaultSpan::once); // not the creation
    ASSERT_EQ(graph.addBlock(node, made), 0);
    EXPECT_TRUE(Headless::endFaults() == 1 && node->needsScan());
    EXPECT_EQ(node->evaluate(KzDbObjectId()), 16);
    EXPECT_EQ(graph.addBlock(node, made), 260) << "has a node already";
    EXPECT_EQ(graph.addBlock(node, nullptr), 506);
    made->close();
    Headless::refuse(Headless::HostCall::addFilter, true);
    KzDxCmdLineHook hook;
    EXPECT_EQ(hook.setEnabled(true), 431);
    Headless::refuse(Headless::HostCall::addFilter, false);
}

} // namespace
