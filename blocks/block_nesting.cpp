#include "blocks/block_nesting.h"

#include "blocks/block_node.h"
#include "core/boundary.h"
#include "core/scope_guard.h"

#include <algorithm>
#include <cassert>
#include <utility>

void KzDxBlockNesting::build(const Nodes& nodes) {
    KzDxBlockNesting whole; // until it is whole, memory may run out
    whole.items_.reserve(nodes.size());
    for (const auto& node : nodes) whole.enter(*node);
    *this = std::move(whole);
}

void KzDxBlockNesting::release() {
    *this = KzDxBlockNesting();
}

// Without memory for a change the whole is given up: half of it would answer wrongly, and the next question
// builds it anew.
template <class Change>
void KzDxBlockNesting::change(Change apply) noexcept {
    kzdxAtBoundary([&] {
        KzDxScopeGuard giveUp([this] { release(); });
        apply();
        giveUp.dismiss();
    });
}

void KzDxBlockNesting::add(KzDxBlock& node) noexcept {
    if (isBuilt()) change([&] { enter(node); });
}

void KzDxBlockNesting::move(const KzDxBlock& node, const KzDxContainers& before) noexcept {
    const std::uint32_t number = numbers_.find(node.id(), none);
    if (number == none) return; // nothing is built, or it has just been made and will be added
    change([&] {
        for (const KzDxContainers::Entry& entry : before) {
            if (node.containers().find(entry.container) == nullptr) takeOut(number, entry.container);
        }
        for (const KzDxContainers::Entry& entry : node.containers()) {
            if (before.find(entry.container) == nullptr) place(number, entry.container);
        }
    });
}

/// The number of the item with that id, which is made when there is none: containers need not be nodes, and
/// may come to be nodes later.
std::uint32_t KzDxBlockNesting::numberOf(KzDbObjectId id) {
    const auto next = static_cast<std::uint32_t>(items_.size());
    const std::uint32_t number = numbers_.findOrInsert(id, next);
    if (number == next) items_.emplace_back().id = id;
    return number;
}

void KzDxBlockNesting::enter(KzDxBlock& node) {
    const std::uint32_t number = numberOf(node.id());
    items_[number].node = &node;
    for (const KzDxContainers::Entry& entry : node.containers()) place(number, entry.container);
}

void KzDxBlockNesting::place(std::uint32_t number, KzDbObjectId container) {
    items_[numberOf(container)].contents.push_back(number);
}

void KzDxBlockNesting::takeOut(std::uint32_t number, KzDbObjectId container) {
    std::vector<std::uint32_t>& contents = items_[numberOf(container)].contents;
    const auto at = std::ranges::find(contents, number);
    assert(at != contents.end());
    *at = contents.back(); // they are in no order
    contents.pop_back();
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

// Found and visited are two things: with `recursive` off what was found is not looked into, and a start is
// looked into without being found, unless it lies in another one. By numbers of searches, so that nothing has
// to be cleaned up afterwards. Not by recursion: blocks nest as deep as anyone likes, and stacks do not.
void KzDxBlockNesting::search(bool recursive) {
    while (!pending_.empty()) {
        const std::uint32_t container = pending_.back();
        pending_.pop_back();
        for (const std::uint32_t inside : items_[container].contents) {
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
