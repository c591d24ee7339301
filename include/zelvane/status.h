#pragma once

/// @file
/// The result of attaching.

namespace Zelvane {

/// The result of attaching a watch or a timer. `ok`: everything is attached. `noSuchBlock`: all blocks are
/// attached except those that `BlockWatch::unknownBlocks` returns. With any other status the call had no
/// effect: existing attachments are unchanged, and the function object that was passed can be used again.
enum class [[nodiscard]] Status{
    ok,
    noFunction,      ///< the function object is empty
    noDocument,      ///< the document is null, not open, or has no drawing
    notLoaded,       ///< "Zelvane.hmx" is not loaded
    noBlocks,        ///< the list of blocks is empty
    noSuchBlock,     ///< some ids identify no block of the document, or an erased one
    alreadyAttached, ///< the watch or timer is attached; detach it first
    failed,          ///< Zelvane or the host failed, for example out of memory
    notAttached,     ///< blocks cannot be added, because the watch is not attached
    /// Former name of `failed`.
    refused [[deprecated("use failed")]] = failed,
};

/// Describes a status, for a message that begins with "not attached: ".
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
