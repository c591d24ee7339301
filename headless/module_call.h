#pragma once

#include "headless/export.h"

namespace Headless {

/// Stands around every call into a module, whoever makes it. The libraries of unloaded modules are closed
/// when the outermost one ends: code that is still on the stack must not go away.
class HEADLESS_API ModuleCall {
public:
    ModuleCall() { ++depth; }
    ModuleCall(const ModuleCall&) = delete;
    ModuleCall& operator=(const ModuleCall&) = delete;
    ~ModuleCall() {
        if (--depth == 0 && areLibrariesWaiting) closeWaitingLibraries();
    }

    /// Asks for the closing as soon as no call is under way.
    static void libraryIsWaiting() { areLibrariesWaiting = true; }

private:
    static void closeWaitingLibraries();

    static int depth;
    static bool areLibrariesWaiting;
};

} // namespace Headless
