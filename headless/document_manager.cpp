#include "headless/document_manager.h"

#include "headless/faults.h"
#include "headless/modules.h"
#include "headless/session.h"
#include "headless/trace.h"
#include "text/unicode.h"

#include <algorithm>

// Closed documents are poisoned (`Document::release`), which has no effect without the address sanitizer.
#if __has_include(<sanitizer/asan_interface.h>)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) // NOLINT(readability-identifier-naming)
#endif

namespace Headless {

DocumentManager& documentManager = *new DocumentManager;

namespace {

/// Iterates over a snapshot: the documents that were listed when the iterator was created, without those
/// that were closed since.
class DocumentIterator final : public KzApDocumentIterator {
public:
    explicit DocumentIterator(const std::vector<Document*>& documents) {
        for (Document* const each : documents) {
            if (each->state.isListed) documents_.push_back(each);
        }
    }

    [[nodiscard]] bool done() const override { return position() >= documents_.size(); }
    [[nodiscard]] KzApDocument* document() const override {
        return done() ? nullptr : documents_[position()];
    }
    void step() override { at_ = position() + 1; }

private:
    /// Skips closed documents at each query, because a document may be closed between two queries.
    [[nodiscard]] std::size_t position() const {
        std::size_t at = at_;
        while (at < documents_.size() && findDocument(documents_[at]) == nullptr) ++at;
        return at;
    }

