#include "blocks/node_list.h"

#include "blocks/block_node.h"

#include <cassert>

void KzDxNodeList::reserve(std::size_t nodes) {
    if (nodes <= nodes_.capacity()) return;
    nodes_.reserve(2 * nodes); // because a graph grows node by node
}

void KzDxNodeList::add(KzDxBlock& node) noexcept {
    if (node.hasMark(mark_)) return;
    assert(nodes_.size() < nodes_.capacity()); // a notification must not allocate
    node.mark(mark_);
    nodes_.push_back(&node);
}

void KzDxNodeList::clear() noexcept {
    for (KzDxBlock* const node : nodes_) unmark(*node);
    nodes_.clear();
}

void KzDxNodeList::unmark(KzDxBlock& node) const noexcept {
    node.unmark(mark_);
}
