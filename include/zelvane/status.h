#pragma once

/// @file
/// The result of attaching.

namespace Zelvane {

/// The result of attaching a watch or a timer. `ok` has attached all that was asked for, `noSuchBlock` all
/// blocks but those that `BlockWatch::unknownBlocks` returns. Every other status has changed nothing: what
/// was attached stays attached, and the function object that was passed can be used again.
enum class [[nodiscard]] Status{
    ok,
    noFunction,      ///< the function object is empty
    noDocument,      ///< the document is null, not open, or has no drawing
    notLoaded,       ///< "Zelvane.hmx" is not loaded
    noBlocks,        ///< the list of blocks is empty
    noSuchBlock,     ///< some ids name no block of the document, or an erased one
    alreadyAttached, ///< the watch or timer is attached; detach it first
    failed,          ///< Zelvane or the host failed, out of memory for instance
    notAttached,     ///< the watch is not attached, so no blocks can be added to it
    /// Former name of `failed`.
    refused [[deprecated("use failed")]] = failed,
};

/// The status in words, to be put behind "not attached: ".
[[nodiscard]] constexpr const char* describe(Status status) noexcept {
    switch (status) {
    case Status::ok:
        return "attached";
    case Status::noFunction:
        return "there is no function to call";
    case Status::noDocument:
        return "there is no open document with a drawing";
    case Status::notLoaded:
        return "Zelvane has to be loaded first";
    case Status::noBlocks:
        return "there are no blocks";
    case Status::noSuchBlock:
        return "a block is erased or not in the drawing";
    case Status::alreadyAttached:
        return "it is attached already";
    case Status::failed:
        return "Zelvane or the host failed";
    case Status::notAttached:
        return "the watch is not attached";
    }
    return "unknown";
}

} // namespace Zelvane
