#pragma once

#include <lua.hpp>

namespace KzHost {

/// Scope guard: while it stands, Ctrl-C ends what the state runs by an error, which no `pcall` of the script
/// holds up. Before and after it Ctrl-C is noted. There is one at a time.
class Interruptible {
public:
    explicit Interruptible(lua_State* state);
    Interruptible(const Interruptible&) = delete;
    Interruptible& operator=(const Interruptible&) = delete;
    ~Interruptible();

private:
    lua_State* state_;
};

/// From now on Ctrl-C does not end the process.
void catchInterrupts();

/// Whether Ctrl-C was pressed since this was asked last.
[[nodiscard]] bool takeInterrupt();

/// From now on a crash says on standard error which client was running, if one was, and is a crash all the
/// same.
void nameClientOnCrash();

} // namespace KzHost
