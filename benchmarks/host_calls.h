#pragma once

#include "benchmarks/drawings.h"
#include "host/block_table.h"
#include "host/object_reactor.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace Bench {

/// The baselines: the host calls that an operation of the module cannot do without, in the same order and
/// with the same modes, and nothing else. What the module has to find out, they know in advance: the
/// containers of each block, and the order of its references.
class HostCalls {
public:
    /// Keeps the document open. What is inserted later is unknown, except to `listReferences`.
    explicit HostCalls(std::shared_ptr<const OpenDocument> document);

    /// Reads a whole drawing, as an update has to: the block table, the lists of all records, and the owner
    /// of each reference.
    void readDrawing();
    /// Reads the references of one block.
    void readBlock(KzDbObjectId record);
    /// Walks over the ids of the block table, and opens nothing else.
    void walkTable() const;

    /// Asks every record for its references, into one array, and compares that with a copy, which is made
    /// before if `remembers`.
    void listReferences(bool remembers = false);

    /// Registers with the block table and, one reactor for each block, with all that a node watches.
    void registerReactors(bool asksOwners);
    void unregisterReactors();

    /// How many pairs of a block and a container of its references there are.
    [[nodiscard]] std::size_t placements() const;

    struct Block {
        KzDbObjectId record;
        std::vector<KzDbObjectId> references; ///< ascending
        std::vector<KzDbObjectId> containers; ///< ascending
        std::unique_ptr<KzDbObjectReactor> reactor;
    };
    /// By ascending record.
    [[nodiscard]] const std::vector<Block>& blocks() const { return blocks_; }

private:
    void askForReferences(KzDbObjectId id);
    void readBlock(const Block& block);

    std::shared_ptr<const OpenDocument> document_;
    KzDbObjectId table_;
    KzDbObjectReactor tableReactor_;
    std::vector<Block> blocks_;
    KzDbObjectIdArray references_; // reused, so that no run allocates
    std::vector<KzDbObjectId> copy_;
};

} // namespace Bench
