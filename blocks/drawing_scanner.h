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

/// Updates the nodes of a block graph from the drawing. The update state determines how much is read. Part
/// of the graph.
///
/// A scan has two phases. The table phase walks the block table: it creates nodes for new records, and
/// determines which node each record leads to. The reading phase reads the stale nodes that are due, each
/// once; it creates no nodes and no keys.
///
/// The ids of the table's records are compared, in order, with those of the last scan, because a record can
/// be unerased without a notification. If they are the same, a record is opened only if it is uncertain
/// which node it leads to, or if the update state needs the reference lists.
class KzDxDrawingScanner {
public:
    explicit KzDxDrawingScanner(KzDxBlocks& graph) : graph_(graph), foreign_(graph) {}
    KzDxDrawingScanner(const KzDxDrawingScanner&) = delete;
    KzDxDrawingScanner& operator=(const KzDxDrawingScanner&) = delete;

    /// Runs both phases. If memory runs out, the next scan completes this one.
    void scan(const KzDbDatabase& drawing);

    /// Run one phase, for a graph that is switched on between the phases. The reading phase settles the
    /// update state.
    void scanTable(const KzDbDatabase& drawing);
    void readStaleNodes(const KzDbDatabase& drawing);

    /// The ids of the layouts that could be opened, in table order, as of the last scan.
    [[nodiscard]] const KzDbObjectIdArray& layoutIds() const { return layoutIds_; }

    /// Must be called before the nodes are deleted.
    void clear();

private:
    /// The state of one record of the table.
    struct Record {
        KzDbObjectId id;
        KzDxBlock* node = nullptr; ///< the node that the record leads to; null: none, or not opened
        bool isLayout = false;
        bool isFromExternalReference = false;
        bool isUncertain = false; ///< may lead to another node without a notification
    };
    /// What an anonymous record represents.
    struct Original {
        KzDbObjectId block;     ///< null if it represents none
        bool isCertain = false; ///< false if a reference could not be opened or read
    };

    [[nodiscard]] bool visitUncertain(const KzDbDatabase& drawing);
    void visitAll(const KzDbDatabase& drawing);
    [[nodiscard]] Record visit(KzDbObjectId id, bool comparesLists);
    [[nodiscard]] bool isListUnchanged(const KzDbBlockTableRecord& record, const KzDxBlock& node);
    [[nodiscard]] KzDxBlock* nodeOfAnonymous(Record& record, KzDbBlockTableRecord& opened);
    [[nodiscard]] KzDxBlock* nodeUnder(KzDxBlock* found, KzDbObjectId id, KzDbBlockTableRecord& opened);
    [[nodiscard]] static Original originalOf(const KzDbBlockTableRecord& record);
    [[nodiscard]] KzDxBlock* knownNode(KzDbObjectId id);
    void storeReached();
    void refreshForeignDrawings();

    KzDxBlocks& graph_;
    KzDxForeignDrawings foreign_;
    std::vector<Record> records_; ///< of the last scan, in table order
    std::size_t hint_ = 0;        ///< where `knownNode` begins its search in `records_`
    KzDbObjectIdArray layoutIds_;
    KzDbObjectIdArray reported_; ///< storage of `isListUnchanged`
    bool hasNodes_ = false;      ///< whether each record of the table leads to a node
};
