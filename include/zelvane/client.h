#pragma once

/// @file
/// How a client finds the exports.

#include "zelvane/platform_library.h"
#include "zelvane/zelvane.h"

/// The exports of the loaded "Zelvane.hmx", found at run time: a client links no library of the module.
/// `client_module.h`, `block_watch.h` and `idle_timer.h` beside this are made of it, and do more.
///
///     KzDxExports zelvane;                  // in the answer to the load message
///     if (!zelvane.isAvailable()) return KzRx::loadFailed;
///     zelvane.kzdxDocTimerAttach(document, &save, 60000, 1);
///
/// The functions are those of `zelvane/zelvane.h` under their own names, with the failure value as their
/// result when the module was not found. They may be called at any time as long as this object stands: it
/// keeps the library in memory, also after the module was unloaded, and an unloaded module answers with its
/// failure values. Keep one from the load message to the unload message, and let go of it there: as long as
/// it stands, loading the module again brings the same library back.
class KzDxExports {
public:
    /// Looks for the module. Nothing is loaded by this: the module has to be there already.
    KzDxExports() noexcept : library_("Zelvane.hmx") {
        find(docTimerAttach_, "kzdxDocTimerAttach");
        find(monitorAttach_, "kzdxBlockReferenceMonitorAttach");
        find(monitorDetach_, "kzdxBlockReferenceMonitorDetach");
        find(updateBlockGraph_, "kzdxUpdateBlockGraph");
        find(tableRecordIds_, "kzdxGetBlockRecordIdsOfKzDbTables");
        find(tableIds_, "kzdxGetKzDbTableIds");
        find(readLegacyBlkTemplate_, "kzdxReadLegacyBlkTemplate");
    }
    KzDxExports(const KzDxExports&) = delete;
    KzDxExports& operator=(const KzDxExports&) = delete;

    /// Whether the module was there with all its exports.
    [[nodiscard]] bool isAvailable() const noexcept { return library_.isFound() && hasAllFunctions_; }
    /// Former name of `isAvailable`.
    [[deprecated("use isAvailable")]] [[nodiscard]] bool areFound() const noexcept { return isAvailable(); }

    /// Has a function called while a document is idle, or no longer (`attach` 0); the interval in
    /// milliseconds holds for all callbacks of the document. `IdleTimer` calls a function object.
    std::int32_t kzdxDocTimerAttach(KzApDocument* document, KzDxClientCallback callback,
                                    std::uint32_t interval, std::int32_t attach) const noexcept {
        return isAvailable() ? docTimerAttach_(document, callback, interval, attach) : 0;
    }
    /// Has a function called when one of the blocks, or a block around it, has changed. `BlockWatch` calls a
    /// function object and says what changed.
    std::int32_t kzdxBlockReferenceMonitorAttach(KzApDocument* document, const KzDbObjectIdArray* blocks,
                                                 KzDxClientCallback callback) const noexcept {
        return isAvailable() ? monitorAttach_(document, blocks, callback) : 0;
    }
    /// Ends that for all blocks of the document.
    void kzdxBlockReferenceMonitorDetach(KzApDocument* document, KzDxClientCallback callback) const noexcept {
        if (isAvailable()) monitorDetach_(document, callback);
    }
    /// Works edits off now instead of at the next idle check; with `notify` the callbacks are called before
    /// it returns.
    std::int32_t kzdxUpdateBlockGraph(KzApDocument* document, bool force, bool notify) const noexcept {
        return isAvailable() ? updateBlockGraph_(document, force, notify) : 0;
    }
    /// Appends the ids of the block records that belong to table objects.
    std::int32_t kzdxGetBlockRecordIdsOfKzDbTables(KzApDocument* document,
                                                   KzDbObjectIdArray* ids) const noexcept {
        return isAvailable() ? tableRecordIds_(document, ids) : 0;
    }
    /// Appends the ids of the table objects.
    std::int32_t kzdxGetKzDbTableIds(KzApDocument* document, KzDbObjectIdArray* ids) const noexcept {
        return isAvailable() ? tableIds_(document, ids) : 0;
    }
    /// Replaces the two lists by the names that a template file selects; empty when it cannot be read.
    void kzdxReadLegacyBlkTemplate(const std::u16string& path, std::vector<std::u16string>& blocks,
                                   std::vector<std::u16string>& attributes) const noexcept {
        if (isAvailable()) return readLegacyBlkTemplate_(path, blocks, attributes);
        blocks.clear();
        attributes.clear();
    }

private:
    template <class Function>
    void find(Function*& function, const char* name) noexcept {
        if (!library_.isFound()) return;
        function = library_.function<Function>(name);
        if (function == nullptr) hasAllFunctions_ = false;
    }

    KzDxLoadedLibrary library_;
    bool hasAllFunctions_ = true;
    decltype(&::kzdxDocTimerAttach) docTimerAttach_ = nullptr;
    decltype(&::kzdxBlockReferenceMonitorAttach) monitorAttach_ = nullptr;
    decltype(&::kzdxBlockReferenceMonitorDetach) monitorDetach_ = nullptr;
    decltype(&::kzdxUpdateBlockGraph) updateBlockGraph_ = nullptr;
    decltype(&::kzdxGetBlockRecordIdsOfKzDbTables) tableRecordIds_ = nullptr;
    decltype(&::kzdxGetKzDbTableIds) tableIds_ = nullptr;
    decltype(&::kzdxReadLegacyBlkTemplate) readLegacyBlkTemplate_ = nullptr;
};
