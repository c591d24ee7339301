#include "headless/kzhost/clients.h"

#include "headless/kzhost/libraries.h"
#include "headless/kzhost/script_call.h"
#include "headless/kzhost/values.h"
#include "headless/trace.h"
#include "text/unicode.h"
#include "zelvane/trampolines.h"

#include <array>
#include <set>
#include <utility>

namespace KzHost {

namespace {

/// The client that one trampoline calls. A slot can be reused when the script has no reference to the
/// client and no module can call it.
struct Slot {
    int function = LUA_NOREF; ///< the Lua function
    std::string name;         ///< in quotes, or the position of its function
    bool isReferenced = false;
    std::set<ClientUse> uses;

    /// Removes uses that ended with their document or module, which is safe because addresses and ids are
    /// not reused.
    [[nodiscard]] bool isFree() {
        if (isReferenced) return false;
        std::erase_if(uses, [](const ClientUse& use) {
            return !Headless::isOpen(use.document) || !Headless::isLoaded(use.module);
        });
        return uses.empty();
    }
};

/// One table for the process, because a trampoline has no data.
std::array<Slot, maxClients>& slots() {
    static std::array<Slot, maxClients> slots;
    return slots;
}

void call(std::size_t number) {
    const int function = slots()[number].function;
    const std::string name = slots()[number].name; // a copy: the slot may be reused meanwhile
    const Headless::TraceScope trace([&]() -> Headless::TraceEvent {
        return {Headless::TraceCategory::clientCall, "client " + name, ""};
    });
    ScriptCall::callClient(function, name);
}

constexpr auto callbacks = Zelvane::trampolines<call, maxClients>();

/// The first free slot; `maxClients` if there is none.
std::size_t findFreeSlot() {
    std::size_t slot = 0;
    while (slot < maxClients && !slots()[slot].isFree()) ++slot;
    return slot;
}

/// The content of the Lua value of a client. `maxClients` before the slot is assigned and after
/// finalization.
struct ClientValue {
    std::size_t slot = maxClients;
};

ClientValue* toClient(lua_State* state, int index) {
    return static_cast<ClientValue*>(luaL_testudata(state, index, "client"));
}

/// The default name of a client: the position of its function, which is the first argument, and its
/// address.
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

/// Allocations may run finalizers, which may create clients too, so the free slot is found immediately
/// before it is taken.
Pushed newClient(const Call& call, FunctionArgument /*function*/, const std::optional<std::u16string>& name) {
    lua_State* const state = call.state();
    auto* const value = static_cast<ClientValue*>(lua_newuserdatauv(state, sizeof(ClientValue), 0));
    *value = {};
    luaL_setmetatable(state, "client");
    if (findFreeSlot() == maxClients) lua_gc(state, LUA_GCCOLLECT); // slow, so only if there is no free slot
    const std::size_t number = findFreeSlot();
    if (number == maxClients) call.fail("all " + std::to_string(maxClients) + " clients are in use");
    value->slot = number;
    Slot& slot = slots()[number];
    slot.isReferenced = true;
    luaL_unref(state, LUA_REGISTRYINDEX, slot.function);
    lua_pushvalue(state, 1);
    slot.function = luaL_ref(state, LUA_REGISTRYINDEX);
    slot.name = name.has_value() ? "\"" + Text::toUtf8(*name) + "\"" : placeOf(state, number);
    return {1};
}

/// Finalizer. If another finalizer resurrects the value, the value has no slot.
int collectClient(lua_State* state) {
    ClientValue& value = *toClient(state, 1);
    if (value.slot != maxClients) slots()[value.slot].isReferenced = false;
    value.slot = maxClients;
    return 0;
}

int describeClient(lua_State* state) {
    const std::size_t slot = toClient(state, 1)->slot;
    lua_pushfstring(state, "client %s",
                    slot != maxClients ? slots()[slot].name.c_str() : "that was finalized");
    return 1;
}

std::uintptr_t address(Client client) {
    return reinterpret_cast<std::uintptr_t>(client.function());
}

constexpr Function functions[] = {{"host.client", bind<newClient>}};
constexpr Function members[] = {{"client.address", bind<address>}};

} // namespace

Client Argument<Client>::read(const Call& call, int index) {
    const ClientValue* const value = toClient(call.state(), index);
    if (value == nullptr || value->slot == maxClients) call.expected(index, "a client");
    return {value->slot};
}

KzDxClientCallback Client::function() const {
    return callbacks[slot];
}

void Client::keep(const ClientUse& use) const {
    slots()[slot].uses.insert(use);
}

void Client::release(const ClientUse& use) const {
    slots()[slot].uses.erase(use);
}

void addClientLibrary(lua_State* state) {
    addFunctions(state, functions);
    registerKind(state, "client", {members}, describeClient);
    lua_pushcfunction(state, collectClient);
    lua_setfield(state, -2, "__gc");
    lua_pop(state, 1);
}

} // namespace KzHost
