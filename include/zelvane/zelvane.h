#pragma once

/// @file
/// What "Zelvane.hmx" offers to other modules of the host.
///
/// A client does not link the module. It finds these functions at run time through `KzDxExports` of
/// `zelvane/client.h`, which has them under the same names.
///
/// All functions are called on the host's main thread, have plain C names and never throw. A document is
/// known by its address, an object by its id; a null pointer gives the failure value, and so does an address
/// that is no open document's, as far as the host tells which are open. The functions work only while the
/// module is loaded: before and after that they return their failure value (except
/// `kzdxReadLegacyBlkTemplate`, which needs a file and nothing else). A function that returns its failure
/// value has attached, appended and told nothing, also when it was memory that it lacked, and may be called
/// again.
///
/// A callback is a plain function without arguments and result, known by its address and never owned. It is
/// called on the main thread from inside the host's message loop (or from inside `kzdxUpdateBlockGraph`), and
/// it may do anything: attach and detach callbacks, edit drawings, update graphs, close its own document or
/// another one, unload the module. Detach callbacks before the library that holds them is closed.
///
/// A callback that runs the host's message loop (a dialog, a progress bar) may be called again before it has
/// returned: an idle check inside it finds what has become due meanwhile. A callback that cannot bear that
/// keeps a flag while it runs, and returns at once when it finds the flag set.

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
/// At each idle check of the document at which at least `interval` milliseconds have passed since the end of
/// the previous calls (at first: since the first call), every attached callback is called once, in
/// ascending order of address. The interval begins anew when the last of them has returned: until then every
/// idle check, which only a callback that runs the message loop brings about, calls all of them again. The
/// interval of the latest call, attaching or detaching, holds for all
/// callbacks of the document; a change to a value that is negative as a signed number means 0, at every idle
/// check. A callback attached twice is there once. A callback that is detached while others are being called
/// is not called any more; one that is attached then is called in the same round when its address lies ahead.
///
/// Returns 1; 0 for a null argument or a document without a drawing.
///
///     zelvane.kzdxDocTimerAttach(document, &save, 60000, 1); // every minute, when the user pauses
///     zelvane.kzdxDocTimerAttach(document, &save, 60000, 0); // no longer
ZELVANE_EXPORT std::int32_t kzdxDocTimerAttach(KzApDocument* document, KzDxClientCallback callback,
                                               std::uint32_t interval, std::int32_t attach) noexcept;

/// Watches block definitions: `callback` is called once, at the next idle check after edits of the drawing,
/// when one of the blocks has changed or lies inside a block that has changed, at any depth.
///
/// A block has changed when references of it were inserted, moved, copied, erased or modified, or attributes
/// of them (an attribute that is added to a reference which is watched already tells of its later edits only
/// after the watching has begun anew), and when the record that stands for an attached drawing was edited. An
/// enhanced block changes through its anonymous representations as well; their ids count as its own. `blocks`
/// is read only; ids that name no block definition are passed over (a block defined later needs a further
/// attach). The same callback may be attached for further blocks. Several callbacks are called in ascending
/// order of address. The first attach begins to watch the drawing: what was edited before is not reported.
///
/// Returns 1, also when no id is known; 0 for a null argument, an empty array, or a document without a
/// drawing or without model space.
///
///     KzDbObjectIdArray doors;
///     doors.append(Zelvane::findBlock(document->database(), "Door"));
///     const std::int32_t done = zelvane.kzdxBlockReferenceMonitorAttach(document, &doors, &doorsChanged);
///     if (done != 1) std::puts("no drawing");
ZELVANE_EXPORT std::int32_t kzdxBlockReferenceMonitorAttach(KzApDocument* document,
                                                            const KzDbObjectIdArray* blocks,
                                                            KzDxClientCallback callback) noexcept;

/// Detaches `callback` from all blocks of the document. With the last callback the module stops watching the
/// drawing. A callback that a notification under way has gathered already is still called by it.
///
///     zelvane.kzdxBlockReferenceMonitorDetach(document, &doorsChanged); // fine when it was not there
ZELVANE_EXPORT void kzdxBlockReferenceMonitorDetach(KzApDocument* document,
                                                    KzDxClientCallback callback) noexcept;

/// Brings the document's block graph up to date at once instead of at the next idle check.
///
/// Without `force`, only when the drawing is watched and has been edited. With `notify`, the callbacks of
/// changed blocks are called before the function returns; without, their changes wait for a later
/// notification.
///
/// Returns 1 when the document has a graph or one could be built; otherwise 0.
///
///     zelvane.kzdxUpdateBlockGraph(document, false, true); // who counts doors is told now, and not later
ZELVANE_EXPORT std::int32_t kzdxUpdateBlockGraph(KzApDocument* document, bool force, bool notify) noexcept;

/// Appends the ids of the block records that belong to table objects (anonymous, not dependent, "T" as the
/// second character of the name), in the order of the block table. What the array held stays in front.
///
/// Returns 1, also when there are none; 0 for a null argument or a document without a drawing, with nothing
/// appended.
///
///     KzDbObjectIdArray records;
///     zelvane.kzdxGetBlockRecordIdsOfKzDbTables(document, &records);
///     for (const KzDbObjectId record : records) std::puts(Zelvane::nameOf(record).c_str());
ZELVANE_EXPORT std::int32_t kzdxGetBlockRecordIdsOfKzDbTables(KzApDocument* document,
                                                              KzDbObjectIdArray* ids) noexcept;

/// Appends the ids of the table objects: all references of the records that
/// `kzdxGetBlockRecordIdsOfKzDbTables` lists, grouped by record. Results as there.
///
///     KzDbObjectIdArray tables;
///     if (zelvane.kzdxGetKzDbTableIds(document, &tables) == 1) std::printf("%d tables\n", tables.length());
ZELVANE_EXPORT std::int32_t kzdxGetKzDbTableIds(KzApDocument* document, KzDbObjectIdArray* ids) noexcept;

/// Reads a legacy block template file into the names of its selected blocks and of the attributes selected in
/// those blocks, each name once, in the order of the file.
///
/// Both lists are emptied first; they stay empty when the file cannot be read completely.
///
///     std::vector<std::u16string> blocks, attributes;
///     zelvane.kzdxReadLegacyBlkTemplate(u"doors.tpl", blocks, attributes);
ZELVANE_EXPORT void kzdxReadLegacyBlkTemplate(const std::u16string& path, std::vector<std::u16string>& blocks,
                                              std::vector<std::u16string>& attributes) noexcept;
