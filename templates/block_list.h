#pragma once

#include "templates/eatt_block_info.h"

/// Reads a list of blocks, each element of which names its class or an object that came before. Null elements
/// are skipped. False: the reader keeps why, and the list holds what came before the failure.
[[nodiscard]] bool kzdxLoadBlockList(KzDxArchiveReader& reader, CEattBlockList& blocks);

/// Writes a list of blocks. The first block carries the definition of its class; a block that was written
/// before is written as a reference to it.
void kzdxStoreBlockList(KzDxArchiveWriter& writer, const CEattBlockList& blocks);
