#pragma once

/// @file
/// How attaching went.

namespace Zelvane {

/// How an attaching of the client kit went. Only `ok` has attached all that was asked for; `noSuchBlock` and
/// `alreadyAttached` have attached the rest, and every other one has changed nothing. What was attached
/// before stays attached whatever the status is.
enum class [[nodiscard]] Status{
    ok,
    noFunction,      ///< the function object is empty
    noDocument,      ///< the document is null, not open, or has no drawing
    notLoaded,       ///< "Zelvane.hmx" is not loaded
    noBlocks,        ///< the list of blocks is empty
    noSuchBlock,     ///< a block is erased, or its id names no block of the document; the others are watched
    alreadyAttached, ///< it was attached before: the watch or timer as a whole, or one of the blocks
    refused,         ///< Zelvane was unloaded, or it or the host lacked something, memory for instance
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
    case Status::refused:
        return "Zelvane refused";
    }
    return "unknown";
}

} // namespace Zelvane
