#pragma once

#include "core/scope_guard.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class KzDxBlock;

/// What a node can be listed for; see `KzDxUpdateState`.
enum class KzDxNodeMark : std::uint8_t {
    stale = 1,   ///< what is stored may differ from the drawing
    changed = 2, ///< clients may have to be notified
    foreign = 4, ///< may report references of other drawings, where inserting sends none here
};

/// Intrusive list: the nodes that carry a mark, each once, in the order in which they got it.
///
/// A list in place of a walk over all nodes. Adding does not allocate once there is room for every node, so
/// that a notification may do it. Nodes are not owned.
class KzDxNodeList {
public:
    explicit KzDxNodeList(KzDxNodeMark mark) : mark_(mark) {}
    KzDxNodeList(const KzDxNodeList&) = delete;
    KzDxNodeList& operator=(const KzDxNodeList&) = delete;

    /// Makes room for this many nodes in all.
    void reserve(std::size_t nodes);

    /// Adds a node; a node that is listed stays where it is.
    void add(KzDxBlock& node) noexcept;

    /// Empties the list, and clears the mark of its nodes.
    void clear() noexcept;

    /// Calls `isDone(node)` for each node, and removes the nodes for which it returns true. If it throws,
    /// that node and those after it stay.
    template <class Predicate>
    void removeIf(Predicate isDone) {
        std::size_t at = 0;
        std::size_t kept = 0;
        const KzDxScopeGuard closeGap([&] { // in any case: never dismissed
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
