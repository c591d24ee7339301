#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "core/boundary.h"
#include "core/scope_guard.h"

#include <vector>

void KzDxBlocks::timerElapsed() {
    kzdxAtBoundary([this] { update(false, true); });
}

void KzDxBlocks::update(bool force, bool notify) {
    // By force also without marks and while switched off, because that is what heals a graph that was not
    // told of something.
    if (!force && !(needsScan_ && isEnabled())) return;
    KzDxScopeGuard scanAgain([this] { setNeedsScan(true); }); // the next update then makes up for this one
    if (force) {
        static_cast<void>(scanBlockTable()); // without a drawing there is nothing to find, and nobody to tell
    } else {
        readChanged();
    }
    propagateChanges();
    scanAgain.dismiss();
    if (notify) notifyClients(); // may destroy the graph: nothing comes after it
}

void KzDxBlocks::propagateChanges() {
    if (!hasChanges_) return;
    // A copy: marking what lies inside makes the list longer.
    std::vector<KzDxBlock*> changed;
    for (KzDxBlock* const node : changed_) {
        if (node->hasChanges()) changed.push_back(node);
    }
    if (changed.empty()) return;
    for (KzDxBlock* const node : builtNesting().nodesInside(changed)) node->setHasChanges(true);
}

void KzDxBlocks::notifyClients() {
    if (!hasChanges_) return;
    // A client of several changed blocks is called once, so they are gathered before anybody is called. Marks
    // go only then: when memory runs out, the next update finds them and tells everybody.
    Clients due;
    KzDxScopeGuard scanAgain([this] { setNeedsScan(true); });
    gatherChangedClients(due);
    scanAgain.dismiss();
    clearChangedNodes();
    const KzDxLife::Watch watch(life_);
    due.callEach(Clients::Next::chosenAfterCall, [&](KzDxClientCallback callback) {
        kzdxAtBoundary(callback);
        return !watch.isOver() && document_ != nullptr; // a graph that departs has no document
    });
    // Also what the callbacks themselves have edited: a client that edits what it watches would be called
    // for ever.
    if (!watch.isOver()) setHasChanges(false);
}

void KzDxBlocks::gatherChangedClients(Clients& due) const {
    for (const KzDxBlock* const node : changed_) {
        if (!node->hasChanges()) continue;
        for (const KzDxClientCallback callback : node->clients()) due.insert(callback);
    }
}
