// Which openings share an object, and which calls of a module are refused.

#include "headless/modules.h"
#include "host/enhanced_block.h"
#include "host/services.h"
#include "host/symbol_utilities.h"
#include "tests/headless/recorder.h"

#include <memory>

using namespace Headless;
using KzDb::OpenMode;

namespace {

Orvo::ErrorStatus statusOf(KzDbObjectId id, OpenMode mode, bool openErased = false) {
    KzDbObject* object = nullptr;
    const Orvo::ErrorStatus status = kzdbOpenKzDbObject(object, id, mode, openErased);
    EXPECT_EQ(object != nullptr, status == Orvo::ok);
    if (object != nullptr) object->close();
    return status;
}

KzDbObject* opened(KzDbObjectId id, OpenMode mode) {
    KzDbObject* object = nullptr;
    EXPECT_EQ(kzdbOpenKzDbObject(object, id, mode, true), Orvo::ok);
    return object;
}

class Openings : public DrawingTest {
protected:
    KzDbObjectId reference = insert(space, block, {{u"A", u"a"}});
};

TEST_F(Openings, ReadersShareWriterExcludes) {
    for (const OpenMode first : {OpenMode::forRead, OpenMode::forNotify}) {
        KzDbObject* const object = opened(reference, first);
        EXPECT_EQ(statusOf(reference, OpenMode::forRead), Orvo::ok);
        EXPECT_EQ(statusOf(reference, OpenMode::forNotify), Orvo::ok);
        EXPECT_EQ(touch(reference).error, EditError::heldOpen);
        object->close();
    }
    Recorder onReference(log, "reference", reference);
    onReference.before = [&] { return touch(reference) || releaseHold(block) ? " free" : " held"; };
    EXPECT_TRUE(holdOpen(reference));
    EXPECT_THAT(heard(), testing::ElementsAre("reference opened held")) << "at once";
    for (const OpenMode mode : {OpenMode::forRead, OpenMode::forNotify}) {
        EXPECT_EQ(statusOf(reference, mode), Orvo::heldOpenForWrite);
    }
    EXPECT_EQ(touch(reference).error, EditError::heldOpen);
    EXPECT_EQ(holdOpen(reference).error, EditError::heldOpen);
    EXPECT_THAT(heard(), testing::IsEmpty());
    EXPECT_TRUE(releaseHold(reference));
    EXPECT_THAT(heard(), testing::ElementsAre("reference closed"));
    EXPECT_EQ(releaseHold(reference).error, EditError::notHeldOpen);
}

TEST_F(Openings, ErasedObjectsOpenWhenAllowed) {
    const KzDbObjectId attribute = attributeOf(reference, u"A");
    erase(space);
    EXPECT_TRUE(attribute.isEffectivelyErased() && !attribute.isErased());
    EXPECT_EQ(statusOf(attribute, OpenMode::forRead), Orvo::ok);
    EXPECT_EQ(statusOf(space, OpenMode::forRead), Orvo::wasErased);
    EXPECT_EQ(statusOf(space, OpenMode::forNotify, true), Orvo::ok);
    erase(space, false);
    EXPECT_FALSE(attribute.isEffectivelyErased());
}

TEST_F(Openings, UsageErrorsAreRefusedAndNoted) {
    struct Idle final : KzDbObjectReactor {
    } idle;
    const KzPlatform::Window window = KzPlatform::mainWindow();
    const std::uint32_t number = KzPlatform::registerWindowMessage(u"message");
    auto* const table =
        static_cast<KzDbBlockTable*>(opened(space.database()->blockTableId(), OpenMode::forRead));
    auto* const record = static_cast<KzDbBlockTableRecord*>(opened(block, OpenMode::forRead));
    auto* const placed = static_cast<KzDbBlockReference*>(opened(reference, OpenMode::forRead));
    KzDbBlockTableIterator* made = nullptr;
    ASSERT_EQ(table->newIterator(made, true, true), Orvo::ok);
    const std::unique_ptr<KzDbBlockTableIterator> records(made);
    const std::unique_ptr<KzDbObjectIterator> attributes(placed->attributeIterator());
    KzDbEvalGraph* graph = nullptr;
    KzDbObjectId id;
    KzDbObjectIdArray ids;
    const auto isRefused = [](Orvo::ErrorStatus status) { return status == Orvo::notProvidedFor; };
    const auto ends = [&](bool first, bool second) {
        records->start(true, true);
        records->step(first, second);
        return records->done();
    };
    const std::vector<std::pair<const char*, std::function<bool()>>> wrongCalls = {
        {"mode 1", [&] { return isRefused(statusOf(space, OpenMode{1})); }},
        {"references directly", [&] { return isRefused(record->getBlockReferenceIds(ids, false, true)); }},
        {"references loosely", [&] { return isRefused(record->getBlockReferenceIds(ids, true, false)); }},
        {"new iterator", [&] { return isRefused(table->newIterator(made, true, false)); }},
        {"start", [&] { return records->start(true, false), records->done(); }},
        {"step", [&] { return ends(true, false); }},
        {"erased name", [&] { return isRefused(table->getAt(u"B", id, true)); }},
        {"drawing", [&] { return record->xrefDatabase(true) == nullptr; }},
        {"attributes", [&] { return attributes->step(false, false), attributes->done(); }},
        {"lock mode", [&] { return document->lockMode(true) != KzAp::DocLockMode{0}; }},
        {"key", [&] { return isRefused(KzDbEvalGraph::getGraph(record, u"", graph, OpenMode::forRead)); }},
        {"reactor of what is read", [&] { return placed->addReactor(&idle), reactorCount(reference) == 0; }},
        {"a close too many", [&] { return placed->close() == Orvo::ok && isRefused(placed->close()); }},
        {"token", [&] { return !kzrxRegisterAppMDIAware(&idle); }},
        {"second parameter", [&] { return !KzPlatform::postMessage(window, number, 0, 1); }},
        {"unknown message", [&] { return !KzPlatform::postMessage(window, number + 1, 0, 0); }},
        {"style",
         [&] { return KzPlatform::messageBox(u"", KzPlatform::BoxStyle{0}, 0), shownBoxes().empty(); }},
        {"help",
         [&] { return KzPlatform::messageBox(u"", KzPlatform::BoxStyle::error, 1), shownBoxes().empty(); }},
    };
    for (const auto& [name, isCallRefused] : wrongCalls) {
        EXPECT_TRUE(isCallRefused()) << name;
        EXPECT_EQ(usageErrors().size(), 1U) << name;
        clearUsageErrors();
    }
    record->close();
    table->close();
}

TEST_F(Openings, RepresentationReferencesCarryTheProtocol) {
    enhance(block);
    const KzDbObjectId early = makeBlock(document, u"*E");
    const KzDbObjectId toEarly = insert(space, early);
    represent(block, early);
    const auto* const protocol = static_cast<KzDbBlockRepresentation*>(
        KzDbBlockReference::desc()->queryX(KzDbBlockRepresentation::desc()));
    KzDbObject* const plain = opened(reference, OpenMode::forRead);
    KzDbObject* const represented = opened(toEarly, OpenMode::forRead);
    EXPECT_EQ(plain->queryX(KzDbBlockRepresentation::desc()), nullptr);
    EXPECT_EQ(represented->queryX(KzDbBlockRepresentation::desc()), protocol);
    EXPECT_EQ(protocol->originalBlockTableRecord(static_cast<KzDbBlockReference*>(represented)), block);
    plain->close();
    represented->close();
    erase(early);
    KzDbObjectIdArray ids;
    EXPECT_EQ(protocol->getRepresentations(block, ids), Orvo::ok);
    EXPECT_THAT(std::vector(ids.begin(), ids.end()), testing::ElementsAre(early)) << "erased ones too";
    EXPECT_EQ(represent(makeBlock(document, u"C"), early).error, EditError::notEnhanced);
}

TEST_F(Openings, ModelSpaceIsFoundByName) {
    const auto* const services = KzDbSymbolUtilities::servicesPtr106();
    EXPECT_EQ(services->modelSpaceRecordId(document->database()), space);
    rename(space, u"other");
    EXPECT_TRUE(services->modelSpaceRecordId(document->database()).isNull());
    rename(block, u"*Model_Space");
    EXPECT_EQ(services->modelSpaceRecordId(document->database()), block);
}

TEST_F(Openings, AttachmentEndsWithItsDocument) {
    KzApDocument* const part = openDocument(u"part");
    auto* const record =
        static_cast<KzDbBlockTableRecord*>(opened(attach(document, part, u"P"), OpenMode::forRead));
    EXPECT_TRUE(record->isFromExternalReference() && !record->isDependent());
    EXPECT_EQ(record->xrefDatabase(false), part->database());
    closeDocument(part);
    EXPECT_FALSE(record->isFromExternalReference());
    EXPECT_EQ(record->xrefDatabase(false), nullptr);
    record->close();
}

} // namespace
