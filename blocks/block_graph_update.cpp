#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/remove_reactor.h"
#include "blocks/update_check.h"
#include "core/boundary.h"
#include "core/scope_guard.h"
#include "zelvane/opened.h"

#include <cassert>

// Switching.

Orvo::ErrorStatus KzDxBlocks::scanAndEnable() {
    const Orvo::ErrorStatus status = scanBlockTable();
    if (status != Orvo::ok) return status;
    setHasChanges(false);
    return switchEnabled(true);
}

Orvo::ErrorStatus KzDxBlocks::setEnabled(bool enable) {
    if (enable == isEnabled()) return Orvo::ok;
    if (enable) requestFullScan(); // earlier edits sent no notifications
    return switchEnabled(enable);
}

Orvo::ErrorStatus KzDxBlocks::switchEnabled(bool enable) {
    assert(enable != isEnabled());
    const KzDbDatabase* const drawing = database();
    if (drawing == nullptr) return Orvo::missingCollaborator;
    const KzDbObjectId tableId = drawing->blockTableId();
    const Zelvane::Opened<KzDbBlockTable> table(tableId, KzDb::OpenMode::forNotify, !enable);
    if (!table) return table.status();
    if (enable) {
        switchOn(*table, tableId);
    } else {
        switchOff(*table);
    }
    return Orvo::ok;
}

void KzDxBlocks::switchOn(const KzDbBlockTable& table, KzDbObjectId tableId) {
    KzDxScopeGuard undo([&] { switchOff(table); });
    watchedTable_ = tableId;
    table.addReactor(this);
    setNodesEnabled(true);
    enableTimer();
    storeEnabled(true); // last: a graph that is switched on is complete
    undo.dismiss();
}

void KzDxBlocks::switchOff(const KzDbBlockTable& table) {
    storeEnabled(false);
    table.removeReactor(this);
    watchedTable_ = KzDbObjectId();
    setNodesEnabled(false);
    if (timer_.has_value()) static_cast<void>(timer_->setEnabled(false)); // cannot fail
}

void KzDxBlocks::setNodesEnabled(bool enable) {
    // Nodes remember the registrations that failed.
    for (const auto& node : store_.nodes()) static_cast<void>(node->setEnabled(enable));
}

void KzDxBlocks::enableTimer() {
    if (!timer_.has_value()) timer_.emplace(&document_->runningTimers(), 0U);
    // Each time, because memory may have run out before. Only fails for null.
    static_cast<void>(timer_->attach(this));
    // If this fails, the timer runs as soon as any timer is switched on.
    static_cast<void>(timer_->setEnabled(true));
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
    state_.requestReferenceLists();
}

void KzDxBlocks::timerElapsed() {
    kzdxAtBoundary([this] { update(false, true); });
}

void KzDxBlocks::requestFullScan() noexcept {
    for (const auto& node : store_.nodes()) state_.markStale(*node, KzDxReadLevel::everything);
    state_.requestReferenceLists();
}

Orvo::ErrorStatus KzDxBlocks::scanBlockTable() {
    const KzDbDatabase* const drawing = database();
    if (drawing == nullptr) return Orvo::missingCollaborator;
    requestFullScan();
    scanner_.scan(*drawing);
    return Orvo::ok;
}

void KzDxBlocks::update(bool force, bool notify) {
    // A forced update also runs without dirty state and while switched off, because it repairs missed
    // notifications.
    if (!force && !(needsScan_ && isEnabled())) return;
    KzDxScopeGuard scanAgain([this] { setNeedsScan(true); }); // the next update then completes this one
    KzDxUpdateCheck check(*this);
    if (force) requestFullScan();
    if (const KzDbDatabase* const drawing = database()) scanner_.scan(*drawing);
    check.compare();
    propagateChanges();
    scanAgain.dismiss();
    if (notify) notifyClients(); // last, because it may destroy the graph
}

void KzDxBlocks::propagateChanges() {
    if (!hasChanges_) return;
    for (KzDxBlock* const node : currentNesting().nodesInside(state_.changed())) node->setHasChanges(true);
}

void KzDxBlocks::notifyClients() {
    if (!hasChanges_) return;
    // The callbacks are collected before any is called, so that a client of several changed blocks is
    // called once. Marks are cleared only after that: if memory runs out, the next update notifies all
    // clients.
    Clients due;
    KzDxScopeGuard scanAgain([this] { setNeedsScan(true); });
    for (const KzDxBlock* const node : state_.changed()) {
        for (const KzDxClientCallback callback : node->clients()) due.insert(callback);
    }
    scanAgain.dismiss();
    state_.clearChanged();
    const KzDxLife::Watch watch(life_);
    due.callEach(Clients::Next::chosenAfterCall, [&](KzDxClientCallback callback) {
        kzdxAtBoundary(callback);
        return !watch.isDestroyed() &&
               document_ != nullptr; // a graph whose deletion is pending has no document
    });
    // Also clears the marks of the callbacks' own edits, because otherwise a client that edits the blocks
    // that it watches would be called repeatedly.
    if (!watch.isDestroyed()) setHasChanges(false);
}
