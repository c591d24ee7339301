#pragma once

/// @file
/// What "Zelvane.hmx" offers to other modules of the host. docs/exports.md describes it in full, with
/// examples.
///
/// A client does not link the module. It finds these functions at run time through `KzDxExports` of
/// `zelvane/client.h`, which has them under the same names.
///
/// All functions are called on the host's main thread and never throw. A document is known by its address,
/// an object by its id. A function returns its failure value for a null pointer, for a document that has no
/// drawing or is not open, as far as the host tells, when memory runs out, and while the module is not
/// loaded; nothing has changed then, and it may be called again.
///
/// A callback is known by its address and never owned. It is called on the main thread, from inside the
/// host's message loop or `kzdxUpdateBlockGraph`, and may do anything: call these functions, edit drawings,
/// close documents, unload modules, or run the message loop, in which it may be called again. Detach it
/// before its library is closed.

#include "host/id_array.h"
#include "host/platform_export.h"

#include <cstdint>
#include <string>
#include <vector>

class KzApDocument;

/// In front of a function that other modules find by its plain name.
#define ZELVANE_EXPORT extern "C" KZ_EXPORT

/// A function that a client wants called.
using KzDxClientCallback = void (*)();

/// Attaches `callback` to the idle time of a document (`attach` non-zero), or detaches it (0).
///
/// The attached callbacks are called, in ascending order of address, at each idle check of the document at
/// which `interval` milliseconds have passed since the last of the previous calls returned, at first since
/// the first call for the document. 0 means every idle check. The interval of the latest call, attaching or
/// detaching, holds for all callbacks of the document.
///
/// Returns 1, also if there was nothing to detach; 0 on failure.
ZELVANE_EXPORT std::int32_t kzdxDocTimerAttach(KzApDocument* document, KzDxClientCallback callback,
                                               std::uint32_t interval, std::int32_t attach) noexcept;

/// Watches block definitions: `callback` is called once, at the next idle check after edits of the drawing,
/// if one of the blocks has changed or is nested in a block that has changed, at any depth.
///
/// A block changes when its references, or their attributes, are added, removed, moved or modified, also
/// through the representations of an enhanced block and in attached drawings. Ids that name no block are
/// ignored. Callbacks are called in ascending order of address. The first attach begins to watch the
/// drawing: earlier edits are not reported.
///
/// Returns 1, also if no id names a block; 0 on failure, for an empty array too, and for a drawing without
/// model space.
ZELVANE_EXPORT std::int32_t kzdxBlockReferenceMonitorAttach(KzApDocument* document,
                                                            const KzDbObjectIdArray* blocks,
                                                            KzDxClientCallback callback) noexcept;

/// Detaches `callback` from all blocks of the document; has no effect if it is not attached. If called by a
/// callback, the detached callback may still be called once, if its call is due already.
ZELVANE_EXPORT void kzdxBlockReferenceMonitorDetach(KzApDocument* document,
                                                    KzDxClientCallback callback) noexcept;

/// Processes edits at once instead of at the next idle check: without `force`, only if the drawing is
/// watched and was edited. With `notify`, the callbacks of changed blocks are called before the function
/// returns; without, their changes are reported later.
///
/// Returns 1 if the document has a block graph or one could be built; otherwise 0.
ZELVANE_EXPORT std::int32_t kzdxUpdateBlockGraph(KzApDocument* document, bool force, bool notify) noexcept;

/// Appends the ids of the block records that belong to table objects, in the order of the block table.
/// Returns 1, also if there are none; 0 on failure.
ZELVANE_EXPORT std::int32_t kzdxGetBlockRecordIdsOfKzDbTables(KzApDocument* document,
                                                              KzDbObjectIdArray* ids) noexcept;

/// Appends the ids of the table objects: the references of those records, grouped by record. Returns 1,
/// also if there are none; 0 on failure.
ZELVANE_EXPORT std::int32_t kzdxGetKzDbTableIds(KzApDocument* document, KzDbObjectIdArray* ids) noexcept;

/// Replaces the two lists by the names of the blocks that a legacy template file selects, and of the
/// attributes selected in them, each name once, in the order of the file. The lists are empty if the file
/// cannot be read completely. Needs no document, and works while the module is not loaded.
ZELVANE_EXPORT void kzdxReadLegacyBlkTemplate(const std::u16string& path, std::vector<std::u16string>& blocks,
                                              std::vector<std::u16string>& attributes) noexcept;
