#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/leave_object.h"
#include "core/opened.h"
#include "core/scope_guard.h"

#include <algorithm>

void KzDxBlocks::aboutToChange(const KzDbObject*) {
    setNeedsScan(true);
    listsMayDiffer(); // a record comes
}

void KzDxBlocks::listsMayDiffer() noexcept {
    scope_ = std::max(scope_, KzDxReadingScope::lists);
}

Orvo::ErrorStatus KzDxBlocks::startFollowing() {
    build();
    const Orvo::ErrorStatus status = setEnabled(true);
    if (status == Orvo::ok) settleScope();
    return status;
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
    scope_ = KzDxReadingScope::everything; // what was edited until now, nobody has heard
    areRecordsHeard_ = true;
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
    // What a node could not join or leave, it knows itself.
    for (const auto& node : nodes_) static_cast<void>(node->setEnabled(enable));
}

void KzDxBlocks::enableTimer() {
    if (!timer_.has_value()) timer_.emplace(&document_->runningTimers(), 0U);
    // Each time: memory may have run out the last time. Null is all that it refuses.
    static_cast<void>(timer_->attach(this));
    // A timer that stands still for now runs as soon as any timer is switched on.
    static_cast<void>(timer_->setEnabled(true));
}

void KzDxBlocks::disableTimer() {
    if (timer_.has_value()) static_cast<void>(timer_->setEnabled(false)); // it has running timers to leave
}

/// Empties the graph and leaves the block table, by the id that was kept when the document is gone. Whether
/// the table could be left.
bool KzDxBlocks::leaveHost() noexcept {
    KzDxBlocks::reset();
    if (kzdxLeaveObject(watchedTable_, this)) watchedTable_ = KzDbObjectId();
    return watchedTable_.isNull();
}
