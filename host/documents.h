#pragma once

#include "host/export.h"
#include "host/runtime_class.h"

#include <cstdint>

class KzDbDatabase;

namespace KzAp {

/// What a command has reserved a document for. Modules compare with the two values that mean "nothing".
enum class DocLockMode : std::int32_t {
    none = 0,
    notLocked = 2,
};

} // namespace KzAp

/// A document that is open in the host. Known by its address.
class KzApDocument {
public:
    KzApDocument() = default;
    KzApDocument(const KzApDocument&) = delete;
    KzApDocument& operator=(const KzApDocument&) = delete;
    virtual ~KzApDocument() = default;

    /// The document's drawing; null when it has none.
    [[nodiscard]] virtual KzDbDatabase* database() const = 0;
    /// Whether the document is at rest.
    [[nodiscard]] virtual bool isQuiescent() const = 0;
    /// What the document is reserved for, with or without what the caller itself has reserved it for.
    [[nodiscard]] virtual KzAp::DocLockMode lockMode(bool includeMyLocks) const = 0;
};

/// Walks the open documents in the order of opening. Deleted by whoever asked for it.
class KzApDocumentIterator {
public:
    KzApDocumentIterator() = default;
    KzApDocumentIterator(const KzApDocumentIterator&) = delete;
    KzApDocumentIterator& operator=(const KzApDocumentIterator&) = delete;
    virtual ~KzApDocumentIterator() = default;

    [[nodiscard]] virtual bool done() const = 0;
    [[nodiscard]] virtual KzApDocument* document() const = 0;
    virtual void step() = 0;
};

/// Hears what happens to the documents; an operation without a comment tells what its name says. The order of
/// the operations is part of the host's interface.
class KzApDocManagerReactor : public KzRxObject {
public:
    virtual void documentCreateStarted(KzApDocument*) {}
    /// The document has come into being and is among the open ones.
    virtual void onDocumentAdded(KzApDocument*) {}
    /// The document is about to go; it and its drawing are still whole.
    virtual void onDocumentRemoving(KzApDocument*) {}
    virtual void documentDestroyed(const char16_t* /*fileName*/) {}
    /// The document is given up without having been shown.
    virtual void onDocumentDiscarded(KzApDocument*) {}
    virtual void documentLockModeWillChange(KzApDocument*, KzAp::DocLockMode, KzAp::DocLockMode,
                                            KzAp::DocLockMode, const char16_t* /*command*/) {}
    virtual void documentLockModeChangeVetoed(KzApDocument*, const char16_t* /*command*/) {}
    /// `command` may be null; a name that begins with "#" reports the end of a change.
    virtual void documentLockModeChanged(KzApDocument*, KzAp::DocLockMode /*myPrevious*/,
                                         KzAp::DocLockMode /*myCurrent*/, KzAp::DocLockMode /*current*/,
                                         const char16_t* /*command*/) {}
    virtual void documentBecameCurrent(KzApDocument*) {}
    virtual void documentToBeActivated(KzApDocument*) {}
    virtual void documentToBeDeactivated(KzApDocument*) {}
    virtual void documentActivationModified(bool) {}
    virtual void documentActivated(KzApDocument*) {}
};

/// Keeps the open documents.
class KzApDocManager {
public:
    KzApDocManager() = default;
    KzApDocManager(const KzApDocManager&) = delete;
    KzApDocManager& operator=(const KzApDocManager&) = delete;
    virtual ~KzApDocManager() = default;

    /// Reactors are borrowed. One that is added again is there once; removing one that is not there is no
    /// error.
    virtual void addReactor(KzApDocManagerReactor* reactor) = 0;
    virtual void removeReactor(KzApDocManagerReactor* reactor) = 0;

    /// The document that the user works in; null when none is open.
    [[nodiscard]] virtual KzApDocument* currentDocument() const = 0;
    /// An iterator over the open documents, which the caller deletes; null when the host has none to give.
    [[nodiscard]] virtual KzApDocumentIterator* newDocumentIterator() const = 0;
    /// How much input of the document still waits to be worked off.
    [[nodiscard]] virtual std::int32_t pendingInput(const KzApDocument* document) const = 0;
};

/// The document manager; null when there is none.
[[nodiscard]] KZHOST_API KzApDocManager* kzDocManagerPtr();
