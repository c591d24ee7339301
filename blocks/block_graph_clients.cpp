#include "blocks/block_graph.h"
#include "blocks/block_node.h"

#include <algorithm>

Orvo::ErrorStatus KzDxBlocks::addClient(KzDxClientCallback callback, const KzDbObjectIdArray& blocks) {
    if (callback == nullptr) return Orvo::missingCollaborator;
    if (blocks.length() < 1) return Orvo::ok;
    // Allocates before anything changes, so that all blocks get the client or none.
    for (const KzDbObjectId id : blocks) {
        if (KzDxBlock* const watched = node(id)) watched->reserveClient();
    }
    for (const KzDbObjectId id : blocks) {
        if (KzDxBlock* const watched = node(id)) watched->addClient(callback);
    }
    return Orvo::ok;
}

bool KzDxBlocks::hasClients() const {
    return std::ranges::any_of(store_.nodes(), [](const auto& node) { return !node->clients().isEmpty(); });
}

void KzDxBlocks::removeClient(KzDxClientCallback callback) {
    for (const auto& node : store_.nodes()) node->removeClient(callback);
}

Orvo::ErrorStatus KzDxBlocks::getClients(Clients& clients) const {
    for (const auto& node : store_.nodes()) {
        for (const KzDxClientCallback callback : node->clients()) clients.insert(callback);
    }
    return Orvo::ok;
}
