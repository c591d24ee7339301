#include "headless/kzhost/call.h"

#include "headless/kzhost/readable.h"
#include "headless/kzhost/tracing.h"
#include "headless/kzhost/values.h"
#include "headless/mistakes.h"
#include "headless/session.h"
#include "headless/trace.h"
#include "text/unicode.h"

#include <exception>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace KzHost {

namespace {

// The address of this is the key of the last error that came through a client.
constexpr char originKey = 0;

/// What came, in words. Tables, functions and coroutines by their type alone: a table's own words would run
/// the script's code in the middle of an error.
std::string describeValue(lua_State* state, int index) {
    switch (lua_type(state, index)) {
    case LUA_TNONE:
        return "nothing";
    case LUA_TSTRING:
        return "the string \"" + std::string(lua_tostring(state, index)) + "\"";
    case LUA_TNIL:
    case LUA_TBOOLEAN:
    case LUA_TNUMBER:
    case LUA_TUSERDATA: {
        std::string text = luaL_tolstring(state, index, nullptr);
        lua_pop(state, 1);
        return text;
    }
    default:
        return std::string("a ") + luaL_typename(state, index);
    }
}

/// Exports are told apart because a trace tells of the calls into modules.
bool isExport(const Function& function) {
    return std::string_view(function.name).starts_with("module.");
}

/// An argument or result of an export, under the name that the description gives it.
Headless::TraceDetail detailOf(lua_State* state, int index, const std::vector<Item>& items, int position) {
    const auto at = static_cast<std::size_t>(position);
    std::string name = at < items.size() ? items[at].name : "more";
    if (lua_isinteger(state, index) != 0) return {std::move(name), std::int64_t{lua_tointeger(state, index)}};
    return {std::move(name), readable(state, index)};
}

/// Calls an export of a module, and lets a trace know.
int callExport(Call& call, const Function& function) {
    lua_State* const state = call.state();
    Headless::TraceScope trace([&] {
        // Descriptions are taken apart only here and below, that is only while somebody listens.
        const std::vector<Item> parameters = describe(function).parameters;
        Headless::TraceEvent event{Headless::TraceCategory::moduleCall, shortName(function), ""};
        for (int at = 0; at < lua_gettop(state); ++at) {
            event.details.push_back(detailOf(state, at + 1, parameters, at));
        }
        return event;
    });
    const int count = function.run(call);
    for (int at = 0; at < count; ++at) {
        // The results are on top of the stack, the first one lowest.
        trace.gives([&] { return detailOf(state, at - count, describe(function).results, at); });
    }
    return count;
}

/// Trampoline: every function of the host enters here, finds itself in its first upvalue, and leaves here
/// with its results or with an error. Lua is compiled as C++, so an error unwinds the stack like an
/// exception; one of C++ must not get into Lua, and is made an error.
int dispatch(lua_State* state) {
    const auto& function = *static_cast<const Function*>(lua_touserdata(state, lua_upvalueindex(1)));
    Call call(state, function.name);
    std::optional<std::string> failure;
    try {
        ScriptCall scriptCall(state);
        const int results = isExport(function) ? callExport(call, function) : function.run(call);
        deliverTrace();
        // What a client raised comes before what the module did: it is the script's own error.
        scriptCall.raiseKept();
        if (Headless::mistakes().empty()) {
            if (results > 1) noteResults(state, function, results);
            return results;
        }
        failure = "a module passed to the host what it does not provide for: " + Headless::mistakes().front();
        Headless::forgetMistakes();
    } catch (const std::exception& exception) { // Lua's own errors are none of these and pass
        failure = exception.what();
    }
    // Out here, where `scriptCall` has ended and no exception is being handled: raising unwinds once more.
    call.fail(*failure);
}

} // namespace

std::string Call::bytes(int index, const char* what) const {
    if (lua_type(state_, index) != LUA_TSTRING) expected(index, what);
    std::size_t length = 0;
    const char* const bytes = lua_tolstring(state_, index, &length);
    return {bytes, length};
}

std::u16string Call::text(int index, const char* what) const {
    const std::optional<std::u16string> text = Text::toUtf16(bytes(index, what));
    if (!text.has_value()) fail("expected " + std::string(what) + ", got a string that is not valid UTF-8");
    // Strings of the host end with a null, so there cannot be one inside.
    if (text->find(u'\0') != std::u16string::npos) {
        fail("expected " + std::string(what) + ", got a string with a null character inside");
    }
    return *text;
}

