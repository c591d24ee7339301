#include "blocks/update_state.h"

#include "blocks/block_node.h"
#include "host/block_table.h"

#include <algorithm>
#include <cassert>

void KzDxUpdateState::reserve(std::size_t nodes) {
    for (KzDxNodeList* const list : {&stale_, &changed_, &foreign_}) list->reserve(nodes);
}

void KzDxUpdateState::remove(KzDxBlock& node) noexcept {
    for (KzDxNodeList* const list : {&stale_, &changed_, &foreign_}) {
        list->removeIf([&node](const KzDxBlock& each) { return &each == &node; });
    }
}

void KzDxUpdateState::clear() noexcept {
    for (KzDxNodeList* const list : {&stale_, &changed_, &foreign_}) list->clear();
    level_ = KzDxScanLevel::full;
}

void KzDxUpdateState::objectEdited(const KzDbObject* object) noexcept {
    const bool isAttribute = object->isA()->isDerivedFrom(KzDbAttribute::desc());
    if (!isAttribute) raiseLevel(KzDxScanLevel::referenceLists);
}

void KzDxUpdateState::markStale(KzDxBlock& node, KzDxReadLevel level) noexcept {
    assert(level != KzDxReadLevel::nothing);
    node.raiseReadLevel(level);
    stale_.add(node);
}

void KzDxUpdateState::raiseLevel(KzDxScanLevel level) noexcept {
    level_ = std::max(level_, level);
}
