#pragma once

#include "host/platform.h"

#include <vector>

/// The resource library "ZelvaneRes.dll", whose presence is a condition of a load.
///
/// Every load that found it took one reference, also a load that was refused afterwards; `release` gives all
/// of them back.
class KzDxResourceLibrary {
public:
    KzDxResourceLibrary() = default;
    KzDxResourceLibrary(const KzDxResourceLibrary&) = delete;
    KzDxResourceLibrary& operator=(const KzDxResourceLibrary&) = delete;
    /// Releases: a load that failed may be followed by no unload.
    ~KzDxResourceLibrary() { release(); }

    /// Loads the library once more. On failure tells the user why the module does not load, and returns
    /// false.
    [[nodiscard]] bool load();
    void release();

private:
    std::vector<KzPlatform::Library> handles_;
};
