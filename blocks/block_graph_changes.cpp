#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/leave_object.h"
#include "core/boundary.h"
#include "core/opened.h"
#include "core/scope_guard.h"

#include <algorithm>
#include <vector>

void KzDxBlocks::aboutToChange(const KzDbObject*) {
    setNeedsScan(true);
}

void KzDxBlocks::timerElapsed() {
    kzdxAtBoundary([this] { update(false, true); });
}

void KzDxBlocks::update(bool force, bool notify) {
    if (!force && !(needsScan_ && isEnabled())) return;
    KzDxScopeGuard scanAgain([this] { setNeedsScan(true); }); // the next update then makes up for this one
    static_cast<void>(scanBlockTable());
    propagateChanges();
    scanAgain.dismiss();
    if (notify) notifyClients(); // may destroy the graph: nothing comes after it
}

void KzDxBlocks::propagateChanges() {
    if (!hasChanges_) return;
    std::vector<KzDxBlock*> changed;
    for (const auto& [key, node] : blockMap_) {
        if (node->hasChanges()) changed.push_back(node);
    }
    if (changed.empty()) return;
    for (KzDxBlock* const node : builtNesting().nodesInside(changed)) node->setHasChanges(true);
}

void KzDxBlocks::notifyClients() {
    if (!hasChanges_) return;
    Clients due;
    KzDxScopeGuard scanAgain([this] { setNeedsScan(true); });
    gatherChangedClients(due);
    scanAgain.dismiss();
    for (const auto& [key, node] : blockMap_) node->setHasChanges(false);
    const KzDxLife::Watch watch(life_);
    due.callEach(Clients::Next::chosenAfterCall, [&](KzDxClientCallback callback) {
        kzdxAtBoundary(callback);
        return !watch.isOver() && document_ != nullptr; // a graph that departs has no document
    });
    if (!watch.isOver()) setHasChanges(false);
}

void KzDxBlocks::gatherChangedClients(Clients& due) const {
    for (const auto& [key, node] : blockMap_) {
        if (!node->hasChanges()) continue;
        for (const KzDxClientCallback callback : node->clients()) due.insert(callback);
    }
}

Orvo::ErrorStatus KzDxBlocks::setEnabled(bool enable) {
    if (enable == isEnabled()) return Orvo::ok;
    const KzDbDatabase* const drawing = database();
    if (drawing == nullptr) return Orvo::missingCollaborator;
    const KzDbObjectId tableId = drawing->blockTableId();
    const KzDxOpened<KzDbBlockTable> table(tableId, KzDb::OpenMode::forNotify, !enable);
    if (!table) return table.status();
    if (enable) {
        follow(*table.get(), tableId);
    } else {
        stopFollowing(*table.get());
    }
    return Orvo::ok;
}

void KzDxBlocks::follow(const KzDbBlockTable& table, KzDbObjectId tableId) {
    KzDxScopeGuard undo([&] { stopFollowing(table); });
    watchedTable_ = tableId;
    table.addReactor(this);
    setNodesEnabled(true);
    enableTimer();
    storeEnabled(true);
    undo.dismiss();
}

void KzDxBlocks::stopFollowing(const KzDbBlockTable& table) {
    storeEnabled(false);
    table.removeReactor(this);
    watchedTable_ = KzDbObjectId();
    setNodesEnabled(false);
    disableTimer();
}

void KzDxBlocks::setNodesEnabled(bool enable) {
    for (const auto& [key, node] : blockMap_) static_cast<void>(node->setEnabled(enable));
}

void KzDxBlocks::enableTimer() {
    if (!timer_.has_value()) timer_.emplace(&document_->runningTimers(), 0U);
    static_cast<void>(timer_->setEnabled(true));
    static_cast<void>(timer_->attach(this));
}

void KzDxBlocks::disableTimer() {
    if (!timer_.has_value()) return;
    static_cast<void>(timer_->setEnabled(false));
    timer_->detach(this);
}

/// Empties the graph and leaves the block table, by the id that was kept when the document is gone. Whether
/// the table could be left.
bool KzDxBlocks::leaveHost() noexcept {
    storeEnabled(false);
    KzDxBlocks::reset();
    if (kzdxLeaveObject(watchedTable_, this)) watchedTable_ = KzDbObjectId();
    return watchedTable_.isNull();
}

Orvo::ErrorStatus KzDxBlocks::addClient(KzDxClientCallback callback, const KzDbObjectIdArray& blocks) {
    if (callback == nullptr) return Orvo::missingCollaborator;
    if (blocks.length() < 1) return Orvo::ok;
    for (const KzDbObjectId id : blocks) {
        if (KzDxBlock* const watched = node(id)) watched->makeRoomForClient();
    }
    for (const KzDbObjectId id : blocks) {
        if (KzDxBlock* const watched = node(id)) watched->addClient(callback);
    }
    return Orvo::ok;
}

bool KzDxBlocks::hasClients() const {
    return std::ranges::any_of(blockMap_,
                               [](const auto& entry) { return !entry.second->clients().isEmpty(); });
}

void KzDxBlocks::removeClient(KzDxClientCallback callback) {
    for (const auto& [key, node] : blockMap_) node->removeClient(callback);
}

Orvo::ErrorStatus KzDxBlocks::getClients(Clients& clients) const {
    for (const auto& [key, node] : blockMap_) {
        for (const KzDxClientCallback callback : node->clients()) clients.insert(callback);
    }
    return Orvo::ok;
}
