#include "blocks/block_graph.h"
#include "core/boundary.h"
#include "core/scope_guard.h"
#include "frame/application.h"
#include "zelvane/zelvane.h"

namespace {

/// The graph of a document, with its data created if necessary; null if it cannot be created.
KzDxBlocks* graphOf(KzApDocument* document) {
    KzDxDocument* const data = kzdxDocDataOf(document);
    return data == nullptr ? nullptr : data->blocks();
}

std::int32_t attach(KzApDocument* document, const KzDbObjectIdArray& blocks, KzDxClientCallback callback) {
    KzDxDocument* const data = kzdxDocDataOf(document);
    if (data == nullptr) return 0;
    // If the client cannot be added, switches the graph off again if this call switched it on.
    const bool wasEnabled = data->hasBlocks() && data->blocks()->isEnabled();
    KzDxBlocks* const graph = data->enabledBlocks();
    if (graph == nullptr) return 0;
    KzDxScopeGuard undo([&] {
        if (!wasEnabled) static_cast<void>(graph->setEnabled(false));
    });
    if (!graph->isEnabled() && graph->scanAndEnable() != Orvo::ok) return 0;
    const Orvo::ErrorStatus status = graph->addClient(callback, blocks);
    undo.dismiss();
    return status == Orvo::ok ? 1 : 0;
}

void detach(KzApDocument* document, KzDxClientCallback callback) {
    KzDxDocument* const data = kzdxDocDataOf(document, false);
    KzDxBlocks* const graph = data == nullptr ? nullptr : data->blocks();
    if (graph == nullptr) return;
    graph->removeClient(callback);
    // Switches the graph off without clients, because registrations slow down edits.
    if (!graph->hasClients()) static_cast<void>(graph->setEnabled(false));
}

} // namespace

ZELVANE_EXPORT std::int32_t kzdxBlockReferenceMonitorAttach(KzApDocument* document,
                                                            const KzDbObjectIdArray* blocks,
                                                            KzDxClientCallback callback) noexcept {
    if (blocks == nullptr || blocks->length() == 0 || callback == nullptr) return 0;
    return kzdxAtBoundary(std::int32_t{0}, [&] { return attach(document, *blocks, callback); });
}

ZELVANE_EXPORT void kzdxBlockReferenceMonitorDetach(KzApDocument* document,
                                                    KzDxClientCallback callback) noexcept {
    if (callback == nullptr) return;
    kzdxAtBoundary([&] { detach(document, callback); });
}

ZELVANE_EXPORT std::int32_t kzdxUpdateBlockGraph(KzApDocument* document, bool force, bool notify) noexcept {
    return kzdxAtBoundary(std::int32_t{0}, [&] {
        KzDxBlocks* const graph = graphOf(document);
        if (graph == nullptr) return 0;
        graph->update(force, notify);
        return 1;
    });
}
