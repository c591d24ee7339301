#pragma once

#include "blocks/containers.h"
#include "blocks/id_index.h"
#include "blocks/id_set.h"
#include "core/deferred_deletion.h"

#include <cstdint>
#include <memory>
#include <vector>

class KzDxBlock;

/// Answers which blocks lie inside which, at any depth.
///
/// The nodes know where they are placed; this is the same seen from the containers: for each the nodes that
/// have references in it. Built when it is first asked for, and from then on kept up to date node by node. A
/// search visits each container once and costs no more than what it reaches.
class KzDxBlockNesting {
public:
    using Nodes = std::vector<std::unique_ptr<KzDxBlock, KzDxDeferredDeleter>>;

    void build(const Nodes& nodes);
    void release();
    [[nodiscard]] bool isBuilt() const { return !items_.empty(); }

    /// To be called when a node came, and when it gained or lost a container, whether built or not. When
    /// memory runs out, the next question has it built anew.
    void add(KzDxBlock& node) noexcept;
    void move(const KzDxBlock& node, const KzDxContainers& before) noexcept;

    /// Adds to `found` the blocks with references directly in `block`, other than itself; with `recursive`,
    /// those nested in them too. A block of `visited` is not searched; those that were searched are added to
    /// it.
    void collect(KzDbObjectId block, bool recursive, KzDxIdSet& found, KzDxIdSet& visited);

    /// All nodes nested, at any depth, in one of `blocks`, each once, in no order. A node of `blocks` is
    /// among them only if it is nested in one of them.
    [[nodiscard]] std::vector<KzDxBlock*> nodesInside(const std::vector<KzDxBlock*>& blocks);

private:
    /// A node, a container, or mostly both.
    struct Item {
        KzDbObjectId id;
        KzDxBlock* node = nullptr;   ///< null when the container is no node
        std::uint32_t foundIn = 0;   ///< the last search that found it
        std::uint32_t visitedIn = 0; ///< the last search that looked into it
        std::vector<std::uint32_t> contents;
    };

    static constexpr std::uint32_t none = UINT32_MAX;

    template <class Change>
    void change(Change apply) noexcept;
    [[nodiscard]] std::uint32_t numberOf(KzDbObjectId id);
    void enter(KzDxBlock& node);
    void place(std::uint32_t number, KzDbObjectId container);
    void takeOut(std::uint32_t number, KzDbObjectId container);
    void beginSearch();
    /// Has the search look into a container, once.
    void visit(std::uint32_t container);
    void search(bool recursive);

    KzDxIdIndex numbers_; ///< id → number of its item
    std::vector<Item> items_;

    std::uint32_t search_ = 0;           ///< the number of the search under way, so that none has to clean up
    std::vector<std::uint32_t> pending_; ///< containers it still has to look into
    std::vector<std::uint32_t> found_;   ///< nodes it has found
};
