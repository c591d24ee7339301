#include "headless/kzhost/script_call.h"

#include <cstdio>
#include <utility>

namespace KzHost {

namespace {

/// A running client, and the call that gets its error.
struct ClientRun {
    ScriptCall& call;
    const std::string& name;
};
const ClientRun* running = nullptr; // the innermost one

// The last error that passed a client, by its key in the registry, and the clients that it passed.
int lastError = LUA_NOREF;
std::string lastOrigin;

} // namespace

/// Calls nest: a client may call the host again, which may call clients.
ScriptCall* ScriptCall::innermost = nullptr;

ScriptCall::~ScriptCall() {
    innermost = outer_;
    luaL_unref(state_, LUA_REGISTRYINDEX, pendingError_); // has no effect if there is none
}

/// Message handler: records the origin of the first error. Converts later errors to text here, in protected
/// mode, because the conversion may fail.
int ScriptCall::storeOrigin(lua_State* state) {
    ScriptCall& call = running->call;
    if (call.pendingError_ != LUA_NOREF) {
        luaL_tolstring(state, 1, nullptr);
        return 1;
    }
    luaL_traceback(state, state, nullptr, 1);
    call.origin_ =
        originOfError(state, 1) + "\nin the client " + running->name + ", " + lua_tostring(state, -1);
    lua_settop(state, 1);
    return 1;
}

void ScriptCall::callClient(int functionReference, const std::string& name) {
    ScriptCall* const scriptCall = innermost;
    if (scriptCall == nullptr) return; // the script has ended
    lua_State* const state = scriptCall->state_;
    // Skips the client if the stack is full, because an error must not be raised across the module.
    if (lua_checkstack(state, LUA_MINSTACK) == 0) return;
    const ClientRun run{*scriptCall, name};
    const ClientRun* const outer = std::exchange(running, &run);
    lastOrigin.clear(); // an equal error value of this client is a new error
    const int top = lua_gettop(state);
    lua_pushcfunction(state, storeOrigin);
    lua_rawgeti(state, LUA_REGISTRYINDEX, functionReference);
    const bool hasFailed = lua_pcall(state, 0, 0, top + 1) != LUA_OK;
    if (hasFailed && scriptCall->pendingError_ == LUA_NOREF) {
        scriptCall->pendingError_ = luaL_ref(state, LUA_REGISTRYINDEX);
    } else if (hasFailed) {
        std::fflush(stdout);
        std::fprintf(stderr, "kzhost: client failed too: %s: %s\n", name.c_str(), lua_tostring(state, -1));
    }
    lua_settop(state, top);
    running = outer;
}

/// Stores the origin for `originOfError`.
void ScriptCall::rethrowPending() {
    if (pendingError_ == LUA_NOREF) return;
    luaL_unref(state_, LUA_REGISTRYINDEX, lastError);
    lastError = std::exchange(pendingError_, LUA_NOREF);
    lastOrigin = origin_;
    lua_rawgeti(state_, LUA_REGISTRYINDEX, lastError);
    lua_error(state_);
}

const char* runningClient() {
    return running != nullptr ? running->name.c_str() : nullptr;
}

/// Compares with the last error, because the script may have caught that and raised another one.
std::string originOfError(lua_State* state, int index) {
    const int error = lua_absindex(state, index);
    lua_rawgeti(state, LUA_REGISTRYINDEX, lastError);
    const bool isLast = lua_rawequal(state, error, -1) != 0;
    lua_pop(state, 1);
    return isLast ? lastOrigin : "";
}

} // namespace KzHost
