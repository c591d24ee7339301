#pragma once

/// @file
/// What watches and timers hold.

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

/// What a watch or a timer holds. Its operations are virtual, so that they run in the library that attached
/// it and on that library's state, whichever library's copy of an inline function calls them.
class Attachment {
public:
    Attachment() = default;
    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;
    virtual ~Attachment() = default;

    virtual void end() noexcept = 0;
    [[nodiscard]] virtual bool isAttached() const noexcept = 0;
    /// Of a watch: attaches further blocks, and replaces `unknown` by the ids that name none.
    [[nodiscard]] virtual Status attach(const KzDbObjectIdArray& /*blocks*/, KzDbObjectIdArray& /*unknown*/) {
        return Status::notAttached;
    }
    /// Of a watch: reports what can be reported now.
    virtual void update() noexcept {}
    /// Of a watch: its blocks in order of attaching.
    [[nodiscard]] virtual KzDbObjectIdArray blocks() const { return {}; }
};

/// Whether a function object is there to be called: pointers and wrappers can be null.
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

/// A function object as a std::function of class Result, also one that moves but does not copy.
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

/// Runs what attaches: a lack of memory is a status as well.
template <class Work>
[[nodiscard]] Status statusOf(Work work) noexcept {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return Status::failed;
    }
}

/// Attaches, and ends what is attached with its owner. Function objects in calls under way live until these
/// return.
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

    /// Makes a receiver with these arguments, lets `start` start it, and gives it the function: last,
    /// because the function has to be still whole after a failure. A watch starts although some ids name no
    /// block.
    template <class Receiver, class Function, class Start, class... Arguments>
    [[nodiscard]] ZELVANE_OWN Status attach(KzApDocument* document, Function&& function, Start start,
                                            const Arguments&... arguments) {
        return statusOf([&] {
            if (isAttached()) return Status::alreadyAttached;
            if (!isCallable(function)) return Status::noFunction;
            if (!isOpen(document) || document->database() == nullptr) return Status::noDocument;
            // Not std::make_shared, which brings in a symbol that keeps the library in memory.
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
    /// The old one is destroyed last: what its function object has captured may use this owner.
    ZELVANE_OWN void replace(std::shared_ptr<Attachment> next) noexcept {
        attachment_.swap(next);
        if (next != nullptr) next->end();
    }

    std::shared_ptr<Attachment> attachment_;
};

} // namespace Zelvane::detail
