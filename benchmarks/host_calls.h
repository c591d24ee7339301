#pragma once

#include "host/block_table.h"
#include "host/object_reactor.h"

#include <memory>
#include <vector>

class KzDxBlocks;

/// The floors: what the host is asked anyway, in the same order and with the same modes, and nothing else.
/// They know beforehand what they would have to remember: which containers a block has, and in which order
/// its references are registered with.
namespace Bench {

/// One reading of a whole drawing, as an update has to do it.
class BareReading {
public:
    /// What the floor knows comes from a graph of the same drawing.
    BareReading(const KzDbDatabase& drawing, const KzDxBlocks& graph);

    void run();
    /// The part of it that concerns one block.
    void readBlock(KzDbObjectId record);

private:
    struct Block {
        KzDbObjectId record;
        std::vector<KzDbObjectId> containers;
    };

    void walkTable() const;
    void readBlock(const Block& block);

    const KzDbDatabase& drawing_;
    std::vector<Block> blocks_;
    KzDbObjectIdArray references_;
};

/// Asking every record for its references, into one array, and comparing that with a copy of before.
class BareListing {
public:
    explicit BareListing(const KzDxBlocks& graph);

    void run();
    /// Takes what is there now as the copy.
    void refresh();

private:
    void list();

    std::vector<KzDbObjectId> records_;
    KzDbObjectIdArray references_;
    std::vector<KzDbObjectId> copy_;
};

/// Registering reactors with all that a graph watches: the block table and, with one reactor for each block,
/// its references, their attributes and its record.
class BareRegistering {
public:
    /// With `asksOwners`, each reference is asked for its owner as well.
    BareRegistering(const KzDbDatabase& drawing, const KzDxBlocks& graph, bool asksOwners = false);

    void run();
    /// Takes the reactors back out.
    void undo();

private:
    struct Block {
        KzDbObjectId record;
        std::vector<KzDbObjectId> references;
        std::unique_ptr<KzDbObjectReactor> reactor;
    };

    void watchReference(KzDbObjectId id, KzDbObjectReactor* reactor) const;
    static void watchRecord(KzDbObjectId id, KzDbObjectReactor* reactor);

    const KzRxClass* referenceClass_ = KzDbBlockReference::desc();
    const KzRxClass* attributeClass_ = KzDbAttribute::desc();
    KzDbObjectId table_;
    bool asksOwners_;
    KzDbObjectReactor tableReactor_;
    std::vector<Block> blocks_;
};

} // namespace Bench
