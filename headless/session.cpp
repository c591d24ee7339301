#include "headless/session.h"

#include "headless/dictionary.h"
#include "headless/document_manager.h"
#include "headless/facilities.h"
#include "headless/fault_gate.h"
#include "headless/inspection.h"
#include "headless/message_loop.h"
#include "headless/mistakes.h"
#include "headless/modules.h"

#include <cassert>

namespace Headless {

namespace {

/// Ends all holding without telling the reactors, unlike the edit of that name.
void letGoOfAll() {
    for (Document* const document : documentManager.documents()) {
        if (document->drawing() == nullptr) continue;
        document->drawing()->forEachObject([](Object& object) {
            if (object.isHeld()) object.letGo();
        });
    }
}

} // namespace

/// The order matters: faults and refusals end first, so that modules can leave everything; modules are
/// unloaded while their documents are still open, the latest first, because it may use an earlier one;
/// documents are closed before the reactors are dropped that have to hear of it.
void reset() {
    endFaults();
    forgetMistakes(); // first: what modules do wrong while they are unloaded is still to be seen
    RefusedFacilities::clear();
    if (heldOpenCount() != 0) letGoOfAll();
    assert(heldOpenCount() == 0); // else no module would be unloaded, and the loop below would not end
    while (lastModule() != ModuleId::none) static_cast<void>(unloadModule(lastModule()));
    while (!documentManager.documents().empty()) {
        if (!closeDocument(documentManager.documents().back())) break; // called from inside an edit after all
    }
    documentManager.dropReactors([](KzApDocManagerReactor*) { return true; });
    resetMessageLoop();
    resetRegistry();
}

KzApDocument* openDocument(std::u16string_view name, bool withDrawing) {
    return documentManager.open(name, withDrawing);
}

bool closeDocument(KzApDocument* document) {
    return documentManager.close(document);
}

std::vector<KzApDocument*> documents() {
    return {documentManager.documents().begin(), documentManager.documents().end()};
}

bool isOpen(const KzApDocument* document) {
    return documentManager.find(document) != nullptr;
}

std::u16string documentName(const KzApDocument* document) {
    const Document* const found = documentManager.find(document);
    return found != nullptr ? found->name() : std::u16string();
}

KzApDocument* currentDocument() {
    return documentManager.current();
}

bool makeCurrent(KzApDocument* document) {
    return documentManager.makeCurrent(document);
}

void setListed(KzApDocument* document, bool isListed) {
    if (Document* const found = documentManager.find(document)) found->isListed = isListed;
}

void setReady(KzApDocument* document, bool readiness) {
    if (Document* const found = documentManager.find(document)) found->readiness = readiness;
}

void setBusy(KzApDocument* document, std::int32_t number) {
    if (Document* const found = documentManager.find(document)) found->busyness = number;
}

void setLockMode(KzApDocument* document, KzAp::DocLockMode mode) {
    if (Document* const found = documentManager.find(document)) found->lock = mode;
}

bool isReady(const KzApDocument* document) {
    const Document* const found = documentManager.find(document);
    return found != nullptr && found->readiness;
}

std::int32_t busy(const KzApDocument* document) {
    const Document* const found = documentManager.find(document);
    return found != nullptr ? found->busyness : 0;
}

KzAp::DocLockMode lockMode(const KzApDocument* document) {
    const Document* const found = documentManager.find(document);
    return found != nullptr ? found->lock : KzAp::DocLockMode{};
}

void reportLockMode(KzApDocument* document, const char16_t* command) {
    documentManager.reportLockMode(document, command);
}

KzApDocument* beginCommand(const std::u16string& name) {
    KzApDocument* const document = currentDocument();
    if (document == nullptr) return nullptr;
    reportLockMode(document, name.c_str());
    // After the report: whoever hears it finds this command not active yet, as at its end not any more.
    ++messageLoop.activeCommands;
    return document;
}

void endCommand(KzApDocument* document, const std::u16string& name) {
    if (document == nullptr) return;
    // Before the report, and also when the document was closed meanwhile: its report then goes to nobody.
    --messageLoop.activeCommands;
    reportLockMode(document, (u"#" + name).c_str());
}

Pumped pump() {
    return messageLoop.pump();
}

bool showToFilters(const KzPlatform::Message& message) {
    return messageLoop.isTaken(message);
}

/// The report makes modules post what they want done at rest, and the pump brings it to them.
Pumped idle() {
    reportLockMode(currentDocument(), u"#idle");
    return pump();
}

void post(std::uint32_t number, std::uintptr_t first, std::intptr_t second) {
    messageLoop.post(number, first, second);
}

std::uint32_t ticks() {
    return messageLoop.ticks;
}

void setTicks(std::uint32_t value) {
    messageLoop.ticks = value;
}

void advance(std::uint32_t milliseconds) {
    messageLoop.ticks += milliseconds;
}

void setInputWaiting(bool isWaiting) {
    messageLoop.isInputWaiting = isWaiting;
}

const std::vector<ShownBox>& shownBoxes() {
    return messageLoop.boxes;
}

std::size_t filterCount() {
    return messageLoop.filters.size();
}

std::size_t loadedLibraryCount() {
    return messageLoop.libraries.size();
}

std::size_t managerReactorCount() {
    return documentManager.reactorCount();
}

void refuse(Facility what, bool isRefused) {
    RefusedFacilities::set(what, isRefused);
}

} // namespace Headless
