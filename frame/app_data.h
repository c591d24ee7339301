#pragma once

#include "frame/boundary.h"
#include "host/documents.h"
#include "host/status.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <utility>
#include <vector>

/// Keeps one record for each document of the host, made on demand or, with `autoCreate`, with the document.
///
/// The records are owned and go with their documents: the host's document manager tells of those while this
/// object is attached to it. A record is made with the document's address, has `forgetDocument()`, and its
/// destruction may happen while operations of it are under way further up the stack.
///
/// The virtual operations are called by slot: their order is fixed.
///
/// A document that goes unannounced is noticed by `purge`. Its record is told to forget the document, which
/// must not be touched any more, and is destroyed.
template <class Record>
class AppDataT : public KzApDocManagerReactor {
public:
    AppDataT() = default;

    ~AppDataT() override {
        if (kzDocManagerPtr() != nullptr) leaveDocManager();
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

    /// The record of a document. With `create`, one is made when there is none; attached to the document
    /// manager from then on. Null for a null document, without a record, or when the document has no drawing.
    ///
    /// A record made for a document that the host does not list is good until the next call with `create`,
    /// and until any document goes.
    virtual Record* docData(KzApDocument* document, bool create) {
        if (document == nullptr) return nullptr;
        if (create && beingMade_.empty()) disposeUnlisted();
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
            leaveDocManager();
            return deleteAll();
        }
        if (!attached_) {
            attached_ = true;
            manager->addReactor(this);
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
    /// list its documents.
    virtual Orvo::ErrorStatus purge() {
        const std::unique_ptr<KzApDocumentIterator> documents = openDocuments();
        if (documents == nullptr) return Orvo::missingCollaborator;
        std::set<KzApDocument*> open;
        for (; !documents->done(); documents->step()) open.insert(documents->document());
        for (auto at = records_.begin(); at != records_.end();) {
            if (open.contains(at->first)) {
                ++at;
            } else {
                unlisted_.push_back(std::move(at->second));
                cached_ = at = records_.erase(at);
            }
        }
        disposeUnlisted();
        return Orvo::ok;
    }

protected:
    /// Leaves the document manager, which must be there; the records stay.
    void leaveDocManager() {
        if (!attached_) return;
        attached_ = false;
        kzDocManagerPtr()->removeReactor(this);
    }

private:
    using RecordMap = std::map<KzApDocument*, std::unique_ptr<Record>>;
    using Records = std::vector<std::unique_ptr<Record>>;

    /// Null when the host has no document manager or does not list its documents.
    [[nodiscard]] static std::unique_ptr<KzApDocumentIterator> openDocuments() {
        const KzApDocManager* const manager = kzDocManagerPtr();
        return std::unique_ptr<KzApDocumentIterator>(manager == nullptr ? nullptr
                                                                        : manager->newDocumentIterator());
    }

    Record* makeRecord(KzApDocument* document) {
        if (document->database() == nullptr) return nullptr;
        std::unique_ptr<Record> made(new (std::nothrow) Record(document));
        Record* const record = made.get();
        if (record == nullptr) return nullptr;
        cached_ = records_.emplace(document, std::move(made)).first;
        const Making making(beingMade_, record);
        if (!isAttached()) setAttached(true);
        purge();
        return record;
    }

    /// Keeps a record that is being made from being disposed of: its purge may come before its maker returns.
    class Making {
    public:
        Making(std::vector<const Record*>& records, const Record* record) : records_(records) {
            records_.push_back(record);
        }
        ~Making() { records_.pop_back(); }
        Making(const Making&) = delete;
        Making& operator=(const Making&) = delete;

    private:
        std::vector<const Record*>& records_;
    };

    /// Destroys the records without a listed document, except those that somebody is about to be given.
    void disposeUnlisted() {
        const auto isFree = [this](const std::unique_ptr<Record>& record) {
            return std::find(beingMade_.begin(), beingMade_.end(), record.get()) == beingMade_.end();
        };
        const auto firstFree = std::stable_partition(unlisted_.begin(), unlisted_.end(), std::not_fn(isFree));
        const Records leaving(std::make_move_iterator(firstFree), std::make_move_iterator(unlisted_.end()));
        unlisted_.erase(firstFree, unlisted_.end());
        for (const std::unique_ptr<Record>& record : leaving) record->forgetDocument();
    }

    /// Destroys every record in key order. One may have outlived its document, when somebody asked for it
    /// after this object had been told that the document goes; unless the host says which documents are open,
    /// none of them is touched.
    void destroyRecords() {
        disposeUnlisted();
        const bool areDocumentsKnown =
            kzdxAtBoundary(Orvo::missingCollaborator, [this] { return AppDataT::purge(); }) == Orvo::ok;
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
    /// Records that `docData` is making further up the stack.
    std::vector<const Record*> beingMade_;
    /// Records that were purged while they were being made; good until the next purge.
    Records unlisted_;
};
