#pragma once

/// @file
/// Statuses of failed operations.

#include <cstdint>

/// The namespace of the host's statuses.
namespace Orvo {

/// The host's status of an operation. Zero is success; any other value tells why nothing was done.
///
/// The numbers below 1000 are statuses of the host that the module returns too. Numbers from 1000 are our
/// own: the headless host returns them where only failure as such is known; another host returns its own. A
/// status from the host is passed on unchanged, even if its number has no name here.
enum [[nodiscard]] ErrorStatus : std::int32_t{
    ok = 0,
    invalidObjectId = 16,      ///< the id is null, or identifies nothing that can be used
    alreadyPresent = 260,      ///< the entry exists already
    filterRefused = 431,       ///< the host did not register or remove a message filter
    missingCollaborator = 506, ///< an argument is null, or something that the operation needs does not exist
    keyNotFound = 1000,        ///< a table or dictionary has no such entry
    wrongClass = 1001,         ///< the object is not of the requested class
    wasErased = 1002,          ///< the object is erased, and erased objects were not allowed
    heldOpenForWrite = 1003,   ///< the object is being edited or is open for write
    openedTooOften = 1004,     ///< the object has too many unclosed openings
    notProvidedFor = 1005,     ///< the host does not support these arguments
};

} // namespace Orvo
