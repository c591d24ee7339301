// The functions of the table `host` for documents, commands, messages and failing host calls.

#include "headless/kzhost/libraries.h"
#include "headless/kzhost/values.h"

#include <map>

namespace KzHost {

static int push(const Call& call, const Headless::ShownBox& box) {
    lua_createtable(call.state(), 0, 2);
    push(call, box.text);
    lua_setfield(call.state(), -2, "text");
    push(call, static_cast<lua_Integer>(box.style));
    lua_setfield(call.state(), -2, "style");
    return 1;
}

namespace {

// ---- documents

KzApDocument* open(const Call& call, const std::u16string& name) {
    bool hasDrawing = true;
    if (call.has(2)) {
        readTable(call, 2, "the option database = true or false", [&](int key, int value) {
            if (Argument<std::string>::read(call, key) != "database")
                call.expected(key, "the option database");
            hasDrawing = Argument<bool>::read(call, value);
        });
    }
    return Headless::openDocument(name, hasDrawing);
}

/// Queried afterwards, because reactors may close the document when it becomes current.
KzApDocument* current(DocumentOrNull document) {
    if (document.value != nullptr) Headless::makeCurrent(document);
    return Headless::currentDocument();
}

// ---- commands

/// Calls the function in protected mode, so that the command always ends. The results of the function are
/// all values above the name.
Pushed command(const Call& call, const std::u16string& name, FunctionArgument /*function*/) {
    lua_State* const state = call.state();
    KzApDocument* const document = Headless::beginCommand(name);
    if (document == nullptr) call.fail("expected a current document, but none is open");
    lua_settop(state, 2);
    const int status = lua_pcall(state, 0, LUA_MULTRET, 0);
    Headless::endCommand(document, name);
    if (status != LUA_OK) lua_error(state);
    return {lua_gettop(state) - 1};
}

/// A null name and an empty name are different.
void lock(OpenDocument document, const std::optional<std::u16string>& name) {
    Headless::reportLockMode(document, name.has_value() ? name->c_str() : nullptr);
}

// ---- messages and clock

/// A message parameter: an integer, or a document, open or not, for its address.
std::uintptr_t messageParameter(const Call& call, int index) {
    if (!call.has(index)) return 0;
    if (const KzApDocument* const document = toDocument(call.state(), index)) {
        return reinterpret_cast<std::uintptr_t>(document);
    }
    return static_cast<std::uintptr_t>(Argument<lua_Integer>::read(call, index));
}

void post(const Call& call, std::uint32_t number) {
    Headless::post(number, messageParameter(call, 2), static_cast<std::intptr_t>(messageParameter(call, 3)));
}

std::uint32_t registerMessage(const std::u16string& name) {
    return KzPlatform::registerWindowMessage(name.c_str());
}

std::uint32_t ticks(std::optional<std::uint32_t> value) {
    if (value.has_value()) Headless::setTicks(*value);
    return Headless::ticks();
}

/// Returns what modules get.
bool input(std::optional<bool> isWaiting) {
    if (isWaiting.has_value()) Headless::setInputWaiting(*isWaiting);
    return KzPlatform::inputIsWaiting();
}

// ---- queries and failures

/// Makes the host calls of one of these names fail, or ends this.
void refuse(const Call& call, const std::string& what, bool isRefused) {
    using Headless::HostCall;
    static const std::map<std::string, std::vector<HostCall>> calls = {
        {"filter", {HostCall::addFilter, HostCall::removeFilter}},
        {"manager", {HostCall::manager}},
        {"iterator", {HostCall::documentIterator}},
        {"window", {HostCall::mainWindow, HostCall::postMessage}},
    };
    const auto found = calls.find(what);
    if (found == calls.end()) call.expected(1, R"("filter", "manager", "iterator" or "window")");
    for (const HostCall each : found->second) Headless::refuse(each, isRefused);
}

constexpr Function functions[] = {
    {"host.open", bind<open>},
    {"host.documents", bind<Headless::documents>},
    {"host.current", bind<current>},
    {"host.command", bind<command>},
    {"host.lock", bind<lock>},
    {"host.pump", bind<Headless::pump>},
    {"host.idle", bind<Headless::idle>},
    {"host.post", bind<post>},
    {"host.registerMessage", bind<registerMessage>},
    {"host.ticks", bind<ticks>},
    {"host.advance", bind<Headless::advance>},
    {"host.input", bind<input>},
    {"host.messages", bind<Headless::shownBoxes>},
    {"host.services", bind<Headless::services>},
    {"host.filters", bind<Headless::filterCount>},
    {"host.reactors", bind<Headless::managerReactorCount>},
    {"host.refuse", bind<refuse>},
};

} // namespace

void openLibraries(lua_State* state, const Setup& setup) {
    lua_newtable(state);
    addFunctions(state, functions);
    addDrawingLibrary(state);
    addModuleLibrary(state, setup);
    addClientLibrary(state);
    addTraceLibrary(state);
    lua_setglobal(state, "host");
}

} // namespace KzHost
