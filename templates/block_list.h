#pragma once

#include "templates/eatt_block_info.h"

/// Reads a list of blocks, in which each element is a new object or a reference to an earlier one. Null
/// elements are skipped. If it returns false, the reader has the failure, and the list holds the blocks
/// before it.
[[nodiscard]] bool kzdxLoadBlockList(KzDxArchiveReader& reader, CEattBlockList& blocks);

/// Writes a list of blocks. The class is defined at the first block; a block that was already written
/// is written as a reference.
void kzdxStoreBlockList(KzDxArchiveWriter& writer, const CEattBlockList& blocks);
