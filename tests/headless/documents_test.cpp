// What may close a document and what may not, and which filters are shown a message.

#include "tests/headless/recorder.h"

using namespace Headless;
using testing::ElementsAre;

namespace {

/// Notes notifications of the document manager under a name, and may close what is added.
class Listener final : public KzApDocManagerReactor {
public:
    Listener(Log& log, std::string name, bool closes) : log_(log), name_(std::move(name)), closes_(closes) {
        kzDocManagerPtr()->addReactor(this);
    }
    ~Listener() override { kzDocManagerPtr()->removeReactor(this); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    void onDocumentAdded(KzApDocument* document) override {
        log_.push_back(name_ + " added");
        if (closes_) closeDocument(document);
    }
    void onDocumentRemoving(KzApDocument* document) override {
        log_.push_back(name_ + (isOpen(document) && !closeDocument(document) ? " removing" : " closed"));
    }
    void documentDestroyed(const char16_t*) override { log_.push_back(name_ + " destroyed"); }

private:
    Log& log_;
    std::string name_;
    bool closes_;
};

class Documents : public HostTest {};

TEST_F(Documents, ClosedByListenerNotifiesNoOther) {
    const Listener first(log, "1", true);
    const Listener second(log, "2", false);
    KzApDocument* const document = openDocument(u"a");
    EXPECT_THAT(heard(), ElementsAre("1 added", "1 removing", "2 removing", "1 destroyed", "2 destroyed"));
    EXPECT_EQ(currentDocument(), nullptr);
    EXPECT_NE(openDocument(u"a"), document) << "no address is used twice";
}

TEST_F(Documents, NotClosedDuringEditOrAttachment) {
    KzApDocument* const document = openDocument(u"a");
    KzApDocument* const house = openDocument(u"house");
    Recorder onSpace(log, "space", modelSpace(document));
    Recorder onTable(log, "table", house->database()->blockTableId());
    for (Recorder* const each : {&onSpace, &onTable})
        each->before = [&] { return closeDocument(document) ? " closes" : " refuses"; };
    touch(modelSpace(document));
    attach(house, document, u"part");
    EXPECT_THAT(heard(), ElementsAre("space opened refuses", "space modified refuses", "space closed",
                                     "table opened refuses", "table modified refuses", "table closed"));
    EXPECT_TRUE(closeDocument(document));
}

std::vector<std::uint32_t> seen;

int takeOdd(const KzPlatform::Message* message) {
    seen.push_back(message->number);
    if (message->number == 3) post(4, 0, 0); // while a filter runs
    return static_cast<int>(message->number % 2);
}

int seeRest(const KzPlatform::Message* message) {
    seen.push_back(message->number + 1000);
    return 0;
}

TEST_F(Documents, MessagesPassFiltersUntilTaken) {
    seen.clear();
    for (const auto filter : {takeOdd, takeOdd, seeRest}) EXPECT_EQ(kzedRegisterFilterWinMsg(filter), 1);
    for (const std::uint32_t number : {2U, 3U}) post(number, 0, 0);
    const PumpResult pumped = pump();
    EXPECT_THAT(seen, ElementsAre(2, 1002, 3, 4, 1004));
    EXPECT_EQ(pumped.dispatched, 3U);
    EXPECT_EQ(pumped.taken, 1U);
    EXPECT_EQ(kzedRemoveFilterWinMsg(takeOdd), 1);
    EXPECT_EQ(kzedRemoveFilterWinMsg(takeOdd), 0);
}

} // namespace
