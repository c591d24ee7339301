#pragma once

/// @file
/// How the host says that something failed.

#include <cstdint>

/// Where the statuses of the host stand.
namespace Orvo {

/// The host's status of an operation. Zero is success; every other value says why nothing was done.
///
/// The numbers below 1000 are those of the host that the module gives itself. Those from 1000 up are ours:
/// the headless host gives them where only failure as such is known, and another host gives its own. A status
/// that came from the host is passed on as it is, also when its number has no name here.
enum [[nodiscard]] ErrorStatus : std::int32_t{
    ok = 0,
    invalidObjectId = 16,      ///< the id is null, or names nothing that can be used
    alreadyPresent = 260,      ///< there is such an entry already
    filterRefused = 431,       ///< the host registers or removes no message filter now
    missingCollaborator = 506, ///< a null argument, or something the operation needs does not exist
    keyNotFound = 1000,        ///< a table or dictionary has no such entry
    wrongClass = 1001,         ///< the object is not of the class that was asked for
    wasErased = 1002,          ///< the object is erased, and erased ones were not allowed
    heldOpenForWrite = 1003,   ///< the object is being edited, or somebody holds it open for write
    openedTooOften = 1004,     ///< nobody has closed the object for too long
    notProvidedFor = 1005,     ///< the call passes what the host does not provide for
};

} // namespace Orvo
