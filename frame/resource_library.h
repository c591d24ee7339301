#pragma once

#include "host/platform.h"

#include <vector>

/// The resource library "ZelvaneRes.dll", which the module requires.
///
/// Each successful `load` takes one reference, even if the load of the module fails afterwards; `release`
/// releases all of them.
class KzDxResourceLibrary {
public:
    KzDxResourceLibrary() = default;
    KzDxResourceLibrary(const KzDxResourceLibrary&) = delete;
    KzDxResourceLibrary& operator=(const KzDxResourceLibrary&) = delete;
    /// Releases all references, because no unload follows a failed load.
    ~KzDxResourceLibrary() { release(); }

    /// Loads the library once more. On failure, shows a message to the user and returns false.
    [[nodiscard]] bool load();
    void release();

private:
    std::vector<KzPlatform::Library> handles_;
};
