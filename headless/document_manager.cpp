#include "headless/document_manager.h"

#include "headless/facilities.h"
#include "headless/fault_gate.h"
#include "headless/mistakes.h"
#include "text/unicode.h"

#include <algorithm>

// Closed documents are poisoned where the address sanitizer is there to see it (`Document::bury`).
#if defined(__has_feature)
#define HAS_ADDRESS_SANITIZER __has_feature(address_sanitizer) // as clang says it
#elif defined(__SANITIZE_ADDRESS__)
#define HAS_ADDRESS_SANITIZER 1 // as gcc does
#else
#define HAS_ADDRESS_SANITIZER 0
#endif

#if HAS_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

namespace Headless {

DocumentManager& documentManager = *new DocumentManager;

namespace {

/// Iterator over a snapshot: the documents that were listed when it was made, without those closed since. A
/// document's address stays its own after the closing, so the copies can be looked up safely.
class DocumentIterator final : public KzApDocumentIterator {
public:
    explicit DocumentIterator(const std::vector<Document*>& documents) {
        for (Document* const each : documents) {
            if (each->isListed) documents_.push_back(each);
        }
    }

    [[nodiscard]] bool done() const override { return position() >= documents_.size(); }
    [[nodiscard]] KzApDocument* document() const override {
        return done() ? nullptr : documents_[position()];
    }
    void step() override { at_ = position() + 1; }

private:
    /// Passes the closed ones anew at each question: whoever iterates may close documents between two of
    /// them.
    [[nodiscard]] std::size_t position() const {
        std::size_t at = at_;
        while (at < documents_.size() && documentManager.find(documents_[at]) == nullptr) ++at;
        return at;
    }

