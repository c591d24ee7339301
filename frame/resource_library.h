#pragma once

#include "host/platform.h"

#include <vector>

/// The resource library "ZelvaneRes.dll", whose presence is a condition of a load.
///
/// Each successful `load` takes one reference, also if the module is refused afterwards; `release` gives
/// all of them back.
class KzDxResourceLibrary {
public:
    KzDxResourceLibrary() = default;
    KzDxResourceLibrary(const KzDxResourceLibrary&) = delete;
    KzDxResourceLibrary& operator=(const KzDxResourceLibrary&) = delete;
    /// Releases, because a failed load need not be followed by an unload.
    ~KzDxResourceLibrary() { release(); }

    /// Loads the library once more. On failure shows the user why the module does not load, and returns
    /// false.
    [[nodiscard]] bool load();
    void release();

private:
    std::vector<KzPlatform::Library> handles_;
};
