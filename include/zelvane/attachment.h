#pragma once

/// @file
/// The implementation objects of watches and timers, and their owner.

#include "host/id_array.h"
#include "zelvane/document_client.h"
#include "zelvane/own_state.h"
#include "zelvane/status.h"

#include <concepts>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace Zelvane::detail {

/// The implementation of a watch or a timer. Owned by its `AttachmentOwner`. Its operations are virtual
/// because they must run in the library that attached it, on that library's state, even if another
/// library's copy of an inline function calls them.
class Attachment {
public:
    Attachment() = default;
    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;
    virtual ~Attachment() = default;

    virtual void end() noexcept = 0;
    [[nodiscard]] virtual bool isAttached() const noexcept = 0;
    /// Of a watch: attaches more blocks, and replaces `unknown` by the ids that identify no block.
    [[nodiscard]] virtual Status attach(const KzDbObjectIdArray& /*blocks*/, KzDbObjectIdArray& /*unknown*/) {
        return Status::notAttached;
    }
    /// Of a watch: reports pending changes that can be read now.
    virtual void update() noexcept {}
    /// Of a watch: its blocks in order of attaching.
    [[nodiscard]] virtual KzDbObjectIdArray blocks() const { return {}; }
};

/// Whether a function object can be called: pointers and wrappers can be null.
template <class Function>
[[nodiscard]] bool isCallable(const Function& function) {
    if constexpr (std::is_same_v<Function, std::nullptr_t>) {
        return false;
    } else if constexpr (requires {
                             { function == nullptr } -> std::convertible_to<bool>;
                         }) {
        return !(function == nullptr);
    } else {
        return true;
    }
}

/// Converts a function object to a std::function of type Result. The function object may be move-only.
template <class Result, class Function>
[[nodiscard]] Result storable(Function&& function) {
    using Stored = std::decay_t<Function>;
    if constexpr (std::is_copy_constructible_v<Stored>) {
        return std::forward<Function>(function);
    } else {
        const std::shared_ptr<Stored> shared(new Stored(std::forward<Function>(function)));
        return [shared](auto&&... arguments) { (*shared)(std::forward<decltype(arguments)>(arguments)...); };
    }
}

/// Runs an operation that attaches. Out of memory becomes a status.
template <class Work>
[[nodiscard]] Status statusOf(Work work) noexcept {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return Status::failed;
    }
}

/// Owns the attachment of a watch or a timer, and ends it when destroyed. If the function object is being
/// called then, it is destroyed after it has returned.
class AttachmentOwner {
public:
    AttachmentOwner() = default;
    ZELVANE_OWN AttachmentOwner(AttachmentOwner&& other) noexcept
        : attachment_(std::exchange(other.attachment_, nullptr)) {}
    ZELVANE_OWN AttachmentOwner& operator=(AttachmentOwner&& other) noexcept {
        if (this != &other) replace(std::exchange(other.attachment_, nullptr));
        return *this;
    }
    ZELVANE_OWN ~AttachmentOwner() { reset(); }

    /// Creates a receiver with the arguments, starts it by `start`, and moves the function into it; last,
    /// because the function must be unchanged after a failure. A watch is started even if some ids identify
    /// no block.
    template <class Receiver, class Function, class Start, class... Arguments>
    [[nodiscard]] ZELVANE_OWN Status attach(KzApDocument* document, Function&& function, Start start,
                                            const Arguments&... arguments) {
        return statusOf([&] {
            if (isAttached()) return Status::alreadyAttached;
            if (!isCallable(function)) return Status::noFunction;
            if (!isOpen(document) || document->database() == nullptr) return Status::noDocument;
            // Not std::make_shared, which adds a symbol that keeps the library in memory.
            const std::shared_ptr<Receiver> made(
                new Receiver(Kit::DocumentClient::of(document), arguments...));
            const Status status = start(*made);
            const bool isPart = status == Status::noSuchBlock && !made->blocks().isEmpty();
            if (status != Status::ok && !isPart) return status;
            made->setFunction(storable<typename Receiver::Function>(std::forward<Function>(function)));
            replace(made);
            return status;
        });
    }

    ZELVANE_OWN void reset() noexcept { replace(nullptr); }
    [[nodiscard]] ZELVANE_OWN Attachment* get() const { return attachment_.get(); }
    [[nodiscard]] ZELVANE_OWN bool isAttached() const {
        return attachment_ != nullptr && attachment_->isAttached();
    }

private:
    /// The old attachment is destroyed last, because the captures of its function object may use this
    /// owner.
    ZELVANE_OWN void replace(std::shared_ptr<Attachment> next) noexcept {
        attachment_.swap(next);
        if (next != nullptr) next->end();
    }

    std::shared_ptr<Attachment> attachment_;
};

} // namespace Zelvane::detail
