#pragma once

#include "core/opened.h"
#include "zelvane/block_table_walk.h"

/// `Zelvane::forEachRecordId`, the walk over the block table that the module shares with the client kit.
template <class Visit>
bool kzdxForEachRecordId(const KzDbDatabase& drawing, Visit visit) {
    return Zelvane::forEachRecordId(drawing, visit);
}
