#pragma once

#include "core/scope_guard.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class KzDxBlock;

/// What a node can be listed for; see the lists of the graph.
enum class KzDxNodeMark : std::uint8_t {
    stale = 1,     ///< what is filed may differ from the drawing
    changed = 2,   ///< clients may have to be told
    elsewhere = 4, ///< reports references of other drawings, whose edits nobody tells here
};

/// The nodes that carry a mark, each once, in the order in which they got it.
///
/// A list in place of a walk over all nodes. Adding allocates nothing once there is room for every node, so
/// that a notification may do it. Nodes are borrowed.
class KzDxNodeList {
public:
    explicit KzDxNodeList(KzDxNodeMark mark) : mark_(mark) {}
    KzDxNodeList(const KzDxNodeList&) = delete;
    KzDxNodeList& operator=(const KzDxNodeList&) = delete;

    /// Has room for so many nodes.
    void makeRoom(std::size_t nodes);

    /// Adds a node; one that is listed stays where it is.
    void add(KzDxBlock& node) noexcept;

    /// Empties the list, and takes the mark from its nodes.
    void clear() noexcept;

    /// Calls `work(node)` for each node, and takes those off the list for which it returns true. When it
    /// throws, the node and those after it stay.
    template <class Work>
    void workOff(Work work) {
        std::size_t at = 0;
        std::size_t kept = 0;
        const KzDxScopeGuard closeGap([&] { // in any case: never dismissed
            nodes_.erase(nodes_.begin() + static_cast<std::ptrdiff_t>(kept),
                         nodes_.begin() + static_cast<std::ptrdiff_t>(at));
        });
        for (; at < nodes_.size(); ++at) {
            KzDxBlock& node = *nodes_[at];
            if (work(node)) {
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
