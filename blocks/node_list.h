#pragma once

#include "core/scope_guard.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class KzDxBlock;

/// The lists of nodes; see `KzDxUpdateState`.
enum class KzDxNodeMark : std::uint8_t {
    stale = 1,   ///< what is stored may differ from the drawing
    changed = 2, ///< clients may have to be notified
    foreign = 4, ///< may report references of other drawings, where inserting sends none here
};

/// Intrusive list: the nodes that have a mark, each once, in the order in which they got it. Nodes are
/// borrowed.
///
/// Avoids a walk over all nodes. Adding a node does not allocate after `reserve` for all nodes, because
/// notifications add nodes.
class KzDxNodeList {
public:
    explicit KzDxNodeList(KzDxNodeMark mark) : mark_(mark) {}
    KzDxNodeList(const KzDxNodeList&) = delete;
    KzDxNodeList& operator=(const KzDxNodeList&) = delete;

    /// Reserves memory for this total number of nodes.
    void reserve(std::size_t nodes);

    /// Adds a node; a node that is listed keeps its position.
    void add(KzDxBlock& node) noexcept;

    /// Empties the list, and clears the mark of its nodes.
    void clear() noexcept;

    /// Calls `isDone(node)` for each node, and removes the nodes for which it returns true. If it throws,
    /// that node and those after it stay.
    template <class Predicate>
    void removeIf(Predicate isDone) {
        std::size_t at = 0;
        std::size_t kept = 0;
        const KzDxScopeGuard closeGap([&] { // never dismissed: runs in any case
            nodes_.erase(nodes_.begin() + static_cast<std::ptrdiff_t>(kept),
                         nodes_.begin() + static_cast<std::ptrdiff_t>(at));
        });
        for (; at < nodes_.size(); ++at) {
            KzDxBlock& node = *nodes_[at];
            if (isDone(node)) {
                unmark(node);
            } else {
                nodes_[kept++] = &node;
            }
        }
    }

    [[nodiscard]] bool isEmpty() const { return nodes_.empty(); }
    [[nodiscard]] auto begin() const { return nodes_.begin(); }
    [[nodiscard]] auto end() const { return nodes_.end(); }

private:
    void unmark(KzDxBlock& node) const noexcept;

    KzDxNodeMark mark_;
    std::vector<KzDxBlock*> nodes_;
};
