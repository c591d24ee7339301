#pragma once

#include "core/boundary.h"
#include "core/scope_guard.h"
#include "host/documents.h"
#include "host/status.h"

#include <map>
#include <memory>
#include <set>
#include <utility>

/// Owns one object of class `Data`, the document data, for each document of the host: created on demand or,
/// with `autoCreate`, with the document.
///
/// While this object is attached, the host's document manager notifies it of documents that are closed, and
/// it destroys their data. `Data` is constructed from the document's address, must have `forgetDocument()`,
/// and may be destroyed while its operations are active further up the stack.
///
/// The virtual operations are called by slot: their order is fixed.
///
/// `purge` finds documents that were closed without a notification. It calls `forgetDocument` of their
/// data, because the documents must not be used, and destroys the data. Until then data of a closed
/// document may exist: check addresses from outside by `isOpen`.
template <class Data>
class AppDataT : public KzApDocManagerReactor {
public:
    AppDataT() = default;

    ~AppDataT() override {
        static_cast<void>(leaveDocManager());
        destroyAllBut(nullptr);
    }

    // Notifications of the host.
    void onDocumentAdded(KzApDocument* document) override {
        kzdxAtBoundary([&] {
            if (autoCreate()) docData(document, true);
        });
    }
    void onDocumentRemoving(KzApDocument* document) override {
        kzdxAtBoundary([&] {
            removeDocData(document);
            static_cast<void>(purge()); // if the host does not list its documents now, a later purge does it
        });
    }
    void onDocumentDiscarded(KzApDocument* document) override {
        kzdxAtBoundary([&] { removeDocData(document); });
    }

    /// Whether an address is that of an open document: the current one, or one that the host lists. Also
    /// true if the host does not list its documents. The address is compared, not dereferenced.
    [[nodiscard]] static bool isOpen(const KzApDocument* document) {
        const KzApDocManager* const manager = kzDocManagerPtr();
        if (manager == nullptr || manager->currentDocument() == document) return true;
        const std::unique_ptr<KzApDocumentIterator> documents = openDocuments();
        if (documents == nullptr) return true;
        while (!documents->done() && documents->document() != document) documents->step();
        return !documents->done();
    }

    /// The data of a document; with `create`, created if there are none. Attaches to the document manager
    /// if that failed before. Null for a null document, if there are no data, or if the document has no
    /// drawing or is not listed by the host.
    virtual Data* docData(KzApDocument* document, bool create) {
        if (document == nullptr) return nullptr;
        if (!isAttached() && data_.contains(document)) static_cast<void>(setAttached(true));
        if (Data* const known = findData(document)) return known;
        return create ? makeData(document) : nullptr;
    }

    /// Destroys the data of a document. False if there were none.
    virtual bool removeDocData(KzApDocument* document) {
        const auto at = document == nullptr ? data_.end() : data_.find(document);
        if (at == data_.end()) return false;
        const std::unique_ptr<Data> leaving = std::move(at->second);
        data_.erase(at);
        return true;
    }

    [[nodiscard]] virtual bool isAttached() const { return attached_; }

    /// Attaches to the document manager and, with `autoCreate`, creates the data of all open documents; or
    /// detaches and destroys all data. `missingCollaborator` without a document manager.
    virtual Orvo::ErrorStatus setAttached(bool attach) {
        KzApDocManager* const manager = kzDocManagerPtr();
        if (manager == nullptr) return Orvo::missingCollaborator;
        if (!attach) {
            static_cast<void>(leaveDocManager()); // the document manager exists, see above
            return deleteAll();
        }
        if (!attached_) {
            manager->addReactor(this);
            attached_ = true;
            // Existing data: their documents may have been closed without a notification.
            if (!data_.empty() && purge() != Orvo::ok) destroyAllBut(manager->currentDocument());
        }
        if (autoCreate()) static_cast<void>(createAll()); // if it fails, data are created on demand
        return Orvo::ok;
    }

    [[nodiscard]] virtual bool autoCreate() const { return autoCreate_; }

