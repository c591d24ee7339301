#include "headless/kzhost/clients.h"
#include "headless/kzhost/libraries.h"
#include "headless/kzhost/values.h"
#include "headless/session.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

namespace KzHost {

namespace {

// ---- documents

int open(Call& call) {
    const std::u16string name = call.text(1, "a name (string)");
    bool withDrawing = true;
    call.eachOption(2, [&](const std::string& option) {
        if (option != "database") call.fail("expected the option database, got \"" + option + "\"");
        withDrawing = call.boolean(lua_gettop(call.state()), "database = true or false");
    });
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

/// Making a document current calls reactors, which may close it: what is current then is asked anew.
int current(Call& call) {
    if (call.has(1)) Headless::makeCurrent(call.document(1));
    pushDocument(call.state(), Headless::currentDocument());
    return 1;
}

// ---- commands

/// The function is called in protected mode, so that the command ends in any case; its error goes on from
/// there.
int command(Call& call) {
    lua_State* const state = call.state();
    const std::u16string name = call.text(1, "a command name (string)");
    call.function(2, "a function");
    KzApDocument* const document = Headless::beginCommand(name);
    if (document == nullptr) call.fail("expected a current document, got none open");
    // The function has to be on top; what it gives is all that stands above the name.
    lua_settop(state, 2);
    const int status = lua_pcall(state, 0, LUA_MULTRET, 0);
    Headless::endCommand(document, name); // a command that failed has ended too
    if (status != LUA_OK) lua_error(state);
    return lua_gettop(state) - 1;
}

/// A null name is not the same as an empty one.
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

/// Asked as a module asks it.
int input(Call& call) {
    if (call.has(1)) Headless::setInputWaiting(call.boolean(1, "whether input is waiting (boolean)"));
    lua_pushboolean(call.state(), KzPlatform::inputIsWaiting() ? 1 : 0);
    return 1;
}

// ---- what is shown, registered and refused

/// A list of copies: boxes that are shown later are not in it.
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

/// The names of facilities are part of the Lua interface, and known only here.
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

// ---- what they say about themselves

constexpr Function documentFunctions[] = {
    {"host.open", open, R"(
        Opens a document with an empty drawing (layout records `*Model_Space` and `*Paper_Space`, in this
        order) and makes it current.
        @param name string how it is called
        @param options? {database: boolean} `database = false`: the document has no drawing
        @return document document the new document
        @example local garden = host.open("garden")
        )"},
    {"host.documents", documents, R"(
        Lists the open documents, in the order of opening.
        @return document[] documents the list
        @example for _, each in ipairs(host.documents()) do print(each.name) end
        )"},
    {"host.current", current, R"(
        Gives the current document, and makes one current before that when it is told to.
        @param document? document which one becomes current
        @return document? current nil when none is open
        @example host.current(house)
        )"},
};

constexpr Function commandFunctions[] = {
    {"host.command", command, R"(
        Runs a command on the current document: its lock mode is reported as changed for the command, a
        command is active while the function runs, then the lock mode is reported as changed for `"#" .. name`
        with no command active. No message is dispatched.
        @param name string how the command is called
        @param fn fun() what it does
        @return any ... what the function gives
        @error no document is open
        @example host.command("ERASE", function() placed:erase() end)
        )"},
    {"host.lock", lock, R"(
        Reports one lock-mode change of a document for a command, and does nothing else.
        @param document document which document
        @param name? string how the command is called; nil is a null name
        @example host.lock(house, "#idle")
        )"},
};

constexpr Function messageFunctions[] = {
    {"host.idle", idle, R"(
        What a host does that comes to rest: reports a lock-mode change of the current document for `#idle`,
        then does what `host.pump` does.
        @return count messages how many were dispatched
        @return count taken how many of them a filter took
        @example host.idle()
        )"},
    {"host.pump", pump, R"(
        Dispatches queued messages until the queue is empty, also those that are posted meanwhile. Works from
        inside a callback too.
        @return count messages how many were dispatched
        @return count taken how many of them a filter took
        @example host.pump()
        )"},
    {"host.post", post, R"(
        Queues a message to the main window.
        @param number integer the message, modulo 2^32
        @param first? integer|document its first parameter; a document stands for its address; without it 0
        @param second? integer|document its second parameter, likewise
        @example host.post(host.registerMessage("hello"), house, 0)
        )"},
    {"host.registerMessage", registerMessage, R"(
        Gives the number of a registered message, and registers it when nobody has yet.
        @param name string how the message is called
        @return integer number the same for the same name as long as the process lives
        @example print(host.registerMessage("hello"))
        )"},
    {"host.ticks", ticks, R"(
        The tick count: an unsigned 32-bit number of milliseconds. It is virtual: it starts at 0 and moves
        only by this call and `host.advance`.
        @param value? integer what it is from now on, modulo 2^32
        @return integer ticks what it is
        @example print(host.ticks())
        )"},
    {"host.advance", advance, R"(
        Moves the tick count forward, with wrap-around.
        @param ms integer by how many milliseconds
        @example host.advance(1000)
        )"},
    {"host.input", input, R"(
        Whether keyboard or mouse input is waiting; at first it is not.
        @param waiting? boolean what holds from now on
        @return boolean waiting what holds
        @example host.input(true)
        )"},
};

constexpr Function stateFunctions[] = {
    {"host.messages", messages, R"(
        Lists the message boxes shown so far. Nobody has to click them away.
        @return {text: string, style: integer}[] boxes the list
        @example for _, box in ipairs(host.messages()) do print(box.text) end
        )"},
    {"host.services", services, R"(
        Lists the names of the registered services, ascending.
        @return string[] services the list
        @example print(table.concat(host.services(), ", "))
        )"},
    {"host.filters", filters, R"(
        Counts the registered message filters.
        @return integer filters how many there are
        @example print(host.filters())
        )"},
    {"host.reactors", reactors, R"(
        Counts the reactors of the document manager.
        @return integer reactors how many there are
        @example print(host.reactors())
        )"},
    {"host.refuse", refuse, R"(
        Makes the host refuse something to modules, or give it again: `"filter"` (registering and removing
        message filters answers 0), `"manager"` (there is no document manager; reactors that are registered
        still hear their notifications), `"iterator"` (there is no document iterator) or `"window"` (there is
        no main window).
        @param what "filter"|"manager"|"iterator"|"window" what is refused
        @param refused boolean whether it is
        @example host.refuse("window", true)
        )"},
};

constexpr Chapter hostDocumentsChapter = {"host", "Documents of the host", "", documentFunctions};
constexpr Chapter commandsChapter = {"host", "Commands", "", commandFunctions};
constexpr Chapter messagesChapter = {"host", "Messages and the clock", "", messageFunctions};
constexpr Chapter stateChapter = {"host", "What is shown, registered and refused", "", stateFunctions};

/// In the order of the reference page. A chapter that is missing here cannot be reached by scripts.
constexpr const Chapter* allChapters[] = {
    &helpChapter,          &hostDocumentsChapter, &commandsChapter,  &messagesChapter, &loadingChapter,
    &clientsOfHostChapter, &stateChapter,         &tracingChapter,   &moduleChapter,   &documentChapter,
    &recordChapter,        &referenceChapter,     &attributeChapter, &objectChapter,   &clientChapter,
};

} // namespace

std::span<const Chapter* const> chapters() {
    return allChapters;
}

const Chapter* chapterNamed(std::string_view name) {
    const auto found = std::find_if(std::begin(allChapters), std::end(allChapters),
                                    [&](const Chapter* each) { return each->name == name; });
    return found != std::end(allChapters) ? *found : nullptr;
}

void openLibraries(lua_State* state, const Setup& setup) {
    registerValues(state);
    registerClients(state);
    registerModules(state, setup);
    lua_newtable(state);
    lua_setglobal(state, hostTable);
    for (const Chapter* const each : allChapters) {
        // The other chapters are about values, whose kinds were made known above, or about global functions.
        if (each->name != std::string_view(hostTable)) continue;
        lua_getglobal(state, hostTable);
        enter(state, each->functions);
        lua_pop(state, 1);
    }
    lua_pushglobaltable(state);
    enter(state, helpChapter.functions);
    lua_pop(state, 1);
}

} // namespace KzHost
