#pragma once

#include "frame/boundary.h"
#include "frame/rollback.h"
#include "host/documents.h"
#include "host/status.h"

#include <map>
#include <memory>
#include <new>
#include <set>
#include <utility>

/// Keeps one record for each document of the host, made on demand or, with `autoCreate`, with the document.
///
/// The records are owned and go with their documents: the host's document manager tells of those while this
/// object is attached to it. A record is made with the document's address, has `forgetDocument()`, and its
/// destruction may happen while operations of it are under way further up the stack.
///
/// The virtual operations are called by slot: their order is fixed.
///
/// A document that goes unannounced is noticed by `purge`. Its record is told to forget the document, which
/// must not be touched any more, and is destroyed. Until then the record stands for a closed document: ask
/// `isOpen` about addresses that come from outside.
template <class Record>
class AppDataT : public KzApDocManagerReactor {
public:
    AppDataT() = default;

    ~AppDataT() override {
        static_cast<void>(leaveDocManager());
        destroyRecords();
    }

    // What the host tells.
    void onDocumentAdded(KzApDocument* document) override {
        kzdxAtBoundary([&] {
            if (autoCreate()) docData(document, true);
        });
    }
    void onDocumentRemoving(KzApDocument* document) override {
        kzdxAtBoundary([&] {
            removeDocData(document);
            purge();
        });
    }
    void onDocumentDiscarded(KzApDocument* document) override {
        kzdxAtBoundary([&] { removeDocData(document); });
    }

    /// Whether an open document has this address, which is not touched: the current one, or one that the host
    /// lists. Yes as well when the host does not say which are open.
    [[nodiscard]] static bool isOpen(const KzApDocument* document) {
        const KzApDocManager* const manager = kzDocManagerPtr();
        if (manager == nullptr || manager->currentDocument() == document) return true;
        const std::unique_ptr<KzApDocumentIterator> documents = openDocuments();
        if (documents == nullptr) return true;
        while (!documents->done() && documents->document() != document) documents->step();
        return !documents->done();
    }

    /// The record of a document. With `create`, one is made when there is none; attached to the document
    /// manager from then on. Null for a null document, without a record, or when the document has no drawing
    /// or is not listed by the host.
    virtual Record* docData(KzApDocument* document, bool create) {
        if (document == nullptr) return nullptr;
        if (cached_ != records_.end() && cached_->first == document) return cached_->second.get();
        cached_ = records_.find(document);
        if (cached_ != records_.end()) return cached_->second.get();
        return create ? makeRecord(document) : nullptr;
    }

    /// Destroys the record of a document. False when there was none.
    virtual bool removeDocData(KzApDocument* document) {
        const auto at = document == nullptr ? records_.end() : records_.find(document);
        if (at == records_.end()) return false;
        const std::unique_ptr<Record> record = std::move(at->second);
        cached_ = records_.erase(at);
        return true;
    }

    [[nodiscard]] virtual bool isAttached() const { return attached_; }

    /// Attaches to the document manager, with `autoCreate` making the records of all open documents; or
    /// detaches from it and destroys every record. `missingCollaborator` without a document manager.
    virtual Orvo::ErrorStatus setAttached(bool attach) {
        KzApDocManager* const manager = kzDocManagerPtr();
        if (manager == nullptr) return Orvo::missingCollaborator;
        if (!attach) {
            static_cast<void>(leaveDocManager()); // it was there a moment ago
            return deleteAll();
        }
        if (!attached_) {
            manager->addReactor(this);
            attached_ = true;
        }
        if (autoCreate()) createAll();
        return Orvo::ok;
    }

    [[nodiscard]] virtual bool autoCreate() const { return autoCreate_; }

    /// Whether records are made with their documents. Switching it on attaches to the document manager.
    virtual Orvo::ErrorStatus setAutoCreate(bool create) {
        autoCreate_ = create;
        if (create) setAttached(true);
        return Orvo::ok;
    }

    /// Makes a record for every open document that has none and has a drawing. `missingCollaborator` when the
    /// host does not list its documents.
    virtual Orvo::ErrorStatus createAll() {
        cached_ = records_.end();
        const std::unique_ptr<KzApDocumentIterator> documents = openDocuments();
        if (documents == nullptr) return Orvo::missingCollaborator;
        for (; !documents->done(); documents->step()) docData(documents->document(), true);
        cached_ = records_.end();
        return Orvo::ok;
    }

    /// Destroys every record.
    virtual Orvo::ErrorStatus deleteAll() {
        destroyRecords();
        return Orvo::ok;
    }

    /// Destroys the records whose documents are no longer open. `missingCollaborator` when the host does not
    /// list its documents, or when there is no memory for the list.
    virtual Orvo::ErrorStatus purge() {
        return kzdxAtBoundary(Orvo::missingCollaborator, [this] { return purgeAgainstList(); });
    }

protected:
    /// Leaves the document manager; the records stay. False when there is none now, and then it may still
    /// tell of documents.
    [[nodiscard]] bool leaveDocManager() {
        if (!attached_) return true;
        KzApDocManager* const manager = kzDocManagerPtr();
        if (manager == nullptr) return false;
        attached_ = false;
        manager->removeReactor(this);
        return true;
    }

private:
    using RecordMap = std::map<KzApDocument*, std::unique_ptr<Record>>;

    /// Null when the host has no document manager or does not list its documents.
    [[nodiscard]] static std::unique_ptr<KzApDocumentIterator> openDocuments() {
        const KzApDocManager* const manager = kzDocManagerPtr();
        return std::unique_ptr<KzApDocumentIterator>(manager == nullptr ? nullptr
                                                                        : manager->newDocumentIterator());
    }

    Record* makeRecord(KzApDocument* document) {
        if (document->database() == nullptr) return nullptr;
        std::unique_ptr<Record> made(new (std::nothrow) Record(document));
        if (made == nullptr) return nullptr;
        records_.emplace(document, std::move(made));
        KzDxRollback undo([&] { removeDocData(document); });
        if (!isAttached()) setAttached(true);
        purge();
        undo.keep();
        return docData(document, false); // null when the host does not list it: it has been purged
    }

    Orvo::ErrorStatus purgeAgainstList() {
        const std::unique_ptr<KzApDocumentIterator> documents = openDocuments();
        if (documents == nullptr) return Orvo::missingCollaborator;
        std::set<KzApDocument*> open;
        for (; !documents->done(); documents->step()) open.insert(documents->document());
        for (auto at = records_.begin(); at != records_.end();) {
            if (open.contains(at->first)) {
                ++at;
                continue;
            }
            const std::unique_ptr<Record> record = std::move(at->second);
            cached_ = at = records_.erase(at);
            record->forgetDocument();
        }
        return Orvo::ok;
    }

    /// Destroys every record in key order. One may have outlived its document, when somebody asked for it
    /// after this object had been told that the document goes; unless the host says which documents are open,
    /// none of them is touched.
    void destroyRecords() {
        const bool areDocumentsKnown = AppDataT::purge() == Orvo::ok;
        RecordMap leaving = std::exchange(records_, {});
        cached_ = records_.end();
        for (auto& [document, record] : leaving) {
            if (!areDocumentsKnown) record->forgetDocument();
            record.reset();
        }
    }

    bool attached_ = false;
    bool autoCreate_ = false;
    RecordMap records_;
    /// The entry of the last successful look-up, so that repeated questions about one document need no
    /// search.
    typename RecordMap::iterator cached_ = records_.end();
};
