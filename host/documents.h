#pragma once

/// @file
/// The open documents, and who hears of them.

#include "host/platform_export.h"
#include "host/runtime_class.h"

#include <cstdint>

class KzDbDatabase;

/// What goes with documents.
namespace KzAp {

/// The lock mode of a document. The module compares it with the values 0 and 2; no value has a name here.
enum class DocLockMode : std::int32_t {};

} // namespace KzAp

/// A document that is open in the host. Known by its address.
///
///     KzApDocument* const document = Zelvane::currentDocument(); // of zelvane/drawing.h
///     if (document != nullptr && document->database() != nullptr) std::puts("there is a drawing");
class KzApDocument {
public:
    KzApDocument() = default;
    KzApDocument(const KzApDocument&) = delete;
    KzApDocument& operator=(const KzApDocument&) = delete;
    virtual ~KzApDocument() = default;

    /// The document's drawing; null when it has none.
    [[nodiscard]] virtual KzDbDatabase* database() const = 0;
    /// A yes/no state. The module runs a document's timers only while the answer is yes.
    [[nodiscard]] virtual bool isReady() const = 0;
    /// The document's lock mode. The module passes false.
    [[nodiscard]] virtual KzAp::DocLockMode lockMode(bool) const = 0;
};

/// Walks the open documents in the order of opening. Deleted by whoever asked for it.
///
///     const std::unique_ptr<KzApDocumentIterator> each(kzDocManagerPtr()->newDocumentIterator());
///     for (; each != nullptr && !each->done(); each->step()) watch(each->document());
class KzApDocumentIterator {
public:
    KzApDocumentIterator() = default;
    KzApDocumentIterator(const KzApDocumentIterator&) = delete;
    KzApDocumentIterator& operator=(const KzApDocumentIterator&) = delete;
    virtual ~KzApDocumentIterator() = default;

    /// Whether the walk has passed the end; there is no current document then.
    [[nodiscard]] virtual bool done() const = 0;
    /// The current document.
    [[nodiscard]] virtual KzApDocument* document() const = 0;
    /// Goes to the next document.
    virtual void step() = 0;
};

/// Hears what happens to the documents. The order of the operations is part of the host's interface; those
/// that are said to keep their slot are overridden by no module that is known here.
///
///     struct WatchNewDocuments : KzApDocManagerReactor {
///         void onDocumentAdded(KzApDocument* document) override { watch(document); }
///     };
class KzApDocManagerReactor : public KzRxObject {
public:
    virtual void documentCreateStarted(KzApDocument*) {} ///< keeps its slot
    /// The document has come into being and is among the open ones.
    virtual void onDocumentAdded(KzApDocument*) {}
    /// The document is about to go; it and its drawing are still whole.
    virtual void onDocumentRemoving(KzApDocument*) {}
    /// A document has gone; its file name is what is left of it.
    virtual void documentDestroyed(const char16_t* /*fileName*/) {}
    /// The document is discarded.
    virtual void onDocumentDiscarded(KzApDocument*) {}
    /// Keep their slots.
    /// @{
    virtual void documentLockModeWillChange(KzApDocument*, KzAp::DocLockMode, KzAp::DocLockMode,
                                            KzAp::DocLockMode, const char16_t* /*command*/) {}
    virtual void documentLockModeChangeVetoed(KzApDocument*, KzAp::DocLockMode, KzAp::DocLockMode,
                                              KzAp::DocLockMode, const char16_t* /*command*/) {}
    /// @}
    /// The document's lock mode has changed for a command, whose name may be null. The module looks at the
    /// document and at the name, and at none of the three modes.
    virtual void documentLockModeChanged(KzApDocument*, KzAp::DocLockMode, KzAp::DocLockMode,
                                         KzAp::DocLockMode, const char16_t* /*command*/) {}
    /// Keep their slots.
    /// @{
    virtual void documentBecameCurrent(KzApDocument*) {}
    virtual void documentToBeActivated(KzApDocument*) {}
    virtual void documentToBeDeactivated(KzApDocument*) {}
    virtual void documentActivationModified(bool) {}
    virtual void documentActivated(KzApDocument*) {}
    /// @}
};

/// Keeps the open documents. A client may ask it for them, and may add a reactor of its own, which it removes
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

    /// Reactors are borrowed. One that is added again is there once; removing one that is not there is no
    /// error.
    /// @{
    virtual void addReactor(KzApDocManagerReactor* reactor) = 0;
    virtual void removeReactor(KzApDocManagerReactor* reactor) = 0;
    /// @}

    /// The document that the user works in; null when none is open.
    [[nodiscard]] virtual KzApDocument* currentDocument() const = 0;
    /// An iterator over the open documents, which the caller deletes; null when the host has none to give.
    [[nodiscard]] virtual KzApDocumentIterator* newDocumentIterator() const = 0;
    /// A whole number about a document. The module runs the document's timers only while it is 0.
    [[nodiscard]] virtual std::int32_t busy(const KzApDocument* document) const = 0;
};

/// The document manager; null when there is none.
[[nodiscard]] KZHOST_API KzApDocManager* kzDocManagerPtr();
