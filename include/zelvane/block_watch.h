#pragma once

/// @file
/// To be told which blocks changed, and how.

#include "zelvane/block_changes.h"
#include "zelvane/receiver.h"

#include <algorithm>
#include <functional>
#include <new>
#include <utility>

namespace Zelvane {

namespace detail {

/// A watch while it is attached.
class BlockReceiver final : public Receiver {
public:
    using Function = std::function<void(const BlockChanges&)>;

    BlockReceiver(KzApDocument* document, Function function)
        : Receiver(Kind::watch, document), function_(std::move(function)), last_(document->database(), {}) {}

    /// Watches further blocks.
    [[nodiscard]] Status attach(const KzDbObjectIdArray& blocks) {
        if (blocks.isEmpty()) return Status::noBlocks;
        if (!zelvane().areFound()) return Status::notLoaded;
        if (!isOpen(document())) return Status::noDocument;
        KzDbObjectIdArray all = blocks_;
        Status status = Status::ok;
        for (const KzDbObjectId block : blocks) {
            const Status each = statusFor(block, all);
            if (each == Status::ok) all.append(block);
            if (each == Status::noSuchBlock || status == Status::ok) status = each;
        }
        return all.isEmpty() ? status : attachAll(std::move(all), status);
    }

    [[nodiscard]] const KzDbObjectIdArray& blocks() const { return blocks_; }

private:
    [[nodiscard]] Status statusFor(KzDbObjectId block, const KzDbObjectIdArray& present) const {
        if (!block.isValid() || block.isErased() || block.database() != document()->database()) {
            return Status::noSuchBlock;
        }
        // One that opens as nothing at all is a record that somebody holds open.
        if (!Opened<KzDbBlockTableRecord>(block) && Opened<KzDbObject>(block)) return Status::noSuchBlock;
        const bool isPresent = std::find(present.begin(), present.end(), block) != present.end();
        return isPresent ? Status::alreadyAttached : Status::ok;
    }

    /// Attaches the old ones again, too: should Zelvane have been unloaded meanwhile, it has forgotten them.
    [[nodiscard]] Status attachAll(KzDbObjectIdArray all, Status status) {
        Placements now(document()->database(), all);
        if (zelvane().kzdxBlockReferenceMonitorAttach(document(), &all, function()) != 1) {
            return Status::refused;
        }
        blocks_ = std::move(all);
        last_.add(std::move(now));
        return status;
    }

    void detach() override {
        if (!blocks_.isEmpty()) zelvane().kzdxBlockReferenceMonitorDetach(document(), function());
    }

    /// A function that runs the message loop is not called inside itself: what changes meanwhile is told when
    /// it has returned.
    void call() override {
        isCalledFor_ = true;
        if (isInsideItself()) return;
        while (isCalledFor_ && !hasLeft() && isOpen(document())) {
            isCalledFor_ = false;
            tell();
        }
    }

    /// No exception may leave a callback: one of the function ends there.
    void tell() noexcept try { function_(changesSinceLast()); } catch (...) { // NOLINT(bugprone-empty-catch)
    }

    /// Without memory to look, all of it is said the next time.
    [[nodiscard]] BlockChanges changesSinceLast() noexcept try {
        Placements now(document()->database(), blocks_);
        BlockChanges changes = last_.changesTo(now, blocks_);
        last_ = std::move(now);
        return changes;
    } catch (const std::bad_alloc&) {
        return {};
    }

    Function function_;
    KzDbObjectIdArray blocks_;
    Placements last_;
    bool isCalledFor_ = false;
};

} // namespace detail

/// Watches blocks of one document from `attach` until `detach` or its destruction, and tells a function
/// object what changed.
///
///     Zelvane::BlockWatch watch;
///     const auto status = watch.attach(document, blocks, [](const Zelvane::BlockChanges& changes) {
///         std::printf("%zu blocks\n", changes.size());
///     });
///
/// The function is called when `kzdxBlockReferenceMonitorAttach` calls a callback: once, at the idle check
/// after edits, when a block changed or lies in one that changed. It is given what the drawing tells about
/// that, since the last call or the attaching. What the edits of the function itself placed or took away is
/// told by the next call.
///
/// The function may do anything: edit, attach and detach, close the document, destroy this watch or unload
/// the client. The function object, and what it has captured, live until it returns. It is never called
/// inside itself, also when it runs the message loop: what changes meanwhile is told right after it has
/// returned. An exception that it throws ends there.
///
/// A document that is closed ends its watches, a Zelvane that is unloaded ends their calls; both leave them
/// safe to use and to destroy. There may be any number of watches, on the same blocks too. Beyond 128 in one
/// module, some are also called, with empty changes, when others are meant.
class BlockWatch {
public:
    /// What is called.
    using Function = detail::BlockReceiver::Function;

    /// Begins to watch. Ids that name no live block of the document are passed over, and the status says so;
    /// see `Status`. A watch that is attached stays as it is: `alreadyAttached`.
    Status attach(KzApDocument* document, const KzDbObjectIdArray& blocks, Function function) {
        return detail::statusOf([&] {
            if (isAttached()) return Status::alreadyAttached;
            if (!function) return Status::noFunction;
            if (!isOpen(document) || document->database() == nullptr) return Status::noDocument;
            detail::ReceiverOwner<detail::BlockReceiver> made(
                new detail::BlockReceiver(document, std::move(function)));
            const Status status = made->attach(blocks);
            if (!made->blocks().isEmpty()) receiver_ = std::move(made);
            return status;
        });
    }

    /// Watches further blocks of the same document. Attaching `blocks()` once more brings a watch back to
    /// life after Zelvane was unloaded and loaded again.
    Status attach(const KzDbObjectIdArray& further) {
        return detail::statusOf(
            [&] { return isAttached() ? receiver_->attach(further) : Status::noDocument; });
    }

    /// Ends it: the function is not called any more. Fine when nothing is attached.
    void detach() { receiver_.reset(); }

    /// Whether it watches blocks of a document that is open.
    [[nodiscard]] bool isAttached() const { return receiver_ != nullptr && isOpen(receiver_->document()); }
    /// The blocks that are watched, in the order of attaching.
    [[nodiscard]] KzDbObjectIdArray blocks() const {
        return isAttached() ? receiver_->blocks() : KzDbObjectIdArray();
    }

private:
    detail::ReceiverOwner<detail::BlockReceiver> receiver_;
};

} // namespace Zelvane