bool Call::boolean(int index, const char* what) const {
    if (!lua_isboolean(state_, index)) expected(index, what);
    return lua_toboolean(state_, index) != 0;
}

lua_Integer Call::integer(int index, const char* what) const {
    int isInteger = 0;
    // Lua would take a string for a number here, but a string is mostly a mistake.
    const lua_Integer value = lua_tointegerx(state_, index, &isInteger);
    if (isInteger == 0 || lua_type(state_, index) != LUA_TNUMBER) expected(index, what);
    return value;
}

/// The low 32 bits, also of negative numbers: scripts may write -1 for the largest.
std::uint32_t Call::number32(int index, const char* what) const {
    return static_cast<std::uint32_t>(static_cast<lua_Unsigned>(integer(index, what)));
}

void Call::table(int index, const char* what) const {
    if (!lua_istable(state_, index)) expected(index, what);
}

void Call::function(int index, const char* what) const {
    if (!lua_isfunction(state_, index)) expected(index, what);
}

KzApDocument* Call::document(int index) const {
    KzApDocument* const document = toDocument(state_, index);
    if (document == nullptr || !Headless::isOpen(document)) expected(index, "an open document");
    return document;
}

KzApDocument* Call::drawing(int index) const {
    KzApDocument* const result = document(index);
    if (result->database() == nullptr) expected(index, "a document with a drawing");
    return result;
}

const ObjectValue& Call::object(int index, Headless::Kind kind) const {
    const ObjectValue* const value = toObject(state_, index, kind);
    if (value == nullptr) expected(index, nameOf(kind));
    if (value->id.isValid()) return *value;
    // The value outlives the object; what became of it is told by its document.
    const bool isDrawingGone = !Headless::isOpen(value->document);
    fail(std::string("expected ") + nameOf(kind) + " in memory, got one " +
         (isDrawingGone ? "of a drawing that is closed" : "that has left memory") + " (id " +
         std::to_string(value->id.value()) + ")");
}

void Call::require(const Headless::Outcome& outcome) const {
    if (outcome) return;
    std::string message = Headless::describe(outcome.refusal);
    if (!outcome.about.isNull()) message += " (" + Headless::describeObject(outcome.about) + ")";
    fail(message);
}

void Call::expected(int index, const char* what) const {
    fail("expected " + std::string(what) + ", got " + describeValue(state_, index));
}

/// Begins with the place in the script that has called, as Lua's own errors do.
void Call::fail(const std::string& message) const {
    luaL_where(state_, 1);
    lua_pushfstring(state_, "%s: %s", function_, message.c_str());
    lua_concat(state_, 2);
    lua_error(state_);
    std::terminate(); // lua_error does not return
}

void pushFunction(lua_State* state, const Function& function, int upvalues) {
    lua_pushlightuserdata(state, const_cast<Function*>(&function));
    // Under the upvalues that are there: it has to be the first.
    lua_insert(state, -1 - upvalues);
    lua_pushcclosure(state, dispatch, 1 + upvalues);
}

/// All functions of the host are one to Lua; the first upvalue says which.
const Function* toFunction(lua_State* state, int index) {
    if (lua_tocfunction(state, index) != dispatch) return nullptr;
    lua_getupvalue(state, index, 1);
    const auto* const function = static_cast<const Function*>(lua_touserdata(state, -1));
    lua_pop(state, 1);
    return function;
}

void enter(lua_State* state, std::span<const Function> functions) {
    for (const Function& each : functions) {
        pushFunction(state, each);
        lua_setfield(state, -2, shortName(each));
    }
}

/// Calls nest: a client may call the host again, which may call clients.
ScriptCall* ScriptCall::innermost = nullptr;

/// Scope guard around the run of a client's function.
struct ScriptCall::ClientRun {
    ClientRun(ScriptCall& target, const std::string& clientName)
        : scriptCall(target), name(clientName), outer(innermostRun) {
        innermostRun = this;
    }
    ClientRun(const ClientRun&) = delete;
    ClientRun& operator=(const ClientRun&) = delete;
    ~ClientRun() { innermostRun = outer; }

