#pragma once

#include "blocks/foreign_drawings.h"
#include "blocks/update_state.h"
#include "host/block_table.h"
#include "host/id_array.h"

#include <cstddef>
#include <vector>

class KzDxBlock;
class KzDxBlocks;
class KzDxReferenceReader;

/// Brings the nodes of a block graph up to date with the drawing, reading as much as the update state asks
/// for.
///
/// A scan has two phases. The table phase walks the block table: it creates nodes for new records, and finds
/// out which node each record leads to. The reading phase reads the stale nodes that some record leads to,
/// each once; it changes neither nodes nor keys.
///
/// Each scan compares the ids of the table's records, in order, with those of the last scan, because a record
/// can be unerased without a notification. At level `staleNodes` a record is opened only if it is uncertain
/// what it represents, at the other levels each record is.
class KzDxDrawingScanner {
public:
    explicit KzDxDrawingScanner(KzDxBlocks& graph) : graph_(graph), foreign_(graph) {}
    KzDxDrawingScanner(const KzDxDrawingScanner&) = delete;
    KzDxDrawingScanner& operator=(const KzDxDrawingScanner&) = delete;

    /// Both phases, at the level of the update state. Afterwards the state has the level for a next update.
    /// If memory runs out, the level and the stale nodes stay for the next scan.
    void scan(const KzDbDatabase& drawing);

    /// The phases one by one, for a graph that is switched on between them.
    void scanTable(const KzDbDatabase& drawing);
    void readStaleNodes(const KzDbDatabase& drawing);
    /// Reads the nodes that no record of the last table phase leads to, for a graph whose first two table
    /// phases were not separated by a reading. They stay stale.
    void readUnreachedNodes(const KzDbDatabase& drawing);

    /// Sets the level for a next update after which nothing was edited.
    void settle();

    /// The ids of the layouts that could be opened, in table order, as of the last scan.
    [[nodiscard]] const KzDbObjectIdArray& layoutIds() const { return layoutIds_; }

    /// Forgets everything: the nodes are about to be deleted.
    void clear();

private:
    /// What is known of one record of the table.
    struct Record {
        KzDbObjectId id;
        KzDxBlock* node = nullptr; ///< the node that it leads to; null if it has none or could not be opened
        bool isLayout = false;
        bool isFromExternalReference = false;
        bool isUncertain = false; ///< whether it may lead to another node without a notification
    };
    /// What an anonymous record represents.
    struct Original {
        KzDbObjectId block;     ///< null if it represents none
        bool isCertain = false; ///< false if some reference did not open or did not answer
    };

    [[nodiscard]] bool visitUncertain(const KzDbDatabase& drawing);
    void visitAll(const KzDbDatabase& drawing, KzDxScanLevel level);
    [[nodiscard]] Record visit(KzDbObjectId id, KzDxScanLevel level);
    [[nodiscard]] bool isListUnchanged(const KzDbBlockTableRecord& record, const KzDxBlock& node);
    [[nodiscard]] KzDxBlock* nodeOfAnonymous(Record& record, KzDbBlockTableRecord& opened);
    [[nodiscard]] KzDxBlock* nodeUnder(KzDxBlock* found, KzDbObjectId id, KzDbBlockTableRecord& opened);
    [[nodiscard]] static Original originalOf(const KzDbBlockTableRecord& record);
    [[nodiscard]] KzDxBlock* knownNode(KzDbObjectId id);
    void markReached();
    void refreshForeignDrawings();

    KzDxBlocks& graph_;
    KzDxForeignDrawings foreign_;
    std::vector<Record> records_; ///< of the last scan, in table order
    std::size_t hint_ = 0;        ///< where `knownNode` looks first in `records_`
    KzDbObjectIdArray layoutIds_;
    KzDbObjectIdArray reported_; ///< storage of `isListUnchanged`
    bool hasNodes_ = false;      ///< whether each record of the table leads to a node
};
