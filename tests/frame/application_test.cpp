// Guards the records of the documents: when they are made and destroyed, and that one whose document closed
// unnoticed touches nothing that is gone and leaves nothing registered.

#include "blocks/block_graph.h"
#include "frame/application.h"
#include "tests/support/module_test.h"
#include "timers/idle_check.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace {

class Application : public ModuleTest {
protected:
    static KzDxApplication& application() { return *KzDxApplication::instance(); }
    static bool hasRecord(KzApDocument* document) {
        return application().docData(document, false) != nullptr;
    }
};

TEST_F(Application, RecordsFollowTheirDocuments) {
    KzApDocument* const first = Headless::openDocument(u"first");
    KzApDocument* const second = Headless::openDocument(u"second");
    KzApDocument* const unlisted = Headless::openDocument(u"unlisted");
    KzApDocument* const empty = Headless::openDocument(u"empty", false);
    EXPECT_TRUE(hasRecord(first) && hasRecord(second) && hasRecord(unlisted));
    EXPECT_FALSE(hasRecord(empty));
    EXPECT_EQ(application().docData(empty, true), nullptr);
    EXPECT_EQ(application().docData(nullptr, true), nullptr);
    EXPECT_EQ(application().docData(first, true), application().docData(first, true));
    ASSERT_EQ(watch(second, {Headless::modelSpace(second)}, TestClients::client(0)), 1);
    Headless::failHostCall(Headless::HostCall::openObject, 1, Headless::FaultSpan::once);
    EXPECT_TRUE(application().removeDocData(second));
    EXPECT_EQ(Headless::endFaults(), 1U);
    EXPECT_FALSE(KzDxDeferredDeletion::hasPending()) << "switched off first: the table is tried twice";
    EXPECT_NE(application().docData(second, true), nullptr);
    Headless::documentState(unlisted).isListed = false;
    Headless::closeDocument(first);
    EXPECT_FALSE(hasRecord(first));
    EXPECT_FALSE(hasRecord(unlisted)) << "a document that goes takes along the records of unlisted ones";
    EXPECT_FALSE(application().removeDocData(first));
    static_cast<KzApDocManagerReactor&>(application()).onDocumentDiscarded(second);
    EXPECT_FALSE(hasRecord(second));
}

TEST_F(Application, DisabledPostsNothing) {
    KzApDocument* const document = Headless::openDocument(u"document");
    EXPECT_EQ(Headless::idle().dispatched, 1U);
    KzDxDocument& data = *application().docData(document, true);
    ASSERT_EQ(watch(document, {Headless::modelSpace(document)}, TestClients::client(0)), 1);
    ASSERT_EQ(kzdxDocTimerAttach(document, TestClients::client(1), 1000, 1), 1);
    for (const bool enable : {false, true}) {
        EXPECT_EQ(data.setEnabled(enable), Orvo::ok);
        EXPECT_EQ(data.blocks()->isEnabled(), enable);
        EXPECT_EQ(data.runningTimers().size(), enable ? 2U : 0U);
        EXPECT_EQ(Headless::idle().dispatched, enable ? 1U : 0U) << "the record by itself";
    }
    EXPECT_EQ(application().setEnabled(false), Orvo::ok);
    EXPECT_TRUE(!hasRecord(document) && Headless::managerReactorCount() == 0);
    EXPECT_NE(application().docData(document, true), nullptr) << "attaches again, and stays switched off";
    EXPECT_TRUE(application().isAttached() && Headless::managerReactorCount() == 1);
    EXPECT_EQ(Headless::idle().dispatched, 0U);
}

TEST_F(Application, WithoutAutoCreateRecordsOnRequest) {
    KzApDocument* const document = Headless::openDocument(u"document");
    EXPECT_EQ(application().setAutoCreate(false), Orvo::ok);
    KzApDocument* const later = Headless::openDocument(u"later");
    ASSERT_EQ(kzdxDocTimerAttach(document, TestClients::client(1), 1000, 1), 1);
    kzdxPostIdleCheck(later);
    EXPECT_EQ(Headless::idle().dispatched, 1U);
    kzdxBlockReferenceMonitorDetach(later, TestClients::client(0));
    EXPECT_FALSE(hasRecord(later)) << "neither an idle check nor a client that leaves needs one";
    EXPECT_NE(application().docData(later, true), nullptr);
}

TEST_F(Application, WithoutDocumentManagerKeepsItsRecords) {
    KzApDocument* const document = Headless::openDocument(u"document");
    Headless::refuse(Headless::HostCall::manager, true);
    EXPECT_EQ(application().setAttached(false), Orvo::missingCollaborator);
    EXPECT_EQ(application().createAll(), Orvo::missingCollaborator);
    EXPECT_EQ(application().purge(), Orvo::missingCollaborator);
    EXPECT_TRUE(hasRecord(document));
    KzApDocument* const later = Headless::openDocument(u"later");
    EXPECT_NE(application().docData(later, true), nullptr);
    Headless::refuse(Headless::HostCall::manager, false);
    Headless::refuse(Headless::HostCall::documentIterator, true);
    EXPECT_EQ(kzdxUpdateBlockGraph(document, true, true), 1) << "open, though the host lists no documents";
    Headless::refuse(Headless::HostCall::documentIterator, false);
}

