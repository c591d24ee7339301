// Documents: when the document manager notifies its reactors and what those may do; and the message loop.

#include "tests/headless/recorder.h"

using namespace Headless;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Notes notifications of the document manager under a name and may act during them.
class Listener final : public KzApDocManagerReactor {
public:
    Listener(Log& log, std::string name) : log_(log), name_(std::move(name)) {
        kzDocManagerPtr()->addReactor(this);
    }
    ~Listener() override { kzDocManagerPtr()->removeReactor(this); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    void onDocumentAdded(KzApDocument* document) override { hear("added", isOpen(document), document); }
    void onDocumentRemoving(KzApDocument* document) override { hear("removing", isOpen(document), document); }
    void documentDestroyed(const char16_t* name) override {
        hear("destroyed " + std::string(name, name + std::char_traits<char16_t>::length(name)), true,
             nullptr);
    }
    void documentLockModeChanged(KzApDocument* document, KzAp::DocLockMode, KzAp::DocLockMode,
                                 KzAp::DocLockMode, const char16_t* command) override {
        const std::u16string text = command != nullptr ? command : u"(null)";
        const std::string state = kzedCommandActive() != 0 ? " active" : "";
        hear("lock " + std::string(text.begin(), text.end()) + state, isOpen(document), document);
    }

    std::function<void(KzApDocument*)> act = [](KzApDocument*) {};

private:
    void hear(const std::string& what, bool isRight, KzApDocument* document) {
        log_.push_back(name_ + " " + what + (isRight ? "" : ", not open"));
        act(document);
    }

    Log& log_;
    std::string name_;
};

class Documents : public HostTest {};

TEST_F(Documents, ClosedByListenerNotifiesNoOther) {
    Listener first(log, "1");
    const Listener second(log, "2");
    first.act = [](KzApDocument* document) { closeDocument(document); };
    KzApDocument* const document = openDocument(u"a");
    EXPECT_FALSE(isOpen(document) || closeDocument(document));
    EXPECT_EQ(currentDocument(), nullptr);
    EXPECT_THAT(heard(), ElementsAre("1 added", "1 removing", "2 removing", "1 destroyed a", "2 destroyed a"))
        << "open while they come and go";
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

TEST_F(Documents, CommandActiveBetweenItsReports) {
    openDocument(u"a");
    const Listener listener(log, "1");
    KzApDocument* const document = beginCommand(u"MOVE");
    EXPECT_NE(kzedCommandActive(), 0);
    endCommand(document, u"MOVE");
    EXPECT_THAT(heard(), ElementsAre("1 lock MOVE", "1 lock #MOVE"));
    endCommand(beginCommand(u"CLOSE"), u"CLOSE");
    heard();
    KzApDocument* const closing = beginCommand(u"CLOSE");
    closeDocument(closing);
    heard();
    endCommand(closing, u"CLOSE");
    EXPECT_THAT(heard(), IsEmpty()) << "a closed document is not reported";
    EXPECT_EQ(kzedCommandActive(), 0);
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
    const Pumped pumped = pump();
    EXPECT_THAT(seen, ElementsAre(2, 1002, 3, 4, 1004));
    EXPECT_EQ(pumped.dispatched, 3U);
    EXPECT_EQ(pumped.taken, 1U);
    EXPECT_EQ(kzedRemoveFilterWinMsg(takeOdd), 1);
    EXPECT_EQ(kzedRemoveFilterWinMsg(takeOdd), 0);
}

} // namespace
