#include "headless/kzhost/script_call.h"

#include <utility>

namespace KzHost {

namespace {

// The address of this is the key of the last error that passed a client.
constexpr char originKey = 0;

// The names of the innermost running client, which its caller owns.
const std::string* running = nullptr;

} // namespace

/// Calls nest: a client may call the host again, which may call clients.
ScriptCall* ScriptCall::innermost = nullptr;

ScriptCall::~ScriptCall() {
    innermost = outer_;
    luaL_unref(state_, LUA_REGISTRYINDEX, pendingError_); // has no effect if there is none
}

/// Message handler: notes where an error was raised while the stack still exists.
int ScriptCall::noteOrigin(lua_State* state) {
    // Only the first of several errors is raised, so only its origin matters.
    if (innermost->pendingError_ != LUA_NOREF) return 1;
    luaL_traceback(state, state, nullptr, 1);
    innermost->origin_ =
        originOfError(state, 1) + "\nin the client " + *running + ", " + lua_tostring(state, -1);
    lua_settop(state, 1);
    return 1;
}

void ScriptCall::callClient(int functionReference, const std::string& name) {
    ScriptCall* const scriptCall = innermost;
    if (scriptCall == nullptr) return; // the script has ended
    lua_State* const state = scriptCall->state_;
    // A client that is not called does less harm than a stack that overflows below a module.
    if (lua_checkstack(state, LUA_MINSTACK) == 0) return;
    const std::string* const outer = std::exchange(running, &name);
    const int top = lua_gettop(state);
    lua_pushcfunction(state, noteOrigin);
    lua_rawgeti(state, LUA_REGISTRYINDEX, functionReference);
    const bool hasFailed = lua_pcall(state, 0, 0, top + 1) != LUA_OK;
    if (hasFailed && scriptCall->pendingError_ == LUA_NOREF) {
        scriptCall->pendingError_ = luaL_ref(state, LUA_REGISTRYINDEX);
    }
    lua_settop(state, top);
    running = outer;
}

/// Leaves the origin where `originOfError` finds it, together with the error that identifies it.
void ScriptCall::rethrowPending() {
    if (pendingError_ == LUA_NOREF) return;
    lua_createtable(state_, 0, 2);
    lua_rawgeti(state_, LUA_REGISTRYINDEX, pendingError_);
    lua_setfield(state_, -2, "error");
    lua_pushlstring(state_, origin_.data(), origin_.size());
    lua_setfield(state_, -2, "origin");
    lua_rawsetp(state_, LUA_REGISTRYINDEX, &originKey);
    lua_rawgeti(state_, LUA_REGISTRYINDEX, pendingError_);
    lua_error(state_);
}

const char* runningClient() {
    return running != nullptr ? running->c_str() : nullptr;
}

std::string originOfError(lua_State* state, int index) {
    const int error = lua_absindex(state, index);
    std::string origin;
    if (lua_rawgetp(state, LUA_REGISTRYINDEX, &originKey) == LUA_TTABLE) {
        lua_getfield(state, -1, "error");
        lua_getfield(state, -2, "origin");
        // The script may have caught that error and raised another one since.
        if (lua_rawequal(state, error, -2) != 0) origin = lua_tostring(state, -1);
        lua_pop(state, 2);
    }
    lua_pop(state, 1);
    return origin;
}

} // namespace KzHost
