#pragma once

#include "blocks/id_index.h"
#include "blocks/id_set.h"
#include "core/deferred_deletion.h"

#include <cstdint>
#include <memory>
#include <vector>

class KzDxBlock;

/// Answers which blocks lie inside which, at any depth.
///
/// The nodes know where they are placed; this is the same seen from the containers, as one flat table: for
/// each container the nodes that have references in it. Built in one pass over all nodes, and good until a
/// node gains or loses a container. A search visits each container once and costs no more than what it
/// reaches.
class KzDxBlockNesting {
public:
    using Nodes = std::vector<std::unique_ptr<KzDxBlock, KzDxDeferredDeleter>>;

    void build(const Nodes& nodes);
    void release();
    [[nodiscard]] bool isBuilt() const { return isBuilt_; }

    /// To be called when a node gained or lost a container, or a node was added.
    void outdate() { isBuilt_ = false; }

    /// Adds to `found` the blocks with references directly in `block`, other than itself; with `recursive`,
    /// those nested in them too. A block of `visited` is not searched; those that were searched are added to
    /// it.
    void collect(KzDbObjectId block, bool recursive, KzDxIdSet& found, KzDxIdSet& visited);

    /// All nodes nested, at any depth, in one of `blocks`, each once, in no order. A node of `blocks` is
    /// among them only if it is nested in one of them.
    [[nodiscard]] std::vector<KzDxBlock*> nodesInside(const std::vector<KzDxBlock*>& blocks);

private:
    static constexpr std::uint32_t none = UINT32_MAX;

    struct Node {
        KzDxBlock* block = nullptr;
        KzDbObjectId id;
        std::uint32_t container = none; ///< its number as a container; `none` when nothing is placed in it
        std::uint32_t foundIn = 0;      ///< the last search that found it
    };
    struct Container {
        std::uint32_t firstContent = 0; ///< where its contents begin; they end where the next one's begin
        std::uint32_t visitedIn = 0;    ///< the last search that looked into it
    };

    void listNodes(const Nodes& nodes);
    void numberContainers();
    void fillContents();
    void beginSearch();
    /// Has the search look into a container, once.
    void enter(std::uint32_t container);
    void search(bool recursive);

    bool isBuilt_ = false;
    std::vector<Node> nodes_;             ///< each node once
    KzDxIdIndex numberOfContainer_;       ///< container id → its number
    std::vector<Container> containers_;   ///< by number, and one more that ends the last one's contents
    std::vector<std::uint32_t> contents_; ///< node numbers, grouped by container

    std::uint32_t search_ = 0;           ///< the number of the search under way, so that none has to clean up
    std::vector<std::uint32_t> pending_; ///< containers it still has to look into
    std::vector<std::uint32_t> found_;   ///< nodes it has found
};
