#pragma once

/// @file
/// Watching blocks: which of them changed, and how.
///
/// How it works. Zelvane calls plain functions without arguments, in ascending order of address, once for
/// each round of changes. The kit has 508 of them for all watches, and gives each block of a document a
/// superimposed code: four of these functions, under which it is attached (`superimposed_code.h`). A function
/// with a higher address, under which all blocks are attached, is called last. By then it is known which
/// functions were called, and a block can have changed only if all of its own were: a Bloom filter over
/// callbacks. These few blocks are read: their lists are compared as memory with what is kept (two ids for
/// each reference), and their references are asked for their owners. So a round costs what was edited, not
/// what is watched. `document_client.h` does this for all watches of a document, `block_receiver.h` for one.

#include "zelvane/block_changes.h"
#include "zelvane/block_receiver.h"

#include <concepts>
#include <functional>
#include <initializer_list>
#include <memory>
#include <utility>

namespace Zelvane {

namespace detail {

/// Any range of ids: an array of the host, a vector, a set, a view; const or not.
template <class Range>
concept IdRange = requires(const Range& range) {
    { *range.begin() } -> std::convertible_to<KzDbObjectId>;
    range.end();
};

} // namespace detail

/// Watches blocks of one document from `attach` until `detach` or its destruction, and reports to a function
/// object what changed.
///
///     Zelvane::BlockWatch watch;
///     const auto status = watch.attach(document, {door, window}, [](const Zelvane::BlockChanges& changes) {
///         for (const KzDbObjectId block : changes.affected()) std::puts(Zelvane::nameOf(block).c_str());
///     });
///
/// The function is called once, at the idle check after edits, if a block changed or is nested in one that
/// changed (see `kzdxBlockReferenceMonitorAttach`), and is given these blocks and what the drawing shows
/// about them since the last call or the attaching. What the function itself adds, removes and moves is
/// reported by the next call.
///
/// The function may do anything: edit, attach and detach, close the document, destroy this watch or unload
/// the client. The function object and its captures live until it returns. It is never called inside itself:
/// if it runs the message loop, what changes meanwhile is reported once right after it has returned. An
/// exception that it throws ends there.
///
/// A document that is closed ends its watches. A Zelvane that is unloaded interrupts them: they go on when it
/// is loaded again. Both leave them safe to use and to destroy. There may be any number of watches, on the
/// same blocks too; ids of representations count as the enhanced block, once. Reading a call costs
/// O(references of the affected blocks); a watch keeps 16 bytes for each reference of its blocks.
class BlockWatch {
public:
    /// The functions that can be attached: all that can be called like this, also those that move but do not
    /// copy.
    using Function = std::function<void(const BlockChanges&)>;

    /// Nothing is attached yet. A watch moves with what is attached; what the target had attached ends.
    /// @{
    ZELVANE_OWN BlockWatch() = default;
    ZELVANE_OWN BlockWatch(BlockWatch&&) noexcept = default;
    ZELVANE_OWN BlockWatch& operator=(BlockWatch&&) noexcept = default;
    ZELVANE_OWN ~BlockWatch() = default;
    /// @}

    /// Begins to watch. `blocks` is any range of ids. Ids that name no block of the document are skipped:
    /// `noSuchBlock`, and `unknownBlocks()` returns them; the others are watched. See `Status`.
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

    /// Watches further blocks of the same document, from now on. Blocks that are watched already stay as they
    /// are.
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

    /// Begins to watch all blocks of a drawing, also those that are defined later; a drawing without blocks
    /// is fine. When the block table was edited, the next call reads it, and reports the references of new
    /// blocks as added. Zelvane makes no call for a new block alone: if nothing else changes, `update` finds
    /// it.
    template <class F>
    ZELVANE_OWN Status attachAll(KzApDocument* document, F&& function, const WatchOptions& options = {}) {
        const auto start = [](Kit::BlockReceiver& made) { return made.attachAll(); };
        return attachment_.attach<Kit::BlockReceiver>(document, std::forward<F>(function), start, options);
    }

    /// Reports at once what no call has reported yet and can be read now: blocks that could not be read, and
    /// with `attachAll` new ones. Calls the function only if there is something to report, and otherwise
    /// costs nothing: for an `IdleTimer`, or before the client prints a result.
    ZELVANE_OWN void update() {
        if (detail::Attachment* const attachment = attachment_.get()) attachment->update();
    }

    /// Ends the watch: the function is not called any more. Has no effect if nothing is attached.
    ZELVANE_OWN void detach() { attachment_.reset(); }

    /// Whether the function is called when blocks change: false as well if the document is closed or Zelvane
    /// is not loaded.
    [[nodiscard]] ZELVANE_OWN bool isAttached() const { return attachment_.isAttached(); }
    /// The blocks that are watched, in the order of attaching.
    [[nodiscard]] ZELVANE_OWN KzDbObjectIdArray blocks() const {
        const detail::Attachment* const attachment = attachment_.get();
        return attachment != nullptr ? attachment->blocks() : KzDbObjectIdArray();
    }
    /// The ids that the last attaching skipped, because they name no block of the document or an erased one.
    [[nodiscard]] ZELVANE_OWN const KzDbObjectIdArray& unknownBlocks() const { return unknownBlocks_; }

private:
    detail::AttachmentOwner attachment_;
    KzDbObjectIdArray unknownBlocks_;
};

} // namespace Zelvane
