#pragma once

#include "blocks/id_index.h"
#include "blocks/id_set.h"
#include "blocks/node_store.h"

#include <cstdint>
#include <vector>

/// Reverse index of the containers: for each container, the nodes that have references in it. Finds the
/// blocks that are nested in a block, at any depth.
///
/// Built by the first query after a node was created or a block got or lost a container: O(nodes and their
/// containers), less than the scan that found the change. A search visits each container once: O(blocks
/// that it reaches). Part of the graph.
class KzDxBlockNesting {
public:
    /// Must be called when a node was created or deleted, or its containers changed.
    void invalidate() noexcept { isCurrent_ = false; }

    /// Builds the index unless it is current. Must be called before a query.
    void prepare(const KzDxNodeStore::Nodes& nodes);

    /// Adds to `found` the blocks with references directly in `block`, other than itself; with `recursive`,
    /// also those nested in them. Blocks of `visited` are not searched; searched blocks are added to it.
    void collect(KzDbObjectId block, bool recursive, KzDxIdSet& found, KzDxIdSet& visited);

    /// All nodes nested, at any depth, in one of `blocks`, each once, in no order. A node of `blocks` is
    /// included only if it is nested in one of them.
    [[nodiscard]] std::vector<KzDxBlock*> nodesInside(const std::vector<KzDxBlock*>& blocks);

private:
    static constexpr std::uint32_t none = UINT32_MAX;

    /// A node, a container, or usually both.
    struct Item {
        KzDbObjectId id;
        KzDxBlock* node = nullptr;         ///< null if the container is not a node
        std::uint32_t firstContent = none; ///< in `contents_`
        std::uint32_t foundIn = 0;         ///< the last search that found it
        std::uint32_t visitedIn = 0;       ///< the last search that visited it
    };
    /// A node in a container. The contents of one container are a linked list.
    struct Content {
        std::uint32_t item;
        std::uint32_t next;
    };

    [[nodiscard]] std::uint32_t numberOf(KzDbObjectId id);
    void beginSearch();
    /// Adds a container to `pending_`, once per search.
    void visit(std::uint32_t container);
    void search(bool recursive);

    KzDxIdIndex numbers_; ///< id → number of its item
    std::vector<Item> items_;
    std::vector<Content> contents_;

    bool isCurrent_ = false; ///< the storage is kept, because memory that is new costs more than building

    std::uint32_t search_ = 0;           ///< the number of the current search
    std::vector<std::uint32_t> pending_; ///< containers that it must still visit
    std::vector<std::uint32_t> found_;   ///< nodes that it has found
};