    /// Whether data are created with their documents. Setting it attaches to the document manager.
    virtual Orvo::ErrorStatus setAutoCreate(bool create) {
        autoCreate_ = create;
        // Without a document manager there are no documents; `docData` retries on demand.
        if (create) static_cast<void>(setAttached(true));
        return Orvo::ok;
    }

    /// Creates data for every open document that has a drawing and no data. `missingCollaborator` if the
    /// host does not list its documents.
    virtual Orvo::ErrorStatus createAll() {
        const std::unique_ptr<KzApDocumentIterator> documents = openDocuments();
        if (documents == nullptr) return Orvo::missingCollaborator;
        for (; !documents->done(); documents->step()) docData(documents->document(), true);
        return Orvo::ok;
    }

    /// Destroys the data of every document.
    virtual Orvo::ErrorStatus deleteAll() {
        destroyAllBut(nullptr);
        return Orvo::ok;
    }

    /// Destroys the data of documents that are no longer open. `missingCollaborator` if the host does not
    /// list its documents, or if memory for the list runs out.
    virtual Orvo::ErrorStatus purge() {
        return kzdxAtBoundary(Orvo::missingCollaborator, [this] { return purgeAgainstList(); });
    }

protected:
    /// Detaches from the document manager and keeps the data. False if there is no document manager now,
    /// which may notify this object later.
    [[nodiscard]] bool leaveDocManager() {
        if (!attached_) return true;
        KzApDocManager* const manager = kzDocManagerPtr();
        if (manager == nullptr) return false;
        attached_ = false;
        manager->removeReactor(this);
        return true;
    }

private:
    using DataMap = std::map<KzApDocument*, std::unique_ptr<Data>>;

    /// Null if the host has no document manager or does not list its documents.
    [[nodiscard]] static std::unique_ptr<KzApDocumentIterator> openDocuments() {
        const KzApDocManager* const manager = kzDocManagerPtr();
        return std::unique_ptr<KzApDocumentIterator>(manager == nullptr ? nullptr
                                                                        : manager->newDocumentIterator());
    }

    [[nodiscard]] Data* findData(KzApDocument* document) const {
        const auto at = data_.find(document);
        return at == data_.end() ? nullptr : at->second.get();
    }

    Data* makeData(KzApDocument* document) {
        if (document->database() == nullptr) return nullptr;
        // Data can be created without a document manager or a list of documents. With `autoCreate`,
        // attaching creates the data.
        if (!isAttached()) static_cast<void>(setAttached(true));
        if (Data* const known = findData(document)) return known;
        data_.emplace(document, std::make_unique<Data>(document));
        KzDxScopeGuard undo([&] { removeDocData(document); });
        static_cast<void>(purge());
        undo.dismiss();
        return findData(document); // null if it was purged, because the host does not list the document
    }

    Orvo::ErrorStatus purgeAgainstList() {
        const std::unique_ptr<KzApDocumentIterator> documents = openDocuments();
        if (documents == nullptr) return Orvo::missingCollaborator;
        std::set<KzApDocument*> open;
        for (; !documents->done(); documents->step()) open.insert(documents->document());
        for (auto at = data_.begin(); at != data_.end();) {
            if (open.contains(at->first)) {
                ++at;
                continue;
            }
            const std::unique_ptr<Data> leaving = std::move(at->second);
            at = data_.erase(at);
            leaving->forgetDocument();
        }
        return Orvo::ok;
    }

    /// Destroys all data except those of `kept`, in key order. Some documents may no longer exist: those
    /// that were closed while this object was not attached, and those for which data were created after the
    /// notification of their removal. So unless the host lists its documents, no document is used.
    void destroyAllBut(KzApDocument* kept) {
        const bool areDocumentsKnown = AppDataT::purge() == Orvo::ok;
        DataMap leaving = std::exchange(data_, {});
        data_.insert(leaving.extract(kept));
        for (auto& [document, data] : leaving) {
            if (!areDocumentsKnown) data->forgetDocument();
            data.reset();
        }
    }

    bool attached_ = false;
    bool autoCreate_ = false;
    DataMap data_;
};
