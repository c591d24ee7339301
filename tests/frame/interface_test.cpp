// Guards what others know by place or number instead of by name: the slots of virtual operations, the order
// of bases, the layout of arrays and the numbers of statuses.

#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "frame/application.h"
#include "host/object_reactor.h"
#include "tests/support/module_test.h"
#include "timers/cmd_line_hook.h"
#include "timers/external_client_timer_reactor.h"
#include "timers/timer.h"

#include <bit>
#include <cstring>
#include <numeric>

namespace {

/// The slot of a virtual operation: both of our compilers keep its offset in the table, plus one, in the
/// first word of the member pointer. The destructor takes the slots 0 and 1.
template <class Operation>
std::size_t slotOf(Operation operation) {
    struct Words {
        std::uintptr_t first;
        std::uintptr_t second;
    };
    return (std::bit_cast<Words>(operation).first - 1) / sizeof(void*);
}

/// Expects the operations in a row.
template <class... Operation>
void expectSlots(const char* name, std::size_t first, Operation... operations) {
    std::vector<std::size_t> expected(sizeof...(operations));
    std::iota(expected.begin(), expected.end(), first);
    EXPECT_EQ((std::vector<std::size_t>{slotOf(operations)...}), expected) << name;
}

// Where the operations of a class begin that come after those of its base.
constexpr std::size_t afterRoot = 8;           // KzRxObject
constexpr std::size_t afterObjectReactor = 20; // KzDbObjectReactor
constexpr std::size_t afterManagerReactor = afterRoot + 13;
constexpr std::size_t afterEnableBase = 4;
constexpr std::size_t afterNotifierBase = 6;

TEST(Slots, OfWhatTheHostCalls) {
    using Root = KzRxObject;
    expectSlots("KzRxObject", 2, &Root::isA, &Root::clone, &Root::copyFrom, &Root::isEqualTo,
                &Root::comparedTo, &Root::subQueryX);
    using Object = KzDbObjectReactor;
    expectSlots("KzDbObjectReactor", afterRoot, &Object::cancelled, &Object::copied, &Object::erased,
                &Object::goodbye, &Object::aboutToChange, &Object::modified, &Object::subObjModified,
                &Object::modifyUndone, &Object::modifiedXData, &Object::unappended, &Object::reappended,
                &Object::objectClosed);
    using Manager = KzApDocManagerReactor;
    expectSlots(
        "KzApDocManagerReactor", afterRoot, &Manager::documentCreateStarted, &Manager::onDocumentAdded,
        &Manager::onDocumentRemoving, &Manager::documentDestroyed, &Manager::onDocumentDiscarded,
        &Manager::documentLockModeWillChange, &Manager::documentLockModeChangeVetoed,
        &Manager::documentLockModeChanged, &Manager::documentBecameCurrent, &Manager::documentToBeActivated,
        &Manager::documentToBeDeactivated, &Manager::documentActivationModified, &Manager::documentActivated);
}

TEST(Slots, OfWhatTheModuleOffers) {
    using Enable = KzDxEnableBase;
    expectSlots("KzDxEnableBase", 2, &Enable::isEnabled, &Enable::setEnabled);
    using Notifier = KzDxNotifierBase<KzDxTimerReactor*>;
    expectSlots("KzDxNotifierBase", afterEnableBase, &Notifier::attach, &Notifier::detach);
    using Timer = KzDxTimer;
    expectSlots("KzDxTimer", afterNotifierBase, &Timer::fire, &Timer::restart, &Timer::isRepeating,
                &Timer::setRepeating, &Timer::checkElapsed, &Timer::interval, &Timer::setInterval);
    expectSlots("KzDxTimerReactor", 0, &KzDxTimerReactor::timerElapsed);
    using Document = KzDxDocument;
    expectSlots("KzDxDocument", afterEnableBase, &Document::blocks, &Document::timerAttach,
                &Document::database);
    using Data = AppDataT<KzDxDocument>;
    expectSlots("AppDataT", afterManagerReactor, &Data::docData, &Data::removeDocData, &Data::isAttached,
                &Data::setAttached, &Data::autoCreate, &Data::setAutoCreate, &Data::createAll,
                &Data::deleteAll, &Data::purge);
    using Graph = KzDxBlocks;
    expectSlots("KzDxBlocks", afterObjectReactor, &Graph::reset, &Graph::database, &Graph::countReferences,
                &Graph::countReferencesIn, &Graph::countReferencesInLayouts, &Graph::collectNestedBlocks,
                &Graph::getNestedBlocks, &Graph::scanBlockTable, &Graph::notifyClients,
                &Graph::propagateChanges, &Graph::update, &Graph::needsScan, &Graph::setNeedsScan,
                &Graph::hasChanges, &Graph::setHasChanges, &Graph::addClient, &Graph::removeClient,
                &Graph::getClients, &Graph::xrefBlockOf, &Graph::addBlockAlias, &Graph::init,
                &Graph::addBlock);
    using Node = KzDxBlock;
    expectSlots("KzDxBlock", afterObjectReactor, &Node::evaluate, &Node::refresh, &Node::containers,
                &Node::needsScan, &Node::setNeedsScan, &Node::hasChanges, &Node::setHasChanges,
                &Node::clients, &Node::addClient, &Node::removeClient);
}

/// Where the base subobject of class Base lies in an object of class T.
template <class Base, class T>
std::size_t offsetOf(T* object) {
    return static_cast<std::size_t>(reinterpret_cast<std::byte*>(static_cast<Base*>(object)) -
                                    reinterpret_cast<std::byte*>(object));
}

class Interface : public ModuleTest {
protected:
    KzApDocument* document = Headless::openDocument(u"document");
    KzDxDocument* record = KzDxApplication::instance()->docData(document, true);
};

TEST_F(Interface, TheBasesLieInTheirOrder) {
    KzDxApplication* const application = KzDxApplication::instance();
    EXPECT_EQ(offsetOf<AppDataT<KzDxDocument>>(application), 0U);
    EXPECT_GT(offsetOf<KzDxEnableBase>(application), 0U);
    KzDxBlocks* const graph = record->blocks();
    EXPECT_EQ(offsetOf<KzDbObjectReactor>(graph), 0U);
    EXPECT_LT(offsetOf<KzDxEnableBase>(graph), offsetOf<KzDxTimerReactor>(graph));
    KzDxTimer timer(&record->runningTimers(), 0);
    KzDxExternalClientTimerReactor reactor(&timer);
    EXPECT_EQ(offsetOf<KzDxNotifierBase<KzDxClientCallback>>(&reactor), 0U);
}

/// Physical, logical and grow length as they lie behind the pointer to the elements.
template <class T>
std::array<std::int32_t, 3> lengthsOf(const KzArray<T>& array) {
    static_assert(sizeof(array) == sizeof(void*) + 4 * sizeof(std::int32_t));
    std::array<std::int32_t, 3> lengths{};
    std::memcpy(lengths.data(), reinterpret_cast<const std::byte*>(&array) + sizeof(void*), sizeof(lengths));
    return lengths;
}

TEST(Array, GrowsByItsLengthThenByTheLargeStepOrTheGrowLength) {
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
    KzDxBlocks* const graph = record->blocks();
    KzDbObject* object = nullptr;
    const KzDbObjectId block = Headless::makeBlock(document, u"B");
    ASSERT_EQ(kzdbOpenKzDbObject(object, block, KzDb::OpenMode::forRead, false), 0);
    auto* const made = static_cast<KzDbBlockTableRecord*>(object);
    KzDxBlock* node = nullptr;
    ASSERT_EQ(graph->addBlock(node, made), 0);
    EXPECT_EQ(node->evaluate(KzDbObjectId()), 16);
    EXPECT_EQ(graph->addBlock(node, made), 260) << "has a node already";
    EXPECT_EQ(graph->addBlock(node, nullptr), 506);
    made->close();
    KzDxTimer timer(&record->runningTimers(), 0);
    EXPECT_EQ(timer.attach(nullptr), 506);
    EXPECT_EQ(graph->addClient(nullptr, {}), 506);
    Headless::refuse(Headless::HostCall::addFilter, true);
    KzDxCmdLineHook hook;
    EXPECT_EQ(hook.setEnabled(true), 431);
    Headless::refuse(Headless::HostCall::manager, true);
    EXPECT_EQ(KzDxApplication::instance()->setAttached(false), 506);
    Headless::refuse(Headless::HostCall::manager, false);
    Headless::refuse(Headless::HostCall::addFilter, false);
}

} // namespace
