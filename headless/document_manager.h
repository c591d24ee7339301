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

/// A document. Its memory is never freed, because modules identify documents by address: an address must
/// not be reused for another document.
class Document final : public KzApDocument {
public:
    Document(std::u16string_view documentName, bool withDrawing) : name(documentName) {
        if (withDrawing) drawing.emplace();
    }

    /// Releases the content of a closed document. From then on only its address may be used: the address
    /// sanitizer reports every access.
    void release();

    std::u16string name;
    std::optional<Drawing> drawing;
    DocumentState state;
    bool isClosing = false;

    // The interface for modules.
    [[nodiscard]] KzDbDatabase* database() const override;
    [[nodiscard]] bool isReady() const override { return state.isReady; }
    [[nodiscard]] KzAp::DocLockMode lockMode(bool flag) const override;
};

/// The document manager. Owns all documents, open and closed. Reactors may open and close documents while
/// they are notified; if a reactor closes a document, the remaining reactors are not notified of it.
class DocumentManager final : public KzApDocManager {
public:
    void addReactor(KzApDocManagerReactor* reactor) override;
    void removeReactor(KzApDocManagerReactor* reactor) override;
    [[nodiscard]] KzApDocument* currentDocument() const override;
    [[nodiscard]] KzApDocumentIterator* newDocumentIterator() const override;
    [[nodiscard]] std::int32_t busy(const KzApDocument* document) const override;

    std::vector<Document*> open;   ///< in the order of opening
    std::vector<Document*> closed; ///< kept so that their addresses are not reused
    Document* current = nullptr;
    Zelvane::CallList<KzApDocManagerReactor*> reactors;
};

// Never destroyed: modules may call until the process ends.
extern DocumentManager& documentManager;

/// The open document at the address; null if there is none. The address is compared, not dereferenced.
[[nodiscard]] Document* findDocument(const KzApDocument* address);

/// The drawing of an open document; null if there is none. Unlike `Document::database`, this cannot be made
/// to fail.
[[nodiscard]] Drawing* drawingOf(const KzApDocument* document);

} // namespace Headless
