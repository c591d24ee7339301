#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/remove_reactor.h"
#include "blocks/update_check.h"
#include "core/boundary.h"
#include "core/scope_guard.h"
#include "zelvane/opened.h"

#include <vector>

// Switching.

Orvo::ErrorStatus KzDxBlocks::startFollowing() {
    const KzDbDatabase* const drawing = database();
    if (drawing == nullptr) return Orvo::missingCollaborator;
    state_.raiseLevel(KzDxScanLevel::full);
    scanner_.scanTable(*drawing);
    scanner_.readStaleNodes(*drawing);
    setHasChanges(false);
    const Orvo::ErrorStatus status = setEnabled(true);
    if (status == Orvo::ok) scanner_.settle();
    return status;
}

Orvo::ErrorStatus KzDxBlocks::setEnabled(bool enable) {
    if (enable == isEnabled()) return Orvo::ok;
    const KzDbDatabase* const drawing = database();
    if (drawing == nullptr) return Orvo::missingCollaborator;
    const KzDbObjectId tableId = drawing->blockTableId();
    const Zelvane::Opened<KzDbBlockTable> table(tableId, KzDb::OpenMode::forNotify, !enable);
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
    state_.raiseLevel(KzDxScanLevel::full); // earlier edits sent no notifications
    table.addReactor(this);
    setNodesEnabled(true);
    enableTimer();
    storeEnabled(true); // last: a graph that is on has all of it
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
    // A node keeps what it could not register or unregister with.
    for (const auto& node : store_.nodes()) static_cast<void>(node->setEnabled(enable));
}

void KzDxBlocks::enableTimer() {
    if (!timer_.has_value()) timer_.emplace(&document_->runningTimers(), 0U);
    // Each time, because memory may have run out the last time. The only status is that for null.
    static_cast<void>(timer_->attach(this));
    // A timer that cannot run now runs as soon as any timer is switched on.
    static_cast<void>(timer_->setEnabled(true));
}

void KzDxBlocks::disableTimer() {
    if (timer_.has_value()) static_cast<void>(timer_->setEnabled(false)); // it has running timers to leave
}

/// Empties the graph and unregisters from the block table, by the stored id if the document no longer exists.
/// Returns whether the table could be opened.
bool KzDxBlocks::tryUnregister() noexcept {
    KzDxBlocks::reset();
    if (kzdxRemoveReactor(watchedTable_, this)) watchedTable_ = KzDbObjectId();
    return watchedTable_.isNull();
}

// Updating.

void KzDxBlocks::aboutToChange(const KzDbObject*) {
    setNeedsScan(true);
    // A record is added. References in it are found by the lists, also if it is erased before the next scan.
    state_.raiseLevel(KzDxScanLevel::referenceLists);
}

void KzDxBlocks::timerElapsed() {
    kzdxAtBoundary([this] { update(false, true); });
}

Orvo::ErrorStatus KzDxBlocks::scanBlockTable() {
    state_.raiseLevel(KzDxScanLevel::full);
    return scan();
}

Orvo::ErrorStatus KzDxBlocks::scan() {
    const KzDbDatabase* const drawing = database();
    if (drawing == nullptr) return Orvo::missingCollaborator;
    scanner_.scan(*drawing);
    return Orvo::ok;
}

void KzDxBlocks::update(bool force, bool notify) {
    // A forced update also runs without marks and while switched off, because it repairs a graph that missed
    // notifications.
    if (!force && !(needsScan_ && isEnabled())) return;
    KzDxScopeGuard scanAgain([this] { setNeedsScan(true); }); // then the next update makes up for this one
    KzDxUpdateCheck check(*this);
    if (force) state_.raiseLevel(KzDxScanLevel::full);
    static_cast<void>(scan()); // without a drawing there is nothing to find, and no client to notify
    check.compare();
    propagateChanges();
    scanAgain.dismiss();
    if (notify) notifyClients(); // may destroy the graph: nothing comes after it
}

void KzDxBlocks::propagateChanges() {
    if (!hasChanges_) return;
    // A copy: marking nested blocks makes the list longer.
    std::vector<KzDxBlock*> changed;
    for (KzDxBlock* const node : state_.changed()) {
        if (node->hasChanges()) changed.push_back(node);
    }
    if (changed.empty()) return;
    for (KzDxBlock* const node : builtNesting().nodesInside(changed)) node->setHasChanges(true);
}

void KzDxBlocks::notifyClients() {
    if (!hasChanges_) return;
    // A client of several changed blocks is called once, so the callbacks are collected before any is called.
    // Marks are cleared only then: if memory runs out, the next update finds them and notifies all clients.
    Clients due;
    KzDxScopeGuard scanAgain([this] { setNeedsScan(true); });
    collectChangedClients(due);
    scanAgain.dismiss();
    clearChangedNodes();
    const KzDxLife::Watch watch(life_);
    due.callEach(Clients::Next::chosenAfterCall, [&](KzDxClientCallback callback) {
        kzdxAtBoundary(callback);
        return !watch.isDestroyed() &&
               document_ != nullptr; // a graph whose deletion is pending has no document
    });
    // Also the marks of the callbacks' own edits: otherwise a client that edits what it watches would be
    // called again and again.
    if (!watch.isDestroyed()) setHasChanges(false);
}

void KzDxBlocks::collectChangedClients(Clients& due) const {
    for (const KzDxBlock* const node : state_.changed()) {
        if (!node->hasChanges()) continue;
        for (const KzDxClientCallback callback : node->clients()) due.insert(callback);
    }
}
