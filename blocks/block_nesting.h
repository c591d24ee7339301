#pragma once

#include "blocks/containers.h"
#include "blocks/id_index.h"
#include "blocks/id_set.h"
#include "blocks/node_store.h"

#include <cstdint>
#include <vector>

/// Reverse index of the containers: for each container, the nodes that have references in it. Finds the
/// blocks that are nested in a block, at any depth. Part of the graph.
///
/// Built by the first query, then updated node by node. A search visits each container once: O(blocks that
/// it reaches).
class KzDxBlockNesting {
public:
    void build(const KzDxNodeStore::Nodes& nodes);
    void release();
    [[nodiscard]] bool isBuilt() const { return !items_.empty(); }

    /// Must be called when a node was created, before it has containers, and when its containers changed.
    /// If memory runs out, the index is released, and the next query builds it.
    void add(KzDxBlock& node) noexcept;
    void update(const KzDxBlock& node, const KzDxContainers& before) noexcept;

    /// Adds to `found` the blocks with references directly in `block`, other than itself; with `recursive`,
    /// also those nested in them. Blocks of `visited` are not searched; searched blocks are added to it.
    void collect(KzDbObjectId block, bool recursive, KzDxIdSet& found, KzDxIdSet& visited);

    /// All nodes nested, at any depth, in one of `blocks`, each once, in no order. A node of `blocks` is
    /// included only if it is nested in one of them.
    [[nodiscard]] std::vector<KzDxBlock*> nodesInside(const std::vector<KzDxBlock*>& blocks);

private:
    /// A node, a container, or usually both.
    struct Item {
        KzDbObjectId id;
        KzDxBlock* node = nullptr;    ///< null if the container is not a node
        std::uint32_t foundIn = 0;    ///< the last search that found it
        std::uint32_t visitedIn = 0;  ///< the last search that visited it
        bool mayHaveOutdated = false; ///< `contents` may have removed nodes, or duplicates
        /// The numbers of the nodes with references here. Lazy deletion: a node is removed when the
        /// contents are needed next, so that each removal is O(1).
        std::vector<std::uint32_t> contents;
    };

    static constexpr std::uint32_t none = UINT32_MAX;

    template <class Change>
    void change(Change apply) noexcept;
    [[nodiscard]] std::uint32_t numberOf(KzDbObjectId id);
    void enter(KzDxBlock& node);
    void addTo(KzDbObjectId container, std::uint32_t number);
    void removeOutdated(Item& container);
    void beginSearch();
    /// Adds a container to `pending_`, once per search.
    void visit(std::uint32_t container);
    void search(bool recursive);

    KzDxIdIndex numbers_; ///< id → number of its item
    std::vector<Item> items_;

    std::uint32_t search_ = 0;           ///< the number of the current search
    std::vector<std::uint32_t> pending_; ///< containers that it must still visit
    std::vector<std::uint32_t> found_;   ///< nodes that it has found
};
