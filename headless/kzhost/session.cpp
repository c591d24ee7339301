#include "headless/kzhost/session.h"

#include "headless/kzhost/script_call.h"
#include "headless/modules.h"

#include <cstdio>
#include <cstring>
#include <new>

namespace KzHost {

namespace {

/// Resets the host and prints the usage errors of modules during the reset, because no script can catch
/// them.
void endInOrder() {
    Headless::reset();
    for (const std::string& each : Headless::usageErrors()) {
        std::fprintf(stderr, "kzhost: invalid host call by a module: %s\n", each.c_str());
    }
}

/// Replaces `os.exit`: resets the host first, because `os.exit` ends the process without running
/// destructors.
int exitInOrder(lua_State* state) {
    // Checks the argument first, so that a wrong one has no effect.
    if (!lua_isnoneornil(state, 1) && !lua_isboolean(state, 1)) luaL_checkinteger(state, 1);
    endInOrder();
    const bool isWritten = finishOutput();
    lua_pushvalue(state, lua_upvalueindex(1)); // the original function
    lua_insert(state, 1);
    if (!isWritten) {
        lua_settop(state, 1);
        lua_pushboolean(state, 0);
    }
    lua_call(state, lua_gettop(state) - 1, 0);
    return 0;
}

/// The global function `traceback`; its upvalue is the text.
int printTraceback(lua_State* state) {
    const auto& text = *static_cast<const std::string*>(lua_touserdata(state, lua_upvalueindex(1)));
    std::puts(text.empty() ? "No error so far." : text.c_str());
    return 0;
}

} // namespace

Session::Session(const Setup& setup) : state_(luaL_newstate()) {
    if (state_ == nullptr) throw std::bad_alloc();
    lua_warning(state_, "@on", 0); // errors of finalizers are printed
    luaL_openlibs(state_);
    lua_getglobal(state_, "os");
    lua_getfield(state_, -1, "exit");
    lua_pushcclosure(state_, exitInOrder, 1);
    lua_setfield(state_, -2, "exit");
    lua_pop(state_, 1);
    openLibraries(state_, setup);
    addHelp();
}

/// Resets the host twice, because finalizers that run in `lua_close` may open documents and load modules.
Session::~Session() {
    {
        const ScriptCall scriptCall(state_); // for the clients that modules still call
        endInOrder();
    }
    lua_close(state_);
    endInOrder();
}

bool finishOutput() {
    const bool isTraced = endTracing();
    const bool isPrinted = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (!isPrinted) std::fputs("kzhost: cannot write standard output\n", stderr);
    return isTraced && isPrinted;
}

/// The global functions `help` and `traceback`.
void Session::addHelp() {
    lua_pushstring(state_, apiLua);
    pushFunctionNames(state_);
    runEmbedded(helpLua, 2, 1);
    lua_setglobal(state_, "help");
    lua_pushlightuserdata(state_, &traceback_);
    lua_pushcclosure(state_, printTraceback, 1);
    lua_setglobal(state_, "traceback");
    pushFunctionNames(state_);
    for (const char* const name : {"help", "traceback"}) {
        lua_getglobal(state_, name);
        lua_pushstring(state_, name);
        lua_rawset(state_, -3);
    }
    lua_pop(state_, 1);
}

void Session::runEmbedded(const char* lua, int argumentCount, int resultCount) {
    luaL_loadbuffer(state_, lua, std::strlen(lua), "=kzhost");
    lua_insert(state_, -1 - argumentCount);
    lua_call(state_, argumentCount, resultCount);
}

void Session::setArguments(const std::vector<std::string>& words, std::size_t script) {
    lua_createtable(state_, static_cast<int>(words.size()), 0);
    lua_Integer at = -static_cast<lua_Integer>(script);
    for (const std::string& each : words) {
        lua_pushlstring(state_, each.data(), each.size());
        lua_rawseti(state_, -2, at++);
    }
    lua_setglobal(state_, "arg");
}

bool Session::runFile(const std::string& script, const std::vector<std::string>& arguments) {
    return runLoaded(luaL_loadfile(state_, script == "-" ? nullptr : script.c_str()), arguments);
}

bool Session::runText(const std::string& text) {
    return runLoaded(luaL_loadbuffer(state_, text.data(), text.size(), "=(command line)"), {});
}

bool Session::runLoaded(int loadStatus, const std::vector<std::string>& arguments) {
    const auto count = static_cast<int>(arguments.size());
    const bool isLoaded = loadStatus == LUA_OK;
    bool isDone = false;
    if (isLoaded && lua_checkstack(state_, count + LUA_MINSTACK) != 0) {
        for (const std::string& each : arguments) lua_pushlstring(state_, each.data(), each.size());
        isDone = call(count);
    } else if (isLoaded) {
        lua_pushstring(state_, "kzhost: too many arguments");
    }
    std::fflush(stdout); // the script's output comes before the message
    if (!isDone) std::fprintf(stderr, "%s\n", lua_tostring(state_, -1));
    if (!isDone && isLoaded) std::fprintf(stderr, "%s\n", traceback_.c_str());
    lua_settop(state_, 0);
    return isDone;
}

/// Message handler: stores the traceback while the stack exists, and converts any error value to a message.
int Session::keepTraceback(lua_State* state) {
    auto& traceback = *static_cast<std::string*>(lua_touserdata(state, lua_upvalueindex(1)));
    luaL_traceback(state, state, nullptr, 1);
    traceback = lua_tostring(state, -1) + originOfError(state, 1);
    luaL_tolstring(state, 1, nullptr);
    return 1;
}

bool Session::call(int argumentCount) {
    const int function = lua_gettop(state_) - argumentCount;
    lua_pushlightuserdata(state_, &traceback_);
    lua_pushcclosure(state_, keepTraceback, 1);
    lua_insert(state_, function);
    const int status = lua_pcall(state_, argumentCount, LUA_MULTRET, function);
    lua_remove(state_, function);
    return status == LUA_OK;
}

} // namespace KzHost
