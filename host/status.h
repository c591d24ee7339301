#pragma once

#include <cstdint>

namespace Orvo {

/// The host's status of an operation. Zero is success; every other value says why nothing was done.
///
/// The numbers that modules may compare with stand here and nowhere else. A status that came from the host is
/// passed on as it is, also when its number has no name here.
enum ErrorStatus : std::int32_t {
    ok = 0,
    invalidObjectId = 16,      ///< the id is null, or names nothing that can be used
    keyNotFound = 30,          ///< a table or dictionary has no such entry
    wrongClass = 44,           ///< the object is not of the class that was asked for
    wasErased = 58,            ///< the object is erased, and erased ones were not allowed
    heldOpenForWrite = 72,     ///< somebody holds the object open for write
    heldOpenForRead = 73,      ///< the object cannot be opened for write while others read it
    alreadyPresent = 260,      ///< there is such an entry already
    filterRefused = 431,       ///< the host registers or removes no message filter now
    missingCollaborator = 506, ///< a null argument, or something the operation needs does not exist
};

} // namespace Orvo
