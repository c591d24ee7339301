#include "blocks/update_state.h"

#include "blocks/block_node.h"
#include "host/block_table.h"

#include <cassert>

void KzDxUpdateState::reserve(std::size_t nodes) {
    for (Nodes* const list : {&stale_, &changed_, &foreign_}) {
        if (nodes > list->capacity()) list->reserve(2 * nodes); // because a graph grows node by node
    }
}

void KzDxUpdateState::clear() noexcept {
    for (Nodes* const list : {&stale_, &changed_, &foreign_}) list->clear();
}

void KzDxUpdateState::add(Nodes& list, KzDxBlock& node) noexcept {
    assert(list.size() < list.capacity()); // a notification must not allocate
    list.push_back(&node);
}

void KzDxUpdateState::objectEdited(const KzDbObject* object) noexcept {
    if (!object->isA()->isDerivedFrom(KzDbAttribute::desc())) requestReferenceLists();
}

void KzDxUpdateState::markStale(KzDxBlock& node, KzDxReadLevel level) noexcept {
    assert(level != KzDxReadLevel::nothing);
    if (!node.isStale()) add(stale_, node);
    node.raiseReadLevel(level);
}

void KzDxUpdateState::removeUpToDate() noexcept {
    std::erase_if(stale_, [](const KzDxBlock* node) { return !node->isStale(); });
}

void KzDxUpdateState::setChanged(KzDxBlock& node, bool value) noexcept {
    if (node.hasChanges() == value) return;
    node.storeHasChanges(value);
    if (value) {
        add(changed_, node);
    } else {
        std::erase(changed_, &node);
    }
}

void KzDxUpdateState::clearChanged() noexcept {
    for (KzDxBlock* const node : changed_) node->storeHasChanges(false);
    changed_.clear();
}

void KzDxUpdateState::markForeign(KzDxBlock& node) noexcept {
    if (node.isForeign()) return;
    node.storeForeign();
    add(foreign_, node);
}
