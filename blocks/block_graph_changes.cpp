#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/departing_reactors.h"
#include "frame/document.h"
#include "frame/opened.h"
#include "timers/timer.h"

#include <new>
#include <utility>

void KzDxBlocks::openedForModify(const KzDbObject*) {
    setNeedsScan(true);
}

void KzDxBlocks::timerElapsed() {
    update(false, true);
}

void KzDxBlocks::update(bool force, bool notify) {
    if (!force && !(needsScan_ && isEnabled())) return;
    scanBlockTable();
    propagateChanges();
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
    gatherChangedClients(due);
    const KzDxLife::Watch watch(life_);
    due.callEach(Clients::Next::chosenAfterCall, [&watch](KzDxClientCallback callback) {
        callback();
        return !watch.isOver();
    });
    if (!watch.isOver()) setHasChanges(false);
}

void KzDxBlocks::gatherChangedClients(Clients& due) {
    for (const auto& [key, node] : blockMap_) {
        if (!node->hasChanges()) continue;
        node->setHasChanges(false);
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
        table->addReactor(this);
        watchedTable_ = tableId;
    } else {
        table->removeReactor(this);
        watchedTable_ = KzDbObjectId();
    }
    setNodesEnabled(enable);
    if (!enable) {
        disableTimer();
    } else if (const Orvo::ErrorStatus status = enableTimer(); status != Orvo::ok) {
        return status;
    }
    storeEnabled(enable);
    return Orvo::ok;
}

void KzDxBlocks::setNodesEnabled(bool enable) {
    for (const auto& [key, node] : blockMap_) node->setEnabled(enable);
}

Orvo::ErrorStatus KzDxBlocks::enableTimer() {
    if (timer_ == nullptr) timer_.reset(new (std::nothrow) KzDxTimer(document_, 0));
    if (timer_ == nullptr) return Orvo::missingCollaborator;
    timer_->setEnabled(true);
    timer_->attach(this);
    return Orvo::ok;
}

void KzDxBlocks::disableTimer() {
    if (timer_ == nullptr) return;
    timer_->setEnabled(false);
    timer_->detach(this);
}

/// Stops to follow the drawing in any case: by the ids that were kept when the document is gone, and as far
/// as objects can be opened. `watchedTable_` is null afterwards unless the table could not be left.
void KzDxBlocks::letGo() {
    KzDxBlocks::setEnabled(false);
    setNodesEnabled(false);
    disableTimer();
    storeEnabled(false);
    if (!watchedTable_.isNull() && kzdxLeaveObject(watchedTable_, this)) watchedTable_ = KzDbObjectId();
}

Orvo::ErrorStatus KzDxBlocks::addClient(KzDxClientCallback callback, const KzDbObjectIdArray& blocks) {
    if (callback == nullptr) return Orvo::missingCollaborator;
    if (blocks.length() < 1) return Orvo::ok;
    for (const KzDbObjectId id : blocks) {
        if (KzDxBlock* const watched = node(id)) watched->addClient(callback);
    }
    return Orvo::ok;
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
