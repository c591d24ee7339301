#include "headless/kzhost/clients.h"

#include "headless/kzhost/values.h"
#include "headless/session.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace KzHost {

namespace {

constexpr const char* clientKind = "client";
// The address of this is the key of the table of clients that modules know: sets of them by use, by module.
constexpr char keptKey = 0;

struct ClientValue {
    std::size_t slot;
};

/// The Lua function behind each plain function; LUA_NOREF where there is none.
std::array<int, mostClients>& functions() {
    static auto functions = [] {
        std::array<int, mostClients> none{};
        none.fill(LUA_NOREF);
        return none;
    }();
    return functions;
}

// A plain function carries no data, so there is one for each slot.
template <std::size_t slot>
void callSlot() {
    const int function = functions()[slot];
    if (function != LUA_NOREF) Outward::callClient(function);
}

template <std::size_t... slots>
constexpr std::array<ClientFunction, sizeof...(slots)> plainFunctions(std::index_sequence<slots...> /*all*/) {
    return {callSlot<slots>...};
}

constexpr auto callbacks = plainFunctions(std::make_index_sequence<mostClients>());

lua_Integer addressOf(const KzApDocument* document) {
    return static_cast<lua_Integer>(reinterpret_cast<std::uintptr_t>(document));
}

/// Documents lie at even addresses, which never come back with another document.
lua_Integer keyOf(const ClientUse& use) {
    return addressOf(use.document) | static_cast<lua_Integer>(use.purpose);
}

/// Whether the document of a use has closed.
bool isOver(lua_Integer key) {
    const std::vector<KzApDocument*> open = Headless::documents();
    return std::none_of(open.begin(), open.end(), [key](const KzApDocument* each) {
        return addressOf(each) == (key & ~lua_Integer{1});
    });
}

/// Replaces the table on top of the stack by the one under a key of it, which is made when there is none.
void stepInto(lua_State* state, lua_Integer key) {
    if (lua_rawgeti(state, -1, key) == LUA_TNIL) {
        lua_pop(state, 1);
        lua_newtable(state);
        lua_pushvalue(state, -1);
        lua_rawseti(state, -3, key);
    }
    lua_remove(state, -2);
}

void setKept(lua_State* state, int index, const ClientUse& use, bool isKept) {
    if (lua_isnoneornil(state, index)) return;
    lua_rawgetp(state, LUA_REGISTRYINDEX, &keptKey);
    stepInto(state, use.module);
    stepInto(state, keyOf(use));
    lua_pushvalue(state, index);
    isKept ? lua_pushboolean(state, 1) : lua_pushnil(state);
    lua_rawset(state, -3);
    lua_pop(state, 1);
}

/// Lets go of the clients of one module, whose table is on top of the stack, that closed documents had.
void releaseClosed(lua_State* state) {
    for (lua_pushnil(state); lua_next(state, -2) != 0; lua_pop(state, 1)) {
        const lua_Integer key = lua_tointeger(state, -2);
        if (!isOver(key)) continue;
        lua_pushnil(state);
        lua_rawseti(state, -4, key);
    }
}

/// Frees the slots of all clients that nobody can name or call any more.
void freeUnusedSlots(lua_State* state) {
    lua_rawgetp(state, LUA_REGISTRYINDEX, &keptKey);
    for (lua_pushnil(state); lua_next(state, -2) != 0; lua_pop(state, 1)) releaseClosed(state);
    lua_pop(state, 1);
    lua_gc(state, LUA_GCCOLLECT);
}

std::size_t freeSlot() {
    std::size_t slot = 0;
    while (slot < mostClients && functions()[slot] != LUA_NOREF) ++slot;
    return slot;
}

int newClient(Call& call) {
    lua_State* const state = call.state();
    call.function(1, "a function");
    std::size_t slot = freeSlot();
    if (slot == mostClients) {
        freeUnusedSlots(state);
        slot = freeSlot();
    }
    if (slot == mostClients) call.fail("all " + std::to_string(mostClients) + " clients are in use");
    auto* const value = static_cast<ClientValue*>(lua_newuserdatauv(state, sizeof(ClientValue), 0));
    *value = {slot};
    lua_pushvalue(state, 1);
    functions()[slot] = luaL_ref(state, LUA_REGISTRYINDEX);
    luaL_setmetatable(state, clientKind);
    return 1;
}

const ClientValue* toClient(lua_State* state, int index) {
    return static_cast<ClientValue*>(luaL_testudata(state, index, clientKind));
}

int clientField(Call& call, const std::string& key) {
    if (key != "address") return 0;
    const auto address = reinterpret_cast<std::uintptr_t>(clientFunction(call, 1));
    lua_pushinteger(call.state(), static_cast<lua_Integer>(address));
    return 1;
}

int describeClient(lua_State* state) {
    lua_pushfstring(state, "client %d", static_cast<int>(toClient(state, 1)->slot));
    return 1;
}

int collectClient(lua_State* state) {
    int& function = functions()[toClient(state, 1)->slot];
    luaL_unref(state, LUA_REGISTRYINDEX, function);
    function = LUA_NOREF;
    return 0;
}

constexpr Function clientFunctions[] = {{"host.client", newClient}};

} // namespace

void enterClientFunction(lua_State* state) {
    lua_newtable(state);
    lua_rawsetp(state, LUA_REGISTRYINDEX, &keptKey);
    newKind(state, clientKind, clientField, describeClient);
    lua_pop(state, 1);
    luaL_getmetatable(state, clientKind);
    lua_pushcfunction(state, collectClient);
    lua_setfield(state, -2, "__gc");
    lua_pop(state, 1);
    enter(state, clientFunctions);
}

ClientFunction clientFunction(const Call& call, int index) {
    if (!call.has(index)) return nullptr;
    const ClientValue* const value = toClient(call.state(), index);
    if (value == nullptr) call.expected(index, "a client");
    return callbacks[value->slot];
}

void keepClient(lua_State* state, int index, const ClientUse& use) {
    setKept(state, index, use, true);
}

void releaseClient(lua_State* state, int index, const ClientUse& use) {
    setKept(state, index, use, false);
}

void releaseClients(lua_State* state, lua_Integer module) {
    lua_rawgetp(state, LUA_REGISTRYINDEX, &keptKey);
    lua_pushnil(state);
    lua_rawseti(state, -2, module);
    lua_pop(state, 1);
}

} // namespace KzHost
