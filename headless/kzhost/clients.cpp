#include "headless/kzhost/clients.h"

#include "headless/kzhost/libraries.h"
#include "headless/kzhost/values.h"
#include "headless/session.h"
#include "headless/trace.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace KzHost {

namespace {

// The address of this is the key of the table of clients that modules know: sets of them by use, by module.
constexpr char keptKey = 0;

/// What a Lua value of a client holds: the place of its plain function.
struct ClientValue {
    std::size_t slot;
};

/// What stands behind each plain function.
struct Slot {
    int function = LUA_NOREF; ///< the Lua function; LUA_NOREF when there is none
    std::string name;         ///< in quotes, or where its function stands
};

/// One for the process, because a plain function has nothing by which to find another.
std::array<Slot, mostClients>& slots() {
    static std::array<Slot, mostClients> slots;
    return slots;
}

void call(std::size_t number) {
    const Slot slot = slots()[number]; // a copy: the client may end itself
    if (slot.function == LUA_NOREF) return;
    const Headless::TraceScope trace([&]() -> Headless::TraceEvent {
        return {Headless::TraceCategory::clientCall, "client " + slot.name, ""};
    });
    ScriptCall::callClient(slot.function, slot.name);
}

// A plain function carries no data, so there is one for each slot.
template <std::size_t number>
void callSlot() {
    call(number);
}

template <std::size_t... numbers>
constexpr std::array<ClientFunction, sizeof...(numbers)>
plainFunctions(std::index_sequence<numbers...> /*all*/) {
    return {callSlot<numbers>...};
}

/// The plain function of each slot, made at compile time: `mostClients` functions with addresses of their
/// own.
constexpr auto callbacks = plainFunctions(std::make_index_sequence<mostClients>());

lua_Integer addressOf(const KzApDocument* document) {
    return static_cast<lua_Integer>(reinterpret_cast<std::uintptr_t>(document));
}

/// Documents lie at even addresses, which never come back with another document.
lua_Integer keyOf(const ClientUse& use) {
    assert((addressOf(use.document) & 1) == 0);
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

/// Clients are the keys of the set of their use: one that is attached twice is there once, and one that is
/// there is not collected.
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
        // An entry may be cleared during a walk, though none may be added.
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
    // The values that nobody reaches any more free their slots as they are collected.
    lua_gc(state, LUA_GCCOLLECT);
}

/// The lowest slot that is free; `mostClients` when none is.
std::size_t freeSlot() {
    std::size_t slot = 0;
    while (slot < mostClients && slots()[slot].function != LUA_NOREF) ++slot;
    return slot;
}

/// What a client without a name is called by: the line at which its function, the first argument, begins, and
/// its address.
std::string placeOf(lua_State* state, std::size_t slot) {
    lua_Debug place{};
    lua_pushvalue(state, 1);
    lua_getinfo(state, ">S", &place);
    lua_pushfstring(state, "at %s:%d (%p)", place.short_src, place.linedefined,
                    reinterpret_cast<void*>(callbacks[slot]));
    std::string text = lua_tostring(state, -1);
    lua_pop(state, 1);
    return text;
}

int newClient(Call& call) {
    lua_State* const state = call.state();
    call.function(1, "a function");
    std::string name;
    // Read before a slot is taken: a wrong name is an error.
    if (call.has(2)) name = "\"" + Text::toUtf8(call.text(2, "a name (string)")) + "\"";
    // Collecting everything takes long, so it is done only when slots run out.
    if (freeSlot() == mostClients) freeUnusedSlots(state);
    if (freeSlot() == mostClients) call.fail("all " + std::to_string(mostClients) + " clients are in use");
    auto* const value = static_cast<ClientValue*>(lua_newuserdatauv(state, sizeof(ClientValue), 0));
    lua_pushvalue(state, 1);
    const int function = luaL_ref(state, LUA_REGISTRYINDEX);
    // Whatever allocates may run finalizers, which may make clients too: the slot is taken at once.
    const std::size_t slot = freeSlot();
    if (slot == mostClients) {
        luaL_unref(state, LUA_REGISTRYINDEX, function);
        call.fail("all " + std::to_string(mostClients) + " clients are in use");
    }
    slots()[slot] = {function, std::move(name)};
    *value = {slot};
    luaL_setmetatable(state, clientChapter.name); // from here on collecting the value frees the slot
    if (slots()[slot].name.empty()) slots()[slot].name = placeOf(state, slot);
    return 1;
}

const ClientValue* toClient(lua_State* state, int index) {
    return static_cast<ClientValue*>(luaL_testudata(state, index, clientChapter.name));
}

int address(Call& call) {
    const auto address = reinterpret_cast<std::uintptr_t>(clientFunction(call, 1));
    lua_pushinteger(call.state(), static_cast<lua_Integer>(address));
    return 1;
}

int describeClient(lua_State* state) {
    lua_pushfstring(state, "client %s", slots()[toClient(state, 1)->slot].name.c_str());
    return 1;
}

/// Finalizer of a client: no script has the value and no module is said to know it, so its plain function may
/// be given to another one.
int collectClient(lua_State* state) {
    Slot& slot = slots()[toClient(state, 1)->slot];
    luaL_unref(state, LUA_REGISTRYINDEX, slot.function);
    slot = {};
    return 0;
}

constexpr Function functions[] = {
    {"host.client", newClient, R"(
        Makes a client callback: a plain C function of no arguments and no result that calls a Lua function.
        What the function raises is kept until the module has returned, and is then raised in the script.
        @param fn fun() what is called
        @param name? string how the client is called in traces and messages; without it by the line of the
            function
        @return client client to be attached with the exports of a module
        @error all 1024 are in use
        @example local caller = host.client(function() print("a door was changed") end, "Door")
        )"},
};

constexpr Function fields[] = {
    {"client.address", address, R"(
        The address of the C function. Modules call their clients in ascending order of addresses.
        @type integer
        @example print(client.address)
        )"},
};

} // namespace

extern const Chapter clientsOfHostChapter = {"host", "Clients",
                                             "Who attaches to a module, and is called by it.", functions};
extern const Chapter clientChapter = {"client", "A client", "What `host.client` gives.", {}, fields};

/// The finalizer is added to what every kind of value has.
void registerClients(lua_State* state) {
    lua_newtable(state);
    lua_rawsetp(state, LUA_REGISTRYINDEX, &keptKey);
    newKind(state, clientChapter, describeClient);
    luaL_getmetatable(state, clientChapter.name);
    lua_pushcfunction(state, collectClient);
    lua_setfield(state, -2, "__gc");
    lua_pop(state, 1);
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

/// With the whole table of the module: an unloaded one calls nobody.
void releaseClients(lua_State* state, lua_Integer module) {
    lua_rawgetp(state, LUA_REGISTRYINDEX, &keptKey);
    lua_pushnil(state);
    lua_rawseti(state, -2, module);
    lua_pop(state, 1);
}

} // namespace KzHost
