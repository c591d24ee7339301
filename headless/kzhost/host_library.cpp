#include "headless/kzhost/clients.h"
#include "headless/kzhost/libraries.h"
#include "headless/kzhost/values.h"
#include "headless/session.h"

#include <string>
#include <string_view>

namespace KzHost {

namespace {

// ---- documents

int open(Call& call) {
    const std::u16string name = call.text(1, "a name (string)");
    bool withDrawing = true;
    if (call.has(2)) {
        call.table(2, "a table of options");
        if (lua_getfield(call.state(), 2, "database") != LUA_TNIL) {
            withDrawing = call.boolean(lua_gettop(call.state()), "database = true or false");
        }
    }
    pushDocument(call.state(), Headless::openDocument(name, withDrawing));
    return 1;
}

int documents(Call& call) {
    lua_State* const state = call.state();
    lua_newtable(state);
    lua_Integer at = 0;
    for (KzApDocument* const each : Headless::documents()) {
        pushDocument(state, each);
        lua_rawseti(state, -2, ++at);
    }
    return 1;
}

int current(Call& call) {
    if (call.has(1)) Headless::makeCurrent(call.document(1));
    pushDocument(call.state(), Headless::currentDocument());
    return 1;
}

// ---- commands

int command(Call& call) {
    lua_State* const state = call.state();
    const std::u16string name = call.text(1, "a command name (string)");
    call.function(2, "a function");
    KzApDocument* const document = Headless::beginCommand(name);
    if (document == nullptr) call.fail("expected a current document, got none open");
    lua_settop(state, 2);
    const int status = lua_pcall(state, 0, LUA_MULTRET, 0);
    Headless::endCommand(document, name); // a command that failed has ended too
    if (status != LUA_OK) lua_error(state);
    return lua_gettop(state) - 1;
}

int lock(Call& call) {
    KzApDocument* const document = call.document(1);
    if (call.has(2)) {
        Headless::reportLockMode(document, call.text(2, "a command name (string) or nil").c_str());
    } else {
        Headless::reportLockMode(document, nullptr);
    }
    return 0;
}

// ---- messages and clock

int give(const Call& call, const Headless::Pumped& pumped) {
    lua_pushinteger(call.state(), static_cast<lua_Integer>(pumped.dispatched));
    lua_pushinteger(call.state(), static_cast<lua_Integer>(pumped.taken));
    return 2;
}

int pump(Call& call) {
    return give(call, Headless::pump());
}

int idle(Call& call) {
    return give(call, Headless::idle());
}

/// A message parameter: an integer, or a document (open or not), which stands for its address.
std::uintptr_t parameter(const Call& call, int index) {
    if (!call.has(index)) return 0;
    if (const KzApDocument* const document = toDocument(call.state(), index)) {
        return reinterpret_cast<std::uintptr_t>(document);
    }
    return static_cast<std::uintptr_t>(call.integer(index, "a parameter (integer or document)"));
}

int post(Call& call) {
    const std::uint32_t number = call.number32(1, "a message number (integer)");
    Headless::post(number, parameter(call, 2), static_cast<std::intptr_t>(parameter(call, 3)));
    return 0;
}

int registerMessage(Call& call) {
    const std::u16string name = call.text(1, "a message name (string)");
    lua_pushinteger(call.state(), KzPlatform::registerWindowMessage(name.c_str()));
    return 1;
}

int ticks(Call& call) {
    if (call.has(1)) Headless::setTicks(call.number32(1, "a tick count (integer)"));
    lua_pushinteger(call.state(), Headless::ticks());
    return 1;
}

int advance(Call& call) {
    Headless::advance(call.number32(1, "milliseconds (integer)"));
    return 0;
}

int input(Call& call) {
    if (call.has(1)) Headless::setInputWaiting(call.boolean(1, "whether input is waiting (boolean)"));
    lua_pushboolean(call.state(), KzPlatform::inputIsWaiting() ? 1 : 0);
    return 1;
}

// ---- what is shown, registered and refused

int messages(Call& call) {
    lua_State* const state = call.state();
    lua_newtable(state);
    lua_Integer at = 0;
    for (const Headless::ShownBox& box : Headless::shownBoxes()) {
        lua_createtable(state, 0, 2);
        pushText(state, box.text);
        lua_setfield(state, -2, "text");
        lua_pushinteger(state, static_cast<lua_Integer>(box.style));
        lua_setfield(state, -2, "style");
        lua_rawseti(state, -2, ++at);
    }
    return 1;
}

int services(Call& call) {
    lua_State* const state = call.state();
    lua_newtable(state);
    lua_Integer at = 0;
    for (const std::u16string& name : Headless::services()) {
        pushText(state, name);
        lua_rawseti(state, -2, ++at);
    }
    return 1;
}

int filters(Call& call) {
    lua_pushinteger(call.state(), static_cast<lua_Integer>(Headless::filterCount()));
    return 1;
}

int reactors(Call& call) {
    lua_pushinteger(call.state(), static_cast<lua_Integer>(Headless::managerReactorCount()));
    return 1;
}

Headless::Facility facility(const Call& call, int index) {
    using Headless::Facility;
    constexpr const char* what = R"("filter", "manager", "iterator" or "window")";
    const std::string name = call.bytes(index, what);
    if (name == "filter") return Facility::filter;
    if (name == "manager") return Facility::manager;
    if (name == "iterator") return Facility::iterator;
    if (name == "window") return Facility::window;
    call.expected(index, what);
}

int refuse(Call& call) {
    const Headless::Facility what = facility(call, 1);
    Headless::refuse(what, call.boolean(2, "whether to refuse (boolean)"));
    return 0;
}

constexpr Function functions[] = {
    {"host.open", open},         {"host.documents", documents}, {"host.current", current},
    {"host.command", command},   {"host.lock", lock},           {"host.pump", pump},
    {"host.idle", idle},         {"host.post", post},           {"host.registerMessage", registerMessage},
    {"host.ticks", ticks},       {"host.advance", advance},     {"host.input", input},
    {"host.messages", messages}, {"host.services", services},   {"host.filters", filters},
    {"host.reactors", reactors}, {"host.refuse", refuse},
};

} // namespace

void openLibraries(lua_State* state, const Setup& setup) {
    registerValues(state);
    lua_newtable(state);
    enter(state, functions);
    enterClientFunction(state);
    enterModuleFunctions(state, setup);
    lua_setglobal(state, "host");
}

} // namespace KzHost
