#include "blocks/node_store.h"

#include "blocks/block_node.h"
#include "core/scope_guard.h"

#include <cassert>
#include <utility>

void KzDxNodeStore::add(Node node) {
    assert(find(node->id()) == nullptr);
    KzDxBlock* const added = node.get();
    KzDxScopeGuard undo([&] { std::erase_if(keys_, [&](const auto& key) { return key.second == added; }); });
    for (const KzDbObjectId record : added->recordIds()) addAlias(record, *added);
    nodes_.push_back(std::move(node));
    undo.dismiss();
}

void KzDxNodeStore::clear() {
    keys_.clear();
    nodes_.clear();
}
