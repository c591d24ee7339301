#pragma once

/// @file
/// The exports of "Zelvane.hmx" for other modules of the host. docs/exports.md describes them in full, with
/// examples.
///
/// A client does not link the module. It finds these functions at run time by `KzDxExports` of
/// `zelvane/client.h`, which has members of the same names.
///
/// All functions must be called on the host's main thread and never throw. A document is identified by its
/// address, an object by its id. A function returns its failure value for a null pointer, for a document
/// that has no drawing or that the host does not report as open, if memory runs out, and while the module
/// is not loaded. Then the call had no effect and may be repeated.
///
/// A callback is identified by its address. It is called on the main thread, by the host's message loop or
/// by `kzdxUpdateBlockGraph`. It may call these functions, edit drawings, close documents, unload modules,
/// or run the message loop, which may call it again. A callback must be detached before its library is
/// closed.

#include "host/id_array.h"
#include "host/platform_export.h"

#include <cstdint>
#include <string>
#include <vector>

class KzApDocument;

/// Marks a function that is exported without name mangling.
#define ZELVANE_EXPORT extern "C" KZ_EXPORT

/// A callback of a client.
using KzDxClientCallback = void (*)();

/// Attaches `callback` to the idle time of a document (`attach` non-zero), or detaches it (0).
///
/// The attached callbacks are called, in ascending order of address, at each idle check of the document at
/// which at least `interval` milliseconds have passed since the last callback of the previous calls
/// returned, at first since the first call of this function for the document. 0 means every idle check. The
/// interval of the latest call, attaching or detaching, applies to all callbacks of the document.
///
/// Returns 1, also if `callback` was not attached; 0 on failure.
ZELVANE_EXPORT std::int32_t kzdxDocTimerAttach(KzApDocument* document, KzDxClientCallback callback,
                                               std::uint32_t interval, std::int32_t attach) noexcept;

/// Watches block definitions: `callback` is called once, at the next idle check after edits of the drawing,
/// if one of the blocks has changed or is nested in a block that has changed, at any depth.
///
/// A block changes when its references, or their attributes, are added, removed, moved or modified, also
/// through the representations of an enhanced block and in attached drawings. Ids that identify no block
/// are ignored. Callbacks are called in ascending order of address. The first call begins to watch the
/// drawing: earlier edits are not reported.
///
/// Returns 1, also if no id identifies a block; 0 on failure, for an empty array, and for a drawing without
/// model space.
ZELVANE_EXPORT std::int32_t kzdxBlockReferenceMonitorAttach(KzApDocument* document,
                                                            const KzDbObjectIdArray* blocks,
                                                            KzDxClientCallback callback) noexcept;

/// Detaches `callback` from all blocks of the document; has no effect if it is not attached. If this is
/// called by a callback, the detached callback may still be called once, if its call is due already.
ZELVANE_EXPORT void kzdxBlockReferenceMonitorDetach(KzApDocument* document,
                                                    KzDxClientCallback callback) noexcept;

/// Processes edits immediately instead of at the next idle check; without `force`, only if the drawing is
/// watched and was edited. With `notify`, the callbacks of changed blocks are called before the function
/// returns; without, they are called later.
///
/// Returns 1 if the document has a block graph or one could be built; otherwise 0.
ZELVANE_EXPORT std::int32_t kzdxUpdateBlockGraph(KzApDocument* document, bool force, bool notify) noexcept;

/// Appends the ids of the block records that belong to table objects, in the order of the block table.
/// Returns 1, also if there are none; 0 on failure.
ZELVANE_EXPORT std::int32_t kzdxGetBlockRecordIdsOfKzDbTables(KzApDocument* document,
                                                              KzDbObjectIdArray* ids) noexcept;

/// Appends the ids of the table objects: the references of the records of
/// `kzdxGetBlockRecordIdsOfKzDbTables`, grouped by record. Returns 1, also if there are none; 0 on failure.
ZELVANE_EXPORT std::int32_t kzdxGetKzDbTableIds(KzApDocument* document, KzDbObjectIdArray* ids) noexcept;

/// Replaces the contents of the two lists: the names of the blocks that a legacy template file selects, and
/// the names of the attributes selected in them, each name once, in the order of the file. Both are empty
/// if the file cannot be read completely. Works without a document, and while the module is not loaded.
ZELVANE_EXPORT void kzdxReadLegacyBlkTemplate(const std::u16string& path, std::vector<std::u16string>& blocks,
                                              std::vector<std::u16string>& attributes) noexcept;
