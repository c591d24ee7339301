#pragma once

/// @file
/// Access of clients to the exports.

#include "zelvane/platform_library.h"
#include "zelvane/zelvane.h"

/// The exports of the loaded "Zelvane.hmx", found at run time: a client does not link the module. The
/// higher-level headers `client_module.h`, `block_watch.h` and `idle_timer.h` are based on it.
///
///     KzDxExports zelvane;                  // when the load message is processed
///     if (!zelvane.isAvailable()) return KzRx::loadFailed;
///     zelvane.kzdxDocTimerAttach(document, &save, 60000, 1);
///
/// The functions may be called as long as this object exists. It keeps the library in memory even if the
/// module is unloaded; the functions of an unloaded module return their failure values. Create one object
/// at the load message and destroy it at the unload message. While it exists, loading the module again
/// loads the same library.
class KzDxExports {
public:
    /// Finds the module if it is loaded. Does not load it.
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

    /// Whether the module was found with all its exports.
    [[nodiscard]] bool isAvailable() const noexcept { return library_.isFound() && hasAllFunctions_; }
    /// Former name of `isAvailable`.
    [[deprecated("use isAvailable")]] [[nodiscard]] bool areFound() const noexcept { return isAvailable(); }

    /// The exports, which `zelvane.h` describes. They return their failure values if the module was not
    /// found.
    /// @{
    std::int32_t kzdxDocTimerAttach(KzApDocument* document, KzDxClientCallback callback,
                                    std::uint32_t interval, std::int32_t attach) const noexcept {
        return isAvailable() ? docTimerAttach_(document, callback, interval, attach) : 0;
    }
    std::int32_t kzdxBlockReferenceMonitorAttach(KzApDocument* document, const KzDbObjectIdArray* blocks,
                                                 KzDxClientCallback callback) const noexcept {
        return isAvailable() ? monitorAttach_(document, blocks, callback) : 0;
    }
    void kzdxBlockReferenceMonitorDetach(KzApDocument* document, KzDxClientCallback callback) const noexcept {
        if (isAvailable()) monitorDetach_(document, callback);
    }
    std::int32_t kzdxUpdateBlockGraph(KzApDocument* document, bool force, bool notify) const noexcept {
        return isAvailable() ? updateBlockGraph_(document, force, notify) : 0;
    }
    std::int32_t kzdxGetBlockRecordIdsOfKzDbTables(KzApDocument* document,
                                                   KzDbObjectIdArray* ids) const noexcept {
        return isAvailable() ? tableRecordIds_(document, ids) : 0;
    }
    std::int32_t kzdxGetKzDbTableIds(KzApDocument* document, KzDbObjectIdArray* ids) const noexcept {
        return isAvailable() ? tableIds_(document, ids) : 0;
    }
    void kzdxReadLegacyBlkTemplate(const std::u16string& path, std::vector<std::u16string>& blocks,
                                   std::vector<std::u16string>& attributes) const noexcept {
        if (isAvailable()) return readLegacyBlkTemplate_(path, blocks, attributes);
        blocks.clear();
        attributes.clear();
    }
    /// @}

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
