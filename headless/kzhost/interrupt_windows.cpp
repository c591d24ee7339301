#include "headless/kzhost/call.h"
#include "headless/kzhost/interrupt.h"

#include <windows.h>

#include <atomic>
#include <cstdio>

namespace KzHost {

namespace {

// ---- Ctrl-C. The system tells it on a thread of its own, which only leaves a flag: the state is looked at,
// and its hook changed, by the thread that runs it.

constexpr int stepsBetweenLooks = 1000;

std::atomic<bool> isPressed = false;

/// Raises the error at each step until the hook is taken away, so that a `pcall` only delays it.
void stop(lua_State* state, lua_Debug* /*where*/) {
    luaL_where(state, 0);
    lua_pushliteral(state, "interrupted");
    lua_concat(state, 2);
    lua_error(state);
}

void look(lua_State* state, lua_Debug* where) {
    if (!isPressed) return;
    lua_sethook(state, stop, LUA_MASKCALL | LUA_MASKRET | LUA_MASKLINE | LUA_MASKCOUNT, 1);
    stop(state, where);
}

BOOL WINAPI onInterrupt(DWORD event) {
    // What else ends a console ends the process as usual.
    if (event != CTRL_C_EVENT) return FALSE;
    isPressed = true;
    return TRUE;
}

/// Says its word and passes the crash on to the system.
LONG WINAPI onCrash(EXCEPTION_POINTERS* /*what*/) {
    if (const char* const client = ScriptCall::runningClient())
        std::fprintf(stderr, "kzhost: crashed while the client \"%s\" was running\n", client);
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

Interruptible::Interruptible(lua_State* state) : state_(state) {
    static_cast<void>(takeInterrupt()); // one that came before is not meant for what runs now
    lua_sethook(state_, look, LUA_MASKCOUNT, stepsBetweenLooks);
}

Interruptible::~Interruptible() {
    lua_sethook(state_, nullptr, 0, 0);
}

void catchInterrupts() {
    SetConsoleCtrlHandler(onInterrupt, TRUE);
}

bool takeInterrupt() {
    return isPressed.exchange(false);
}

void nameClientOnCrash() {
    SetUnhandledExceptionFilter(onCrash);
}

} // namespace KzHost
