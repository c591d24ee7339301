#pragma once

namespace Headless {

/// Stands around every call into a module. The libraries of unloaded modules are closed when the outermost
/// one ends: code that is still on the stack must not go away.
class OutwardCall {
public:
    OutwardCall() { begin(); }
    OutwardCall(const OutwardCall&) = delete;
    OutwardCall& operator=(const OutwardCall&) = delete;
    ~OutwardCall() { end(); }

    static void begin() { ++depth; }
    static void end() {
        if (--depth == 0 && areLibrariesWaiting) closeWaitingLibraries();
    }
    /// Asks for the closing as soon as no call is under way.
    static void libraryIsWaiting() { areLibrariesWaiting = true; }

private:
    static void closeWaitingLibraries();

    static inline int depth = 0;
    static inline bool areLibrariesWaiting = false;
};

} // namespace Headless
