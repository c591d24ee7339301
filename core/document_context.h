#pragma once

#include "core/call_set.h"
#include "host/documents.h"

class KzDxTimer;

/// The part of a document's data that its other parts use: the drawing, and the set of timers that idle
/// checks test. Borrowed by these parts.
class KzDxDocumentContext {
public:
    explicit KzDxDocumentContext(KzApDocument* document) : document_(document) {}
    KzDxDocumentContext(const KzDxDocumentContext&) = delete;
    KzDxDocumentContext& operator=(const KzDxDocumentContext&) = delete;

    /// The document that was passed at construction; null after `forgetDocument`.
    [[nodiscard]] KzApDocument* document() const { return document_; }

    /// Must be called when the document no longer exists; it is not used any more.
    void forgetDocument() { document_ = nullptr; }

    /// The document's drawing; null if there is no drawing or no document.
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

/// Converts document data to their context; null for null. For folders that only declare the class.
[[nodiscard]] KzDxDocumentContext* kzdxContextOf(KzDxDocument* document);
