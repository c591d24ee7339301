#include "headless/kzhost/script.h"

#include "headless/kzhost/tracing.h"
#include "headless/mistakes.h"
#include "headless/session.h"

#include <cstdio>
#include <new>

namespace KzHost {

namespace {

// The address of this is the key of the traceback of the last error.
constexpr char tracebackKey = 0;

/// Message handler: makes a message of any error value, and keeps where it came from, as long as the stack is
/// there to tell.
int keepTraceback(lua_State* state) {
    luaL_traceback(state, state, nullptr, 1);
    const std::string traceback = lua_tostring(state, -1) + originOfError(state, 1);
    lua_pushlstring(state, traceback.data(), traceback.size());
    lua_rawsetp(state, LUA_REGISTRYINDEX, &tracebackKey);
    luaL_tolstring(state, 1, nullptr);
    return 1;
}

/// Unloads and closes everything, and tells what the modules did wrong meanwhile, as nobody else is left to.
void endInOrder() {
    Headless::reset();
    for (const std::string& each : Headless::mistakes()) {
        std::fprintf(stderr, "kzhost: a module passed to the host what it does not provide for: %s\n",
                     each.c_str());
    }
}

/// os.exit ends the host in order too, from wherever it is called.
int exitInOrder(lua_State* state) {
    endInOrder();
    endTracing();
    // The original function, which was replaced.
    lua_pushvalue(state, lua_upvalueindex(1));
    lua_insert(state, 1);
    lua_call(state, lua_gettop(state) - 1, 0);
    return 0;
}

/// `os.exit` ends the process without unwinding anything, so the host's end is put before it.
void replaceExit(lua_State* state) {
    lua_getglobal(state, "os");
    lua_getfield(state, -1, "exit");
    lua_pushcclosure(state, exitInOrder, 1);
    lua_setfield(state, -2, "exit");
    lua_pop(state, 1);
}

/// Pushes the arguments of the script as the script's parameters; gives how many.
int pushParameters(lua_State* state) {
    if (lua_getglobal(state, "arg") != LUA_TTABLE) return 0; // a text that ran before has taken it away
    const int arguments = lua_gettop(state);
    const auto count = static_cast<int>(lua_rawlen(state, arguments));
    luaL_checkstack(state, count + LUA_MINSTACK, "too many arguments");
    for (int at = 1; at <= count; ++at) lua_rawgeti(state, arguments, at);
    lua_remove(state, arguments);
    return count;
}

} // namespace

/// Every call of a session writes it anew when it fails, and leaves it when it does not.
std::string lastTraceback(lua_State* state) {
    lua_rawgetp(state, LUA_REGISTRYINDEX, &tracebackKey);
    const char* const traceback = lua_tostring(state, -1);
    std::string result = traceback != nullptr ? traceback : "";
    lua_pop(state, 1);
    return result;
}

Session::Session(const Setup& setup) : state_(luaL_newstate()) {
    if (state_ == nullptr) throw std::bad_alloc();
    luaL_openlibs(state_);
    replaceExit(state_);
    openLibraries(state_, setup);
}

Session::~Session() {
    {
        const ScriptCall scriptCall(state_); // whatever the modules still call
        endInOrder();
    }
    endTracing(); // it may lead to a function of this state
    lua_close(state_);
}

void Session::setArguments(const std::vector<std::string>& words, std::size_t script) {
    lua_createtable(state_, static_cast<int>(words.size()), 0);
    // So that the script is at 0.
    lua_Integer at = -static_cast<lua_Integer>(script);
    for (const std::string& each : words) {
        lua_pushlstring(state_, each.data(), each.size());
        lua_rawseti(state_, -2, at++);
    }
    lua_setglobal(state_, "arg");
}

bool Session::runFile(const std::string& script) {
    const int status = luaL_loadfile(state_, script == "-" ? nullptr : script.c_str());
    return runLoaded(status, status == LUA_OK ? pushParameters(state_) : 0);
}

bool Session::runText(const std::string& text) {
    return runLoaded(luaL_loadbuffer(state_, text.data(), text.size(), "=(command line)"), 0);
}

bool Session::runLoaded(int loadStatus, int argumentCount) {
    const bool isDone = loadStatus == LUA_OK && call(argumentCount);
    // What was printed comes before what went wrong, where both go to one place.
    std::fflush(stdout);
    // No handler has run for it. The message is alone on the stack, where a handler would find it.
    if (loadStatus != LUA_OK) keepTraceback(state_);
    if (!isDone) std::fprintf(stderr, "%s\n%s\n", lua_tostring(state_, -1), lastTraceback(state_).c_str());
    lua_settop(state_, 0);
    return isDone;
}

bool Session::call(int argumentCount) {
    const int function = lua_gettop(state_) - argumentCount;
    lua_pushcfunction(state_, keepTraceback);
    // The handler lies under the function, whose results stay when it is taken out again.
    lua_insert(state_, function);
    const int status = lua_pcall(state_, argumentCount, LUA_MULTRET, function);
    lua_remove(state_, function);
    return status == LUA_OK;
}

} // namespace KzHost
