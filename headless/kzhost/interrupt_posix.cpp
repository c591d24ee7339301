#include "headless/kzhost/call.h"
#include "headless/kzhost/interrupt.h"

#include <execinfo.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstring>

namespace KzHost {

namespace {

// ---- Ctrl-C. A handler may do next to nothing, but Lua allows it to set a hook.

volatile std::sig_atomic_t isPressed = 0;
lua_State* volatile running = nullptr;

/// Raises the error at each step until the hook is taken away, so that a `pcall` only delays it.
void stop(lua_State* state, lua_Debug* /*where*/) {
    luaL_where(state, 0);
    lua_pushliteral(state, "interrupted");
    lua_concat(state, 2);
    lua_error(state);
}

/// The only call is one that Lua allows in a signal handler.
void onInterrupt(int /*signal*/) {
    isPressed = 1;
    lua_State* const state = running;
    // Every kind of event, so that it strikes at the very next step.
    if (state != nullptr)
        lua_sethook(state, stop, LUA_MASKCALL | LUA_MASKRET | LUA_MASKLINE | LUA_MASKCOUNT, 1);
}

// ---- crashes

constexpr int crashes[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
struct sigaction formerActions[std::size(crashes)];

/// What may be used in a handler: no buffers, no memory. Whether it was written does not matter any more.
constexpr std::size_t mostCalls = 16;
std::array<void*, mostCalls> calls;

void say(const char* text) {
    static_cast<void>(!write(STDERR_FILENO, text, std::strlen(text)));
}

/// Says its word and hands the signal on: it comes again when the handler has returned.
void onCrash(int signal) {
    if (const char* const client = ScriptCall::runningClient()) {
        say("kzhost: crashed while the client ");
        say(client);
        say(" was running\n");
    }
    // With the library of each call: a module that crashes by itself is seen by its name.
    say("kzhost: crashed in these calls, the innermost first:\n");
    const int depth = backtrace(calls.data(), static_cast<int>(calls.size()));
    backtrace_symbols_fd(calls.data(), depth, STDERR_FILENO);
    // The former actions first: what comes next ends the process as it would have without this.
    for (std::size_t at = 0; at < std::size(crashes); ++at)
        sigaction(crashes[at], &formerActions[at], nullptr);
    raise(signal);
}

} // namespace

Interruptible::Interruptible(lua_State* state) : state_(state) {
    running = state_;
}

Interruptible::~Interruptible() {
    // Before the hook is taken away: a signal in between would set it again.
    running = nullptr;
    lua_sethook(state_, nullptr, 0, 0);
}

void catchInterrupts() {
    struct sigaction action {};
    action.sa_handler = onInterrupt; // without SA_RESTART: a script that waits for input goes on
    sigaction(SIGINT, &action, nullptr);
}

bool takeInterrupt() {
    const bool wasPressed = isPressed != 0;
    isPressed = 0;
    return wasPressed;
}

void nameClientOnCrash() {
    static_cast<void>(backtrace(calls.data(), 1)); // the first call allocates
    static char stack[1 << 16];                    // the program's own may be what is used up
    const stack_t ownStack = {stack, 0, sizeof stack};
    sigaltstack(&ownStack, nullptr);
    struct sigaction action {};
    action.sa_handler = onCrash;
    action.sa_flags = SA_ONSTACK;
    for (std::size_t at = 0; at < std::size(crashes); ++at)
        sigaction(crashes[at], &action, &formerActions[at]);
}

} // namespace KzHost
