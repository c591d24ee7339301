#pragma once

#include <lua.hpp>

#include <string>

namespace KzHost {

/// Scope guard around every function that a script calls in the host, because the function may call
/// clients. The first error of a client is kept and raised after the function has returned, because no
/// error may cross a module. Further errors are printed.
class ScriptCall {
public:
    explicit ScriptCall(lua_State* state) : state_(state), outer_(innermost) { innermost = this; }
    ScriptCall(const ScriptCall&) = delete;
    ScriptCall& operator=(const ScriptCall&) = delete;
    ~ScriptCall();

    /// Calls the Lua function of a client in the state of the innermost active call. `functionReference` is
    /// its key in the registry; `name` is for messages.
    static void callClient(int functionReference, const std::string& name);

    /// Raises the pending error, if there is one.
    void rethrowPending();

private:
    static int storeOrigin(lua_State* state);

    static ScriptCall* innermost;

    lua_State* state_;
    ScriptCall* outer_;
    int pendingError_ = LUA_NOREF;
    std::string origin_; // the clients that the pending error passed, with their tracebacks
};

/// The name of the innermost running client; null if none is running.
[[nodiscard]] const char* runningClient();

/// The clients that an error passed before it was raised in the script, with their tracebacks; empty if it
/// passed none.
[[nodiscard]] std::string originOfError(lua_State* state, int index);

} // namespace KzHost
