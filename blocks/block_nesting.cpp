#include "blocks/block_nesting.h"

#include "blocks/block_node.h"
#include "core/boundary.h"
#include "core/scope_guard.h"

#include <algorithm>
#include <cassert>
#include <utility>

void KzDxBlockNesting::build(const KzDxNodeStore::Nodes& nodes) {
    KzDxBlockNesting whole; // assigned when complete: memory may run out
    whole.items_.reserve(nodes.size());
    for (const auto& node : nodes) {
        whole.enter(*node);
        const std::uint32_t number = whole.numberOf(node->id());
        for (const KzDxContainers::Entry& entry : node->containers()) whole.addTo(entry.container, number);
    }
    *this = std::move(whole);
}

void KzDxBlockNesting::release() {
    *this = KzDxBlockNesting();
}

// If memory runs out during a change, the index is released, because an incomplete change would give wrong
// results.
template <class Change>
void KzDxBlockNesting::change(Change apply) noexcept {
    if (!isBuilt()) return;
    kzdxAtBoundary([&] {
        KzDxScopeGuard giveUp([this] { release(); });
        apply();
        giveUp.dismiss();
    });
}

void KzDxBlockNesting::add(KzDxBlock& node) noexcept {
    change([&] { enter(node); });
}

void KzDxBlockNesting::update(const KzDxBlock& node, const KzDxContainers& before) noexcept {
    change([&] {
        const std::uint32_t number = numberOf(node.id());
        assert(items_[number].node == &node); // added when it was created
        for (const KzDxContainers::Entry& entry : before) {
            if (node.containers().find(entry.container) != nullptr) continue;
            items_[numberOf(entry.container)].mayHaveOutdated = true;
        }
        for (const KzDxContainers::Entry& entry : node.containers()) {
            if (before.find(entry.container) == nullptr) addTo(entry.container, number);
        }
    });
}

/// The number of the item with that id. Creates the item if there is none: a container need not be a node,
/// and can become one later.
std::uint32_t KzDxBlockNesting::numberOf(KzDbObjectId id) {
    const auto next = static_cast<std::uint32_t>(items_.size());
    const std::uint32_t number = numbers_.findOrInsert(id, next);
    if (number == next) items_.emplace_back().id = id;
    return number;
}

void KzDxBlockNesting::enter(KzDxBlock& node) {
    Item& item = items_[numberOf(node.id())];
    assert(item.node == nullptr);
    item.node = &node;
}

void KzDxBlockNesting::addTo(KzDbObjectId container, std::uint32_t number) {
    Item& item = items_[numberOf(container)];
    // Before the contents grow, so that nodes that are repeatedly removed and added do not make them grow
    // without limit.
    if (item.mayHaveOutdated && item.contents.size() == item.contents.capacity()) removeOutdated(item);
    item.contents.push_back(number);
}

void KzDxBlockNesting::removeOutdated(Item& container) {
    if (!std::exchange(container.mayHaveOutdated, false)) return;
    std::vector<std::uint32_t>& contents = container.contents;
    std::ranges::sort(contents);
    contents.erase(std::unique(contents.begin(), contents.end()), contents.end());
    std::erase_if(contents, [&](std::uint32_t number) {
        return items_[number].node->containers().find(container.id) == nullptr;
    });
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
        removeOutdated(items_[container]);
        for (const std::uint32_t inside : items_[container].contents) {
            if (items_[inside].foundIn == search_ || inside == container) continue; // found, or in itself
            assert(items_[inside].node != nullptr);                                 // only nodes are placed
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
    kzdxSortUnique(ids);
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
