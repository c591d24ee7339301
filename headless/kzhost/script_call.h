#pragma once

#include <lua.hpp>

#include <string>

namespace KzHost {

/// Scope guard around all that a function does in the host, because that may call client functions. The first
/// error of a client is kept and raised when the function is done: no error crosses a module. Further errors
/// are printed.
class ScriptCall {
public:
    explicit ScriptCall(lua_State* state) : state_(state), outer_(innermost) { innermost = this; }
    ScriptCall(const ScriptCall&) = delete;
    ScriptCall& operator=(const ScriptCall&) = delete;
    ~ScriptCall();

    /// Calls the Lua function of a client, by its place in the registry, in the state of the innermost active
    /// call. `name` is for messages.
    static void callClient(int functionReference, const std::string& name);

    /// Raises the kept error, if there is one.
    void rethrowPending();

private:
    static int noteOrigin(lua_State* state);

    static ScriptCall* innermost;

    lua_State* state_;
    ScriptCall* outer_;
    int pendingError_ = LUA_NOREF;
    std::string origin_; // the clients that the kept error passed, with their tracebacks
};

/// The innermost client that is running; null if none is.
[[nodiscard]] const char* runningClient();

/// The clients that an error passed before it was raised in the script, with their tracebacks; empty if it
/// passed none.
[[nodiscard]] std::string originOfError(lua_State* state, int index);

} // namespace KzHost
