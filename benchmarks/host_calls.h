#pragma once

#include "benchmarks/drawings.h"
#include "host/block_table.h"
#include "host/object_reactor.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace Bench {

/// The baselines: only the host calls that an operation of the module requires, in the same order and with
/// the same modes. They know in advance what the module must find out: the containers of each block, and
/// the order of its references.
class HostCalls {
public:
    /// Keeps the document open. Only `listReferences` sees references that are inserted later.
    explicit HostCalls(std::shared_ptr<const OpenDocument> document);

    /// Reads a whole drawing, as a forced update does: the block table, the lists of all records, and the
    /// owner of each reference.
    void readDrawing();
    /// Reads the references of one block.
    void readBlock(KzDbObjectId record);
    /// Walks over the ids of the block table, and opens nothing else.
    void walkTable() const;

    /// Queries the references of every record into one array, and compares the array with a copy, which is
    /// made before if `remembers`.
    void listReferences(bool remembers = false);

    /// Registers with the block table and, one reactor per block, with all objects that a node watches.
    void registerReactors(bool asksOwners);
    void unregisterReactors();

    /// The number of pairs of a block and a container of its references.
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
