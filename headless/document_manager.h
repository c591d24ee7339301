#pragma once

#include "headless/drawing.h"
#include "headless/session.h"
#include "host/documents.h"
#include "zelvane/call_list.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Headless {

/// A document. Its memory outlives it: modules know documents by address, so an address must not be used for
/// another document.
class Document final : public KzApDocument {
public:
    Document(std::u16string_view documentName, bool withDrawing) : name(documentName) {
        if (withDrawing) drawing.emplace();
    }

    /// Releases what the document holds. From now on only its address means something, and the address
    /// sanitizer reports every access.
    void release();

    std::u16string name;
    std::optional<Drawing> drawing;
    DocumentState state;
    bool isClosing = false;

    // What modules see.
    [[nodiscard]] KzDbDatabase* database() const override;
    [[nodiscard]] bool isReady() const override { return state.isReady; }
    [[nodiscard]] KzAp::DocLockMode lockMode(bool flag) const override;
};

/// What modules see of the open documents. Reactors may open and close documents while they are notified; the
/// other reactors are not notified of a document that one of them has closed.
class DocumentManager final : public KzApDocManager {
public:
    void addReactor(KzApDocManagerReactor* reactor) override;
    void removeReactor(KzApDocManagerReactor* reactor) override;
    [[nodiscard]] KzApDocument* currentDocument() const override;
    [[nodiscard]] KzApDocumentIterator* newDocumentIterator() const override;
    [[nodiscard]] std::int32_t busy(const KzApDocument* document) const override;

    std::vector<Document*> open;   ///< in the order of opening
    std::vector<Document*> closed; ///< their addresses stay taken
    Document* current = nullptr;
    Zelvane::CallList<KzApDocManagerReactor*> reactors;
};

// Never destroyed, like all that modules may ask for until the process ends.
extern DocumentManager& documentManager;

/// The document at that address; null if none is open there. Reads nothing at the address.
[[nodiscard]] Document* findDocument(const KzApDocument* address);

/// The drawing of an open document; null if there is none. Unlike `Document::database` it cannot be made to
/// fail.
[[nodiscard]] Drawing* drawingOf(const KzApDocument* document);

} // namespace Headless
