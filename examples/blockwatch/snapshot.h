#pragma once

#include "host/block_table.h"

#include <map>
#include <string>
#include <vector>

/// Where the blocks of a drawing were placed, and with which attribute texts, at one moment.
class Snapshot {
public:
    /// Reads all block definitions of a drawing; layouts are containers only.
    static Snapshot of(const KzDbDatabase& drawing);

    /// The ids of the block definitions, in the order of the block table.
    [[nodiscard]] const KzDbObjectIdArray& blocks() const { return blocks_; }

    /// What is different in `later`, a line for each reference that came, went or changed.
    [[nodiscard]] std::vector<std::string> changesTo(const Snapshot& later) const;

private:
    struct Placement {
        std::string block;
        std::string text; ///< the container and the attributes, readable
    };

    void read(KzDbObjectId id);

    KzDbObjectIdArray blocks_;
    std::map<KzDbObjectId, Placement> placements_; // by reference
};
