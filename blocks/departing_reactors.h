#pragma once

#include "host/ids.h"
#include "host/object_reactor.h"

#include <vector>

/// Keeps object reactors alive that should be destroyed while the host may still notify them.
///
/// A reactor leaves an object by opening it. While somebody else holds the object open for write that fails,
/// and the reactor stays registered. It is handed over here and destroyed once it has left, or outlived,
/// every object.
class KzDxDepartingReactors {
public:
    [[nodiscard]] static KzDxDepartingReactors& instance();

    /// Destroys `reactor` now, or as soon as it has left the objects `registered`. Ids that are not valid
    /// count as left.
    void adopt(KzDbObjectReactor* reactor, std::vector<KzDbObjectId> registered);

    /// Tries again to leave what could not be left. Called whenever drawings are read anyway.
    void retry();

private:
    struct Departing {
        KzDbObjectReactor* reactor; ///< owned, but never destroyed with this list: the host may still know it
        std::vector<KzDbObjectId> registered;
    };

    [[nodiscard]] static bool hasLeft(Departing& departing);

    std::vector<Departing> waiting_;
};

/// Removes a reactor from an object. False when the object is there but cannot be opened now.
bool kzdxLeaveObject(KzDbObjectId id, KzDbObjectReactor* reactor);
