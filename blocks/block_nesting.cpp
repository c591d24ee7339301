#include "blocks/block_nesting.h"

#include "blocks/block_node.h"

void KzDxBlockNesting::prepare(const KzDxNodeStore::Nodes& nodes) {
    if (isCurrent_) return;
    numbers_.clear();
    items_.clear();
    contents_.clear();
    for (const auto& node : nodes) {
        const std::uint32_t number = numberOf(node->id());
        items_[number].node = node.get();
        for (const KzDxContainers::Entry& entry : node->containers()) {
            Item& container = items_[numberOf(entry.container)];
            contents_.push_back({.item = number, .next = container.firstContent});
            container.firstContent = static_cast<std::uint32_t>(contents_.size() - 1);
        }
    }
    isCurrent_ = true;
}

/// The number of the item with that id. Creates the item if there is none.
std::uint32_t KzDxBlockNesting::numberOf(KzDbObjectId id) {
    const auto next = static_cast<std::uint32_t>(items_.size());
    const std::uint32_t number = numbers_.findOrInsert(id, next);
    if (number == next) items_.emplace_back().id = id;
    return number;
}

void KzDxBlockNesting::beginSearch() {
    ++search_;
    pending_.clear();
    found_.clear();
}

void KzDxBlockNesting::visit(std::uint32_t container) {
    if (container == none || items_[container].visitedIn == search_) return;
    items_[container].visitedIn = search_;
    pending_.push_back(container);
}

// "Found" and "visited" differ: without `recursive` a found node is not visited, and the first container is
// visited without being found, unless it is nested in another one. Items are marked with the number of the
// search, so that no marks need to be cleared. Iterative, because blocks may be nested deeper than the
// stack allows.
void KzDxBlockNesting::search(bool recursive) {
    while (!pending_.empty()) {
        const std::uint32_t container = pending_.back();
        pending_.pop_back();
        for (std::uint32_t at = items_[container].firstContent; at != none; at = contents_[at].next) {
            const std::uint32_t inside = contents_[at].item;
            if (items_[inside].foundIn == search_ || inside == container) continue; // found, or in itself
            items_[inside].foundIn = search_;
            found_.push_back(inside);
            if (recursive) visit(inside);
        }
    }
}

void KzDxBlockNesting::collect(KzDbObjectId block, bool recursive, KzDxIdSet& found, KzDxIdSet& visited) {
    beginSearch();
    for (const KzDbObjectId id : visited) {
        const std::uint32_t number = numbers_.find(id, none);
        if (number != none) items_[number].visitedIn = search_;
    }
    if (!visited.insert(block)) return;
    visit(numbers_.find(block, none));
    search(recursive);
    std::vector<KzDbObjectId> ids;
    ids.reserve(found_.size());
    for (const std::uint32_t at : found_) ids.push_back(items_[at].id);
    ids.resize(kzdxSortUnique(ids));
    found.insertAscending(ids);
    if (recursive) visited.insertAscending(ids);
}

std::vector<KzDxBlock*> KzDxBlockNesting::nodesInside(const std::vector<KzDxBlock*>& blocks) {
    beginSearch();
    for (const KzDxBlock* const block : blocks) visit(numbers_.find(block->id(), none));
    search(true);
    std::vector<KzDxBlock*> nodes;
    nodes.reserve(found_.size());
    for (const std::uint32_t at : found_) nodes.push_back(items_[at].node);
    return nodes;
}
