#pragma once

#include "headless/call_list.h"
#include "headless/document.h"
#include "headless/module_call.h"
#include "headless/trace.h"
#include "host/documents.h"

#include <string>
#include <string_view>
#include <vector>

namespace Headless {

/// Keeps the open documents and tells its reactors about them. Reactors may open and close documents while
/// they are told; about a document that one of them has closed the others are not told any more.
class DocumentManager final : public KzApDocManager {
public:
    KzApDocument* open(std::u16string_view name, bool withDrawing);
    bool close(const KzApDocument* address);
    bool makeCurrent(const KzApDocument* address);
    void reportLockMode(const KzApDocument* address, const char16_t* command);

    [[nodiscard]] const std::vector<Document*>& documents() const { return open_; }
    /// The document at that address; null when none is open there.
    [[nodiscard]] Document* find(const KzApDocument* document) const;
    [[nodiscard]] Document* current() const { return current_; }

    [[nodiscard]] std::size_t reactorCount() const { return reactors_.size(); }
    template <class Predicate>
    void dropReactors(Predicate isUnwanted) {
        reactors_.removeIf(isUnwanted);
    }

    // What modules see.
    void addReactor(KzApDocManagerReactor* reactor) override;
    void removeReactor(KzApDocManagerReactor* reactor) override;
    [[nodiscard]] KzApDocument* currentDocument() const override;
    [[nodiscard]] KzApDocumentIterator* newDocumentIterator() const override;
    [[nodiscard]] std::int32_t busy(const KzApDocument* document) const override;

private:
    void takeOut(Document& document);
    void setCurrent(Document* document);
    [[nodiscard]] TraceEvent notificationEvent(const char* name, const std::u16string& document) const;

    /// Tells of a notification of that name about a document of that name.
    template <class Call>
    void tell(const char* notification, const std::u16string& document, Call call) {
        const TraceScope trace([&] { return notificationEvent(notification, document); });
        const ModuleCall guard;
        reactors_.callEach(call);
    }
    /// Tells about an open document, as long as it is open.
    template <class Call>
    void tellOf(const char* notification, const Document& document, Call call) {
        tell(notification, document.name(), [&](KzApDocManagerReactor* reactor) {
            if (find(&document) != nullptr) call(*reactor);
        });
    }

    std::vector<Document*> open_;   // in the order of opening
    std::vector<Document*> buried_; // closed ones, for their addresses
    Document* current_ = nullptr;
    CallList<KzApDocManagerReactor*> reactors_;
};

// Never destroyed, like all that modules may ask for until the process ends.
extern DocumentManager& documentManager;

} // namespace Headless
