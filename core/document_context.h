#pragma once

#include "core/call_set.h"
#include "host/documents.h"

class KzDxTimer;

/// What the parts of a document's data need of their document: its drawing, and the set of timers that its
/// idle checks examine. The parts borrow it, and do not outlive it in working order.
class KzDxDocumentContext {
public:
    explicit KzDxDocumentContext(KzApDocument* document) : document_(document) {}
    KzDxDocumentContext(const KzDxDocumentContext&) = delete;
    KzDxDocumentContext& operator=(const KzDxDocumentContext&) = delete;

    /// The document as it was given at construction; null once it has been forgotten.
    [[nodiscard]] KzApDocument* document() const { return document_; }

    /// Call this when the document is gone: it is not touched any more.
    void forgetDocument() { document_ = nullptr; }

    /// The document's drawing; null when there is none, or no document any more.
    [[nodiscard]] KzDbDatabase* drawing() const {
        return document_ == nullptr ? nullptr : document_->database();
    }

    /// The document's timers that are switched on, borrowed. Timers add and remove themselves.
    [[nodiscard]] KzDxCallSet<KzDxTimer*>& runningTimers() { return runningTimers_; }

protected:
    ~KzDxDocumentContext() = default;

private:
    KzApDocument* document_;
    KzDxCallSet<KzDxTimer*> runningTimers_;
};

class KzDxDocument;

/// The context part of document data; null for null. For folders that do not know the class.
[[nodiscard]] KzDxDocumentContext* kzdxContextOf(KzDxDocument* document);
