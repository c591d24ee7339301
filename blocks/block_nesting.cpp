#include "blocks/block_nesting.h"

#include "blocks/block_node.h"

void KzDxBlockNesting::build(const Nodes& nodes) {
    listNodes(nodes);
    numberContainers();
    fillContents();
    search_ = 0;
    isBuilt_ = true;
}

void KzDxBlockNesting::release() {
    *this = KzDxBlockNesting();
}

void KzDxBlockNesting::listNodes(const Nodes& nodes) {
    nodes_.clear();
    nodes_.reserve(nodes.size());
    for (const auto& node : nodes) nodes_.push_back({node.get(), node->id(), none, 0});
}

/// Numbers the containers, and leaves in each `firstContent` how many contents the one before it has.
void KzDxBlockNesting::numberContainers() {
    numberOfContainer_.clear();
    containers_.assign(1, {0, 0});
    for (const Node& node : nodes_) {
        for (const KzDxContainers::Entry& entry : node.block->containers()) {
            const auto next = static_cast<std::uint32_t>(containers_.size() - 1);
            const std::uint32_t number = numberOfContainer_.findOrInsert(entry.container, next);
            if (number == next) containers_.push_back({0, 0});
            ++containers_[number + 1].firstContent;
        }
    }
    for (Node& node : nodes_) node.container = numberOfContainer_.find(node.id, none);
}

void KzDxBlockNesting::fillContents() {
    for (std::size_t at = 1; at < containers_.size(); ++at) {
        containers_[at].firstContent += containers_[at - 1].firstContent;
    }
    contents_.resize(containers_.back().firstContent);
    std::vector<std::uint32_t> nextFree;
    nextFree.reserve(containers_.size());
    for (const Container& container : containers_) nextFree.push_back(container.firstContent);
    for (std::uint32_t at = 0; at < nodes_.size(); ++at) {
        for (const KzDxContainers::Entry& entry : nodes_[at].block->containers()) {
            contents_[nextFree[numberOfContainer_.find(entry.container, none)]++] = at;
        }
    }
}

void KzDxBlockNesting::beginSearch() {
    ++search_;
    pending_.clear();
    found_.clear();
}

void KzDxBlockNesting::enter(std::uint32_t container) {
    if (container == none || containers_[container].visitedIn == search_) return;
    containers_[container].visitedIn = search_;
    pending_.push_back(container);
}

void KzDxBlockNesting::search(bool recursive) {
    while (!pending_.empty()) {
        const std::uint32_t container = pending_.back();
        pending_.pop_back();
        const std::uint32_t end = containers_[container + 1].firstContent;
        for (std::uint32_t at = containers_[container].firstContent; at < end; ++at) {
            Node& node = nodes_[contents_[at]];
            if (node.foundIn == search_ || node.container == container)
                continue; // found, or a block inside itself
            node.foundIn = search_;
            found_.push_back(contents_[at]);
            if (recursive) enter(node.container);
        }
    }
}

void KzDxBlockNesting::collect(KzDbObjectId block, bool recursive, KzDxIdSet& found, KzDxIdSet& visited) {
    beginSearch();
    for (const KzDbObjectId id : visited) {
        const std::uint32_t container = numberOfContainer_.find(id, none);
        if (container != none) containers_[container].visitedIn = search_;
    }
    if (!visited.insert(block)) return;
    enter(numberOfContainer_.find(block, none));
    search(recursive);
    std::vector<KzDbObjectId> ids;
    ids.reserve(found_.size());
    for (const std::uint32_t at : found_) ids.push_back(nodes_[at].id);
    kzdxSortUnique(ids);
    found.insertAscending(ids);
    if (recursive) visited.insertAscending(ids);
}

std::vector<KzDxBlock*> KzDxBlockNesting::nodesInside(const std::vector<KzDxBlock*>& blocks) {
    beginSearch();
    for (const KzDxBlock* const block : blocks) enter(numberOfContainer_.find(block->id(), none));
    search(true);
    std::vector<KzDxBlock*> nodes;
    nodes.reserve(found_.size());
    for (const std::uint32_t at : found_) nodes.push_back(nodes_[at].block);
    return nodes;
}