    std::vector<Document*> documents_;
    std::size_t at_ = 0;
};

std::string inWords(std::u16string_view documentName) {
    return "document \"" + Text::toUtf8(documentName) + "\"";
}

/// Calls `call(reactor)` for each reactor of the document manager. `notification` and `document` are for
/// traces.
template <class Call>
void notify(const char* notification, const std::u16string& document, Call call) {
    const TraceScope trace([&]() -> TraceEvent {
        const auto reactors = static_cast<std::int64_t>(documentManager.reactors.size());
        return {TraceCategory::notification, notification, inWords(document), {{"reactors", reactors}}};
    });
    const ModuleCall guard;
    documentManager.reactors.callEach(call);
}

/// The same for an open document. If a reactor closes the document, the remaining reactors are skipped.
template <class Call>
void notifyOfOpen(const char* notification, const Document& document, Call call) {
    notify(notification, document.name, [&](KzApDocManagerReactor* reactor) {
        if (findDocument(&document) != nullptr) call(*reactor);
    });
}

void setCurrent(Document* document) {
    documentManager.current = document;
    if (document == nullptr) return;
    notifyOfOpen("documentBecameCurrent", *document,
                 [document](KzApDocManagerReactor& reactor) { reactor.documentBecameCurrent(document); });
}

/// Removes the document before another one becomes current, so that reactors only find open documents.
void removeFromOpen(Document& document) {
    std::vector<Document*>& open = documentManager.open;
    std::erase(open, &document);
    documentManager.closed.push_back(&document);
    if (documentManager.current == &document) setCurrent(open.empty() ? nullptr : open.back());
}

} // namespace

// ---- documents of the host

KzApDocument* openDocument(std::u16string_view name, bool withDrawing) {
    auto* const document = new Document(name, withDrawing); // never deleted: its address must not be reused
    notify("documentCreateStarted", document->name,
           [document](KzApDocManagerReactor* reactor) { reactor->documentCreateStarted(document); });
    documentManager.open.push_back(document);
    notifyOfOpen("onDocumentAdded", *document,
                 [document](KzApDocManagerReactor& reactor) { reactor.onDocumentAdded(document); });
    // If a reactor has closed the document, this has no effect, and the caller gets a closed document.
    makeCurrent(document);
    return document;
}

/// The document can be found until the reactors of its last object were notified. It is no longer current
/// when reactors are notified of its destruction.
bool closeDocument(KzApDocument* address) {
    Document* const document = findDocument(address);
    if (document == nullptr || document->isClosing) return false;
    if (document->drawing.has_value() && document->drawing->isBeingEdited()) return false;
    document->isClosing = true; // first: a reactor may try to close the document again
    notify("onDocumentRemoving", document->name,
           [document](KzApDocManagerReactor* reactor) { reactor->onDocumentRemoving(document); });
    if (document->drawing.has_value()) document->drawing->destroyObjects();
    removeFromOpen(*document);
    const std::u16string name = document->name; // a copy: the document releases its name
    document->release();
    notify("documentDestroyed", name,
           [&name](KzApDocManagerReactor* reactor) { reactor->documentDestroyed(name.c_str()); });
    return true;
}

std::vector<KzApDocument*> documents() {
    return {documentManager.open.begin(), documentManager.open.end()};
}

bool isOpen(const KzApDocument* document) {
    return findDocument(document) != nullptr;
}

std::u16string documentName(const KzApDocument* document) {
    const Document* const found = findDocument(document);
    return found != nullptr ? found->name : std::u16string();
}

KzApDocument* currentDocument() {
    return documentManager.current;
}

bool makeCurrent(KzApDocument* address) {
    Document* const document = findDocument(address);
    if (document != nullptr && document != documentManager.current) setCurrent(document);
    return document != nullptr;
}

DocumentState& documentState(const KzApDocument* document) {
    static DocumentState ofNone;
    Document* const found = findDocument(document);
    return found != nullptr ? found->state : ofNone = {};
}

/// Reads the mode for each reactor, because an earlier reactor may have changed it.
void reportLockMode(KzApDocument* address, const char16_t* command) {
    Document* const document = findDocument(address);
    if (document == nullptr) return;
    const TraceScope trace([&]() -> TraceEvent {
        const std::string name = command != nullptr ? Text::toUtf8(command) : "none";
        return {TraceCategory::message, "lock mode", inWords(document->name), {{"command", name}}};
    });
    notifyOfOpen("documentLockModeChanged", *document, [&](KzApDocManagerReactor& reactor) {
        const KzAp::DocLockMode mode = document->state.lockMode;
        reactor.documentLockModeChanged(document, mode, mode, mode, command);
    });
}

std::size_t managerReactorCount() {
    return documentManager.reactors.size();
}

Document* findDocument(const KzApDocument* address) {
    const std::vector<Document*>& open = documentManager.open;
    const auto found = std::find(open.begin(), open.end(), address);
    return found != open.end() ? *found : nullptr;
}

Drawing* drawingOf(const KzApDocument* document) {
    Document* const found = findDocument(document);
    return found != nullptr && found->drawing.has_value() ? &*found->drawing : nullptr;
}

// ---- what modules see

/// The host's interface returns a non-const drawing from a const document.
KzDbDatabase* Document::database() const {
    if (!drawing.has_value() || shouldFail(HostCall::drawing)) return nullptr;
    return const_cast<Drawing*>(&*drawing);
}

KzAp::DocLockMode Document::lockMode(bool flag) const {
    return checkUsage(!flag, "lockMode with true") ? state.lockMode : KzAp::DocLockMode{-1};
}

void Document::release() {
    drawing.reset();
    name.clear();
    name.shrink_to_fit(); // frees a long name, because no destructor will run
    ASAN_POISON_MEMORY_REGION(this, sizeof(Document));
}

void DocumentManager::addReactor(KzApDocManagerReactor* reactor) {
    if (!checkUsage(reactor != nullptr, "addReactor of the document manager with null")) return;
    // Now, while the reactor exists: it may be destroyed without being unregistered before its library is
    // closed.
    addReactorCode(reactor);
    reactors.add(reactor);
}

void DocumentManager::removeReactor(KzApDocManagerReactor* reactor) {
    if (!checkUsage(reactor != nullptr, "removeReactor of the document manager with null")) return;
    reactors.remove(reactor);
}

KzApDocument* DocumentManager::currentDocument() const {
    return shouldFail(HostCall::currentDocument) ? nullptr : current;
}

KzApDocumentIterator* DocumentManager::newDocumentIterator() const {
    return shouldFail(HostCall::documentIterator) ? nullptr : new DocumentIterator(open);
}

std::int32_t DocumentManager::busy(const KzApDocument* document) const {
    const Document* const found = findDocument(document);
    return checkUsage(found != nullptr, "busy for a document that is not open") ? found->state.busy : -1;
}

} // namespace Headless

KzApDocManager* kzDocManagerPtr() {
    using namespace Headless;
    return shouldFail(HostCall::manager) ? nullptr : &documentManager;
}
