#include "headless/kzhost/script.h"

#include "headless/session.h"

#include <cstdio>
#include <new>

namespace KzHost {

namespace {

/// Makes a message of any error value and adds where it came from.
int addTraceback(lua_State* state) {
    const char* message = luaL_tolstring(state, 1, nullptr);
    luaL_traceback(state, state, message, 1);
    return 1;
}

/// os.exit ends the host in order too, from wherever it is called.
int exitInOrder(lua_State* state) {
    Headless::reset();
    lua_pushvalue(state, lua_upvalueindex(1));
    lua_insert(state, 1);
    lua_call(state, lua_gettop(state) - 1, 0);
    return 0;
}

void replaceExit(lua_State* state) {
    lua_getglobal(state, "os");
    lua_getfield(state, -1, "exit");
    lua_pushcclosure(state, exitInOrder, 1);
    lua_setfield(state, -2, "exit");
    lua_pop(state, 1);
}

/// Makes the table `arg`: the script at 0, its arguments from 1, the program at -1.
void setArguments(lua_State* state, const std::vector<std::string>& arguments) {
    lua_newtable(state);
    lua_Integer at = -1;
    for (const std::string& each : arguments) {
        lua_pushlstring(state, each.data(), each.size());
        lua_rawseti(state, -2, at++);
    }
    lua_setglobal(state, "arg");
}

/// Pushes the arguments of the script as the script's parameters; gives how many.
int pushParameters(lua_State* state, const std::vector<std::string>& arguments) {
    luaL_checkstack(state, static_cast<int>(arguments.size()) + LUA_MINSTACK, "too many arguments");
    int count = 0;
    for (std::size_t at = 2; at < arguments.size(); ++at, ++count) {
        lua_pushlstring(state, arguments[at].data(), arguments[at].size());
    }
    return count;
}

} // namespace

Session::Session(const Setup& setup) : state_(luaL_newstate()) {
    if (state_ == nullptr) throw std::bad_alloc();
    luaL_openlibs(state_);
    replaceExit(state_);
    openLibraries(state_, setup);
}

Session::~Session() {
    {
        const Outward outward(state_); // whatever the modules still call
        Headless::reset();
    }
    lua_close(state_);
}

bool Session::run(const std::string& script, const std::vector<std::string>& arguments) {
    setArguments(state_, arguments);
    const char* const file = script == "-" ? nullptr : script.c_str();
    bool isDone = luaL_loadfile(state_, file) == LUA_OK;
    if (isDone) isDone = call(pushParameters(state_, arguments));
    if (!isDone) std::fprintf(stderr, "%s\n", lua_tostring(state_, -1));
    lua_settop(state_, 0);
    return isDone;
}

bool Session::call(int argumentCount) {
    const int function = lua_gettop(state_) - argumentCount;
    lua_pushcfunction(state_, addTraceback);
    lua_insert(state_, function);
    const int status = lua_pcall(state_, argumentCount, LUA_MULTRET, function);
    lua_remove(state_, function);
    return status == LUA_OK;
}

} // namespace KzHost