// The host has its document manager later than the module is loaded: it is attached to when data are asked
// for, and data whose documents may have closed meanwhile go without touching them.
TEST_F(Application, AttachesToALateDocumentManager) {
    for (const bool isListing : {true, false}) {
        ASSERT_EQ(unload(), KzRx::done);
        Headless::refuse(Headless::HostCall::manager, true);
        ASSERT_EQ(load(), KzRx::done);
        KzApDocument* const closed = Headless::openDocument(u"closed");
        KzApDocument* const other = Headless::openDocument(u"other");
        KzApDocument* const document = Headless::openDocument(u"document");
        const KzDbObjectId block = Headless::makeBlock(document, u"A");
        const KzDbObjectId inOther = Headless::makeBlock(other, u"A");
        ASSERT_EQ(watch(other, {inOther}, TestClients::client(2)), 1);
        ASSERT_EQ(watch(closed, {Headless::modelSpace(closed)}, TestClients::client(0)), 1);
        ASSERT_EQ(watch(document, {block}, TestClients::client(1)), 1);
        Headless::refuse(Headless::HostCall::manager, false);
        Headless::refuse(Headless::HostCall::documentIterator, !isListing);
        Headless::closeDocument(closed);
        kzdxBlockReferenceMonitorDetach(closed, TestClients::client(0));
        EXPECT_EQ(watch(document, {block}, TestClients::client(1)), 1);
        EXPECT_EQ(Headless::managerReactorCount(), 1U);
        ASSERT_TRUE(Headless::insert(Headless::modelSpace(document), block));
        Headless::idle();
        EXPECT_THAT(std::exchange(clients.calls, {}), testing::ElementsAre(1)) << isListing;
        Headless::refuse(Headless::HostCall::documentIterator, false);
        ASSERT_TRUE(Headless::insert(Headless::modelSpace(other), inOther));
        kzdxUpdateBlockGraph(other, false, true);
        EXPECT_EQ(std::exchange(clients.calls, {}).size(), isListing ? 1U : 0U);
        EXPECT_FALSE(hasRecord(closed));
    }
}

/// Data that note when they are destroyed, and whether they were told to forget their document.
struct LifetimeProbe {
    explicit LifetimeProbe(KzApDocument* given) : document(given) {}
    ~LifetimeProbe() { gone.emplace_back(document, hasForgotten); }
    LifetimeProbe(const LifetimeProbe&) = delete;
    LifetimeProbe& operator=(const LifetimeProbe&) = delete;
    void forgetDocument() { hasForgotten = true; }

    KzApDocument* document;
    bool hasForgotten = false;
    static inline std::vector<std::pair<KzApDocument*, bool>> gone;
};

TEST_F(Application, DataGoInDocumentOrder) {
    std::vector<KzApDocument*> documents;
    while (documents.size() < 6) documents.push_back(Headless::openDocument(u"document"));
    std::ranges::sort(documents, std::less<>());
    AppDataT<LifetimeProbe> data;
    const auto gone = [&] { // by number, with a mark for those that have forgotten their document
        data.deleteAll();
        std::string text;
        for (const auto& [document, hasForgotten] : std::exchange(LifetimeProbe::gone, {})) {
            text += std::to_string(std::ranges::find(documents, document) - documents.begin());
            if (hasForgotten) text += '!';
        }
        for (KzApDocument* const document : documents) data.docData(document, true);
        LifetimeProbe::gone.clear(); // of a document that is not listed
        return text;
    };
    EXPECT_EQ(gone(), "");
    EXPECT_EQ(gone(), "012345");
    Headless::documentState(documents[4]).isListed = false;
    EXPECT_EQ(gone(), "4!01235");
    Headless::refuse(Headless::HostCall::documentIterator, true);
    Headless::documentState(documents[4]).isListed = true;
    EXPECT_EQ(gone(), "0!1!2!3!5!") << "the host lists no documents";
    EXPECT_EQ(gone(), "0!1!2!3!4!5!");
    Headless::refuse(Headless::HostCall::documentIterator, false);
}

TEST_F(Application, EntryPointTakesAnyOrder) {
    EXPECT_EQ(kzrxEntryPoint(7, nullptr), KzRx::done);
    EXPECT_EQ(load(), KzRx::loadFailed) << "loaded already";
    const KzDxApplication* const running = KzDxApplication::instance();
    EXPECT_EQ(load(), KzRx::loadFailed);
    EXPECT_EQ(KzDxApplication::instance(), running);
    Headless::failHostCall(Headless::HostCall::loadLibrary, 1, Headless::FaultSpan::once);
    EXPECT_EQ(load(), KzRx::loadFailed);
    EXPECT_EQ(Headless::endFaults(), 1U);
    ASSERT_EQ(Headless::shownBoxes().size(), 1U) << "the library is asked for before the service";
    EXPECT_EQ(Headless::shownBoxes()[0].text, u"Unable to load resource DLL: ZelvaneRes.dll");
    EXPECT_EQ(static_cast<int>(Headless::shownBoxes()[0].style), 16);
    EXPECT_THAT(Headless::services(), testing::ElementsAre(u"Zelvane"));
    EXPECT_EQ(Headless::managerReactorCount(), 1U);
    EXPECT_EQ(Headless::filterCount(), 0U) << "no timer runs yet";
    EXPECT_EQ(unload(), KzRx::done);
    EXPECT_EQ(Headless::loadedLibraryCount(), 0U) << "each load that found it is given back";
    EXPECT_EQ(unload(), KzRx::done);
    EXPECT_EQ(KzDxApplication::instance(), nullptr);
    KzApDocument* const document = Headless::openDocument(u"unknown");
    KzDbObjectIdArray ids;
    EXPECT_EQ(kzdxUpdateBlockGraph(document, true, true), 0);
    EXPECT_EQ(kzdxDocTimerAttach(document, TestClients::client(0), 0, 1), 0);
    EXPECT_EQ(kzdxGetKzDbTableIds(document, &ids), 0);
    kzdxBlockReferenceMonitorDetach(document, TestClients::client(0));
    EXPECT_EQ(load(), KzRx::done);
    EXPECT_TRUE(hasRecord(document));
}

} // namespace
