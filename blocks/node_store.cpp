#include "blocks/node_store.h"

#include "blocks/block_node.h"

#include <cassert>
#include <utility>

void KzDxNodeStore::add(Node&& node) {
    assert(node != nullptr && !node->id().isNull());
    keys_.insert_or_assign(node->id(), node.get());
    nodes_.push_back(std::move(node)); // last, because the caller owns the node if memory runs out
}

void KzDxNodeStore::removeKeys(const KzDxBlock& node) noexcept {
    std::erase_if(keys_, [&node](const auto& key) { return key.second == &node; });
}

void KzDxNodeStore::clear() {
    keys_.clear();
    nodes_.clear();
}
