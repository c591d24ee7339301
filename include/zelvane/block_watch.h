#pragma once

/// @file
/// Watching blocks: which of them changed, and how.
///
/// Implementation: Zelvane calls plain functions without arguments, in ascending order of address, once per
/// round. The kit has 508 such callbacks for all watches. It assigns each block of a document a
/// superimposed code, which consists of four of these callbacks, and attaches the block to them
/// (`superimposed_code.h`). All blocks are also attached to a callback with a higher address, which is
/// called last. At that time the callbacks that were called are known; a block may have changed only if all
/// four of its callbacks were called, as in a Bloom filter. Only these blocks are read: their lists of
/// references, and the owner of each reference, are compared with the stored ones (two ids per reference).
/// A round is O(references of the affected blocks), not of the watched ones. `document_client.h` implements
/// this for all watches of a document, `block_receiver.h` for one watch.

#include "zelvane/block_changes.h"
#include "zelvane/block_receiver.h"

#include <concepts>
#include <functional>
#include <initializer_list>
#include <memory>
#include <utility>

namespace Zelvane {

namespace detail {

/// A range of ids, for example a host array, a vector, a set or a view.
template <class Range>
concept IdRange = requires(const Range& range) {
    { *range.begin() } -> std::convertible_to<KzDbObjectId>;
    range.end();
};

} // namespace detail

/// Watches blocks of one document from `attach` until `detach` or its destruction, and reports their
/// changes to a function object.
///
///     Zelvane::BlockWatch watch;
///     const auto status = watch.attach(document, {door, window}, [](const Zelvane::BlockChanges& changes) {
///         for (const KzDbObjectId block : changes.affected()) std::puts(Zelvane::nameOf(block).c_str());
///     });
///
/// The function is called once, at the idle check after edits, if a block changed or is nested in a block
/// that changed (see `kzdxBlockReferenceMonitorAttach`). Its argument has these blocks and their changes
/// since the last call or since they were attached. Changes that the function itself makes are reported by
/// the next call.
///
/// The function may edit, attach and detach, close the document, destroy this watch or unload the client.
/// The function object and its captures live until it returns. Calls do not nest: if the function runs the
/// message loop, changes during this time are reported once, immediately after it has returned. An
/// exception that the function throws is ignored.
///
/// When a document is closed, its watches end. When Zelvane is unloaded, all watches are interrupted until
/// it is loaded again. Watches can be used and destroyed after either. There may be any number of watches,
/// also of the same blocks. The id of a representation means its enhanced block, which is watched once.
/// Each call is O(references of the affected blocks); a watch uses 16 bytes per reference of its blocks.
class BlockWatch {
public:
    /// The signature of the function. Move-only function objects can be attached too.
    using Function = std::function<void(const BlockChanges&)>;

    /// A new watch is not attached. Moving transfers the attachment; that of the target ends.
    /// @{
    ZELVANE_OWN BlockWatch() = default;
    ZELVANE_OWN BlockWatch(BlockWatch&&) noexcept = default;
    ZELVANE_OWN BlockWatch& operator=(BlockWatch&&) noexcept = default;
    ZELVANE_OWN ~BlockWatch() = default;
    /// @}

    /// Begins to watch blocks; `blocks` is any range of ids. If some ids identify no block of the document,
    /// the other blocks are watched, the result is `noSuchBlock`, and `unknownBlocks()` returns these ids.
    /// See `Status`.
    template <detail::IdRange Ids, class F>
    ZELVANE_OWN Status attach(KzApDocument* document, const Ids& blocks, F&& function,
                              const WatchOptions& options = {}) {
        unknownBlocks_.clear();
        const auto start = [&](Kit::BlockReceiver& made) {
            return made.attach(idArray(blocks), unknownBlocks_);
        };
        return attachment_.attach<Kit::BlockReceiver>(document, std::forward<F>(function), start, options);
    }
    /// The same for a list in braces.
    template <class F>
    ZELVANE_OWN Status attach(KzApDocument* document, std::initializer_list<KzDbObjectId> blocks,
                              F&& function, const WatchOptions& options = {}) {
        return attach<std::initializer_list<KzDbObjectId>, F>(document, blocks, std::forward<F>(function),
                                                              options);
    }

    /// Watches more blocks of the same document. Has no effect on blocks that are watched already.
    template <detail::IdRange Ids>
    ZELVANE_OWN Status attach(const Ids& further) {
        return detail::statusOf([&] {
            detail::Attachment* const attachment = attachment_.get();
            return attachment != nullptr ? attachment->attach(idArray(further), unknownBlocks_)
                                         : Status::notAttached;
        });
    }
    /// The same for a list in braces.
    ZELVANE_OWN Status attach(std::initializer_list<KzDbObjectId> further) {
        return attach<std::initializer_list<KzDbObjectId>>(further);
    }

    /// Begins to watch all blocks of a drawing, including blocks that are defined later. The drawing may
    /// have no blocks. After an edit of the block table, the next call reads the table, and reports the
    /// references of new blocks as added. A new block alone does not cause a call; `update` detects it.
    template <class F>
    ZELVANE_OWN Status attachAll(KzApDocument* document, F&& function, const WatchOptions& options = {}) {
        const auto start = [](Kit::BlockReceiver& made) { return made.attachAll(); };
        return attachment_.attach<Kit::BlockReceiver>(document, std::forward<F>(function), start, options);
    }

    /// Reports pending changes immediately: those of blocks that could not be read before and, with
    /// `attachAll`, new blocks. Calls the function only if there are changes. Reads nothing if nothing is
    /// pending, so it can be called by an `IdleTimer`.
    ZELVANE_OWN void update() {
        if (detail::Attachment* const attachment = attachment_.get()) attachment->update();
    }

    /// Ends the watch: the function is no longer called. Has no effect if the watch is not attached.
    ZELVANE_OWN void detach() { attachment_.reset(); }

    /// Whether the function is called when blocks change. False if the watch is not attached, the document
    /// is closed, or Zelvane is not loaded.
    [[nodiscard]] ZELVANE_OWN bool isAttached() const { return attachment_.isAttached(); }
    /// The watched blocks, in the order of attaching.
    [[nodiscard]] ZELVANE_OWN KzDbObjectIdArray blocks() const {
        const detail::Attachment* const attachment = attachment_.get();
        return attachment != nullptr ? attachment->blocks() : KzDbObjectIdArray();
    }
    /// The ids that the last `attach` skipped, because they identify no block of the document or an erased
    /// one.
    [[nodiscard]] ZELVANE_OWN const KzDbObjectIdArray& unknownBlocks() const { return unknownBlocks_; }

private:
    detail::AttachmentOwner attachment_;
    KzDbObjectIdArray unknownBlocks_;
};

} // namespace Zelvane