    std::vector<Document*> documents_;
    std::size_t at_ = 0;
};

std::string inWords(std::u16string_view documentName) {
    return "document \"" + Text::toUtf8(documentName) + "\"";
}

/// What a trace says of a lock-mode change. `command` may be null.
TraceEvent lockModeEvent(const Document& document, const char16_t* command) {
    const std::string name = command != nullptr ? Text::toUtf8(command) : "none";
    return {TraceCategory::message, "lock mode", inWords(document.name()), {{"command", name}}};
}

} // namespace

/// The interface gives a drawing that is not const out of a const document.
KzDbDatabase* Document::database() const {
    return FaultGate::strikes(HostCall::drawing) ? nullptr : const_cast<Document*>(this)->drawing();
}

KzAp::DocLockMode Document::lockMode(bool flag) const {
    return isProvidedFor(!flag, "lockMode with true") ? lock : KzAp::DocLockMode{-1};
}

void Document::bury() {
    drawing_.reset();
    name_.clear();
    // The memory of a long name lies elsewhere and goes back now; the poisoned object is never destroyed.
    name_.shrink_to_fit();
#if HAS_ADDRESS_SANITIZER
    ASAN_POISON_MEMORY_REGION(this, sizeof(Document));
#endif
}

KzApDocument* DocumentManager::open(std::u16string_view name, bool withDrawing) {
    // Never deleted: it ends in `bury`, and its address stays taken.
    auto* const document = new Document(name, withDrawing);
    tell("documentCreateStarted", document->name(),
         [document](KzApDocManagerReactor* reactor) { reactor->documentCreateStarted(document); });
    // Only now is it open. Until here nobody could find it, so nobody could close it either.
    open_.push_back(document);
    tellOf("onDocumentAdded", *document,
           [document](KzApDocManagerReactor& reactor) { reactor.onDocumentAdded(document); });
    // A reactor may have closed it by now. Then nothing is made current, and the caller gets a closed
    // document, which is answered like any other address.
    makeCurrent(document);
    return document;
}

/// The document stays open, and can be looked up, until its last object has said goodbye. By the time its end
/// is told it is no longer current.
bool DocumentManager::close(const KzApDocument* address) {
    Document* const document = find(address);
    if (document == nullptr || document->isClosing) return false;
    if (document->drawing() != nullptr && document->drawing()->isBeingEdited()) return false;
    // Before anybody is told: a reactor may ask for the same closing again.
    document->isClosing = true;
    tell("onDocumentRemoving", document->name(),
         [document](KzApDocManagerReactor* reactor) { reactor->onDocumentRemoving(document); });
    if (Drawing* const drawing = document->drawing(); drawing != nullptr) drawing->takeLeave();
    takeOut(*document);
    // A copy, because the name goes with the document.
    const std::u16string name = document->name();
    document->bury();
    tell("documentDestroyed", name,
         [&name](KzApDocManagerReactor* reactor) { reactor->documentDestroyed(name.c_str()); });
    return true;
}

/// Out of the list before another one becomes current, so that whoever hears of that finds only open ones.
/// The document opened last among the others follows.
void DocumentManager::takeOut(Document& document) {
    std::erase(open_, &document);
    buried_.push_back(&document);
    if (current_ == &document) setCurrent(open_.empty() ? nullptr : open_.back());
}

bool DocumentManager::makeCurrent(const KzApDocument* address) {
    Document* const document = find(address);
    if (document == nullptr) return false;
    if (document != current_) setCurrent(document);
    return true;
}

void DocumentManager::setCurrent(Document* document) {
    current_ = document;
    if (document == nullptr) return;
    tellOf("documentBecameCurrent", *document,
           [document](KzApDocManagerReactor& reactor) { reactor.documentBecameCurrent(document); });
}

void DocumentManager::reportLockMode(const KzApDocument* address, const char16_t* command) {
    Document* const document = find(address);
    if (document == nullptr) return;
    const TraceScope trace([&] { return lockModeEvent(*document, command); });
    tellOf("documentLockModeChanged", *document, [&](KzApDocManagerReactor& reactor) {
        // Read for each reactor, when the document is known to be open: an earlier one may have set
        // it, or closed the document.
        const KzAp::DocLockMode mode = document->lock;
        reactor.documentLockModeChanged(document, mode, mode, mode, command);
    });
}

TraceEvent DocumentManager::notificationEvent(const char* name, const std::u16string& document) const {
    const auto reactors = static_cast<std::int64_t>(reactorCount());
    return {TraceCategory::notification, name, inWords(document), {{"reactors", reactors}}};
}

/// Compares addresses and reads nothing behind them, so that any pointer may be passed.
Document* DocumentManager::find(const KzApDocument* document) const {
    const auto found = std::find(open_.begin(), open_.end(), document);
    return found != open_.end() ? *found : nullptr;
}

void DocumentManager::addReactor(KzApDocManagerReactor* reactor) {
    if (!isProvidedFor(reactor != nullptr, "addReactor of the document manager with null")) return;
    // Now, while it certainly exists: when its library is closed it may be gone without having left.
    reactorOrigins.note(reactor);
    reactors_.add(reactor);
}

void DocumentManager::removeReactor(KzApDocManagerReactor* reactor) {
    if (!isProvidedFor(reactor != nullptr, "removeReactor of the document manager with null")) return;
    reactors_.remove(reactor);
}

KzApDocument* DocumentManager::currentDocument() const {
    return FaultGate::strikes(HostCall::currentDocument) ? nullptr : current_;
}

KzApDocumentIterator* DocumentManager::newDocumentIterator() const {
    // What is refused as a whole does not count as a call that could fail on demand.
    if (RefusedFacilities::include(Facility::iterator) || FaultGate::strikes(HostCall::documentIterator))
        return nullptr;
    return new DocumentIterator(open_);
}

std::int32_t DocumentManager::busy(const KzApDocument* document) const {
    const Document* const found = find(document);
    return isProvidedFor(found != nullptr, "busy about no open document") ? found->busyness : -1;
}

} // namespace Headless

KzApDocManager* kzDocManagerPtr() {
    using namespace Headless;
    const bool isRefused = RefusedFacilities::include(Facility::manager);
    return isRefused || FaultGate::strikes(HostCall::manager) ? nullptr : &documentManager;
}
