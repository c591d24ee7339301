#pragma once

/// @file
/// The open documents, and reactors that are notified of changes to them.

#include "host/platform_export.h"
#include "host/runtime_class.h"

#include <cstdint>

class KzDbDatabase;

/// Constants of documents.
namespace KzAp {

/// The lock mode of a document. The module compares it with 0 and 2; the values have no names here.
enum class DocLockMode : std::int32_t {};

} // namespace KzAp

/// A document that is open in the host, identified by its address.
///
///     KzApDocument* const document = Zelvane::currentDocument(); // of zelvane/drawing.h
///     if (document != nullptr && document->database() != nullptr) std::puts("there is a drawing");
class KzApDocument {
public:
    KzApDocument() = default;
    KzApDocument(const KzApDocument&) = delete;
    KzApDocument& operator=(const KzApDocument&) = delete;
    virtual ~KzApDocument() = default;

    /// The document's drawing; null if it has none.
    [[nodiscard]] virtual KzDbDatabase* database() const = 0;
    /// A yes/no state. The module runs a document's timers only while the answer is yes.
    [[nodiscard]] virtual bool isReady() const = 0;
    /// The document's lock mode. The module passes false.
    [[nodiscard]] virtual KzAp::DocLockMode lockMode(bool) const = 0;
};

/// Iterates over the open documents in the order of opening. Deleted by the caller that obtained it.
///
///     const std::unique_ptr<KzApDocumentIterator> each(kzDocManagerPtr()->newDocumentIterator());
///     for (; each != nullptr && !each->done(); each->step()) watch(each->document());
class KzApDocumentIterator {
public:
    KzApDocumentIterator() = default;
    KzApDocumentIterator(const KzApDocumentIterator&) = delete;
    KzApDocumentIterator& operator=(const KzApDocumentIterator&) = delete;
    virtual ~KzApDocumentIterator() = default;

    /// Whether the iterator is past the end; there is no current document then.
    [[nodiscard]] virtual bool done() const = 0;
    /// The current document.
    [[nodiscard]] virtual KzApDocument* document() const = 0;
    /// Goes to the next document.
    virtual void step() = 0;
};

/// Observer of the documents. The order of the operations is part of the host's interface; reserved
/// operations are not overridden by the module.
///
///     struct WatchNewDocuments : KzApDocManagerReactor {
///         void onDocumentAdded(KzApDocument* document) override { watch(document); }
///     };
class KzApDocManagerReactor : public KzRxObject {
public:
    virtual void documentCreateStarted(KzApDocument*) {} ///< reserved
    /// The document was created and is among the open documents.
    virtual void onDocumentAdded(KzApDocument*) {}
    /// The document is about to be destroyed; it and its drawing are still valid.
    virtual void onDocumentRemoving(KzApDocument*) {}
    /// A document was destroyed; only its file name is left.
    virtual void documentDestroyed(const char16_t* /*fileName*/) {}
    /// The document is discarded.
    virtual void onDocumentDiscarded(KzApDocument*) {}
    /// Reserved.
    /// @{
    virtual void documentLockModeWillChange(KzApDocument*, KzAp::DocLockMode, KzAp::DocLockMode,
                                            KzAp::DocLockMode, const char16_t* /*command*/) {}
    virtual void documentLockModeChangeVetoed(KzApDocument*, KzAp::DocLockMode, KzAp::DocLockMode,
                                              KzAp::DocLockMode, const char16_t* /*command*/) {}
    /// @}
    /// The document's lock mode has changed for a command, whose name may be null. The module uses the
    /// document and the name, but none of the three modes.
    virtual void documentLockModeChanged(KzApDocument*, KzAp::DocLockMode, KzAp::DocLockMode,
                                         KzAp::DocLockMode, const char16_t* /*command*/) {}
    /// Reserved.
    /// @{
    virtual void documentBecameCurrent(KzApDocument*) {}
    virtual void documentToBeActivated(KzApDocument*) {}
    virtual void documentToBeDeactivated(KzApDocument*) {}
    virtual void documentActivationModified(bool) {}
    virtual void documentActivated(KzApDocument*) {}
    /// @}
};

/// Owns the open documents. A client may query them, and may add a reactor of its own, which it removes
/// before it is unloaded.
///
///     KzApDocManager* const manager = kzDocManagerPtr();
///     if (manager != nullptr) manager->addReactor(&reactor);
class KzApDocManager {
public:
    KzApDocManager() = default;
    KzApDocManager(const KzApDocManager&) = delete;
    KzApDocManager& operator=(const KzApDocManager&) = delete;
    virtual ~KzApDocManager() = default;

    /// Reactors are not owned. Adding a reactor again has no effect; neither has removing a reactor that is
    /// not there.
    /// @{
    virtual void addReactor(KzApDocManagerReactor* reactor) = 0;
    virtual void removeReactor(KzApDocManagerReactor* reactor) = 0;
    /// @}

    /// The current document; null if none is open.
    [[nodiscard]] virtual KzApDocument* currentDocument() const = 0;
    /// An iterator over the open documents, which the caller deletes; null if the host provides none.
    [[nodiscard]] virtual KzApDocumentIterator* newDocumentIterator() const = 0;
    /// A whole number about a document. The module runs the document's timers only while it is 0.
    [[nodiscard]] virtual std::int32_t busy(const KzApDocument* document) const = 0;
};

/// The document manager; null if there is none.
[[nodiscard]] KZHOST_API KzApDocManager* kzDocManagerPtr();