    ScriptCall& scriptCall;
    const std::string& name;
    ClientRun* outer;
};

ScriptCall::ClientRun* ScriptCall::innermostRun = nullptr;

ScriptCall::~ScriptCall() {
    innermost = outer_;
    // Nothing happens when no error was kept.
    luaL_unref(state_, LUA_REGISTRYINDEX, kept_);
}

/// Message handler: notes where an error was raised as long as the stack is there; the error stays as it is.
int ScriptCall::noteOrigin(lua_State* state) {
    // Of several errors only the first is raised, so only its origin is wanted.
    if (innermostRun == nullptr || innermostRun->scriptCall.kept_ != LUA_NOREF) return 1;
    luaL_traceback(state, state, nullptr, 1);
    innermostRun->scriptCall.origin_ =
        originOfError(state, 1) + "\nin the client " + innermostRun->name + ", " + lua_tostring(state, -1);
    lua_settop(state, 1);
    return 1;
}

/// Called by way of a module, across which no error may go: it is caught here and kept.
void ScriptCall::callClient(int functionReference, const std::string& name) {
    ScriptCall* const scriptCall = innermost;
    if (scriptCall == nullptr) return; // the script is over
    lua_State* const state = scriptCall->state_;
    // A client that is not called is less harm than a stack that overflows under a module.
    const bool hasRoom = lua_checkstack(state, LUA_MINSTACK) != 0;
    if (!hasRoom) return;
    deliverTrace(); // what has led to the client comes before what it prints
    const ClientRun run(*scriptCall, name);
    lua_pushcfunction(state, noteOrigin);
    const int handler = lua_gettop(state);
    lua_rawgeti(state, LUA_REGISTRYINDEX, functionReference);
    scriptCall->callKeepingError(0, handler);
    lua_settop(state, handler - 1);
}

void ScriptCall::callWithLine(int functionReference, const std::string& line) {
    ScriptCall* const scriptCall = innermost;
    if (scriptCall == nullptr || lua_checkstack(scriptCall->state_, LUA_MINSTACK) == 0) return;
    lua_State* const state = scriptCall->state_;
    const int top = lua_gettop(state);
    lua_rawgeti(state, LUA_REGISTRYINDEX, functionReference);
    lua_pushlstring(state, line.data(), line.size());
    // No handler: the origin of an error is told for clients alone.
    scriptCall->callKeepingError(1, 0);
    lua_settop(state, top);
}

/// Calls the function below its arguments, and keeps its error when it is the first.
void ScriptCall::callKeepingError(int argumentCount, int handler) {
    if (lua_pcall(state_, argumentCount, 0, handler) == LUA_OK || kept_ != LUA_NOREF) return;
    kept_ = luaL_ref(state_, LUA_REGISTRYINDEX);
}

const char* ScriptCall::runningClient() {
    return innermostRun != nullptr ? innermostRun->name.c_str() : nullptr;
}

/// Leaves the origin where `originOfError` finds it, with the error itself to know it by. Does not return
/// when an error was kept.
void ScriptCall::raiseKept() {
    if (kept_ == LUA_NOREF) return;
    lua_createtable(state_, 0, 2);
    lua_rawgeti(state_, LUA_REGISTRYINDEX, kept_);
    lua_setfield(state_, -2, "error");
    lua_pushlstring(state_, origin_.data(), origin_.size());
    lua_setfield(state_, -2, "origin");
    lua_rawsetp(state_, LUA_REGISTRYINDEX, &originKey);
    lua_rawgeti(state_, LUA_REGISTRYINDEX, kept_);
    lua_error(state_);
}

std::string originOfError(lua_State* state, int index) {
    const int error = lua_absindex(state, index);
    std::string origin;
    if (lua_rawgetp(state, LUA_REGISTRYINDEX, &originKey) == LUA_TTABLE) {
        lua_getfield(state, -1, "error");
        lua_getfield(state, -2, "origin");
        // The script may have caught that one and raised another since.
        if (lua_rawequal(state, error, -2) != 0) origin = lua_tostring(state, -1);
        lua_pop(state, 2);
    }
    lua_pop(state, 1);
    return origin;
}

} // namespace KzHost
