#include "headless/kzhost/binding.h"

#include "headless/kzhost/script_call.h"
#include "headless/kzhost/values.h"
#include "headless/modules.h"
#include "text/unicode.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace KzHost {

namespace {

/// Describes an argument for a message. Tables, functions and coroutines only by their type, because
/// `__tostring` of a table would run the script's code.
std::string describeArgument(lua_State* state, int index) {
    switch (lua_type(state, index)) {
    case LUA_TNONE:
        return "nothing";
    case LUA_TSTRING: {
        const std::string text = lua_tostring(state, index);
        std::size_t end = std::min<std::size_t>(text.size(), 60); // moved back to a character boundary
        while (end < text.size() && (text[end] & 0xC0) == 0x80) --end;
        return "the string \"" + text.substr(0, end) + (end < text.size() ? "\"..." : "\"");
    }
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

/// The C function of all functions for scripts; the first upvalue is the `Function`. Lua is compiled as
/// C++, so a Lua error unwinds the stack like an exception. A C++ exception must not enter Lua and is
/// converted to an error.
int dispatch(lua_State* state) {
    const auto& function = *static_cast<const Function*>(lua_touserdata(state, lua_upvalueindex(1)));
    const Call call(state, function);
    std::string failure;
    try {
        ScriptCall scriptCall(state);
        const int results = function.run(call);
        // An error of a client takes precedence over usage errors, because it is the script's own.
        scriptCall.rethrowPending();
        if (Headless::usageErrors().empty()) return results;
        failure = "invalid host call by a module: " + Headless::usageErrors().front();
        Headless::clearUsageErrors();
    } catch (const std::exception& exception) { // Lua errors are not of this type
        failure = exception.what();
    }
    // Raised here, where `scriptCall` is destroyed and no exception is being handled, because a Lua error
    // unwinds the stack.
    call.fail(failure);
}

/// The name of a kind with its article.
std::string article(Headless::Kind kind) {
    const std::string name = kindName(kind);
    return (name[0] == 'o' || name[0] == 'a' ? "an " : "a ") + name;
}

} // namespace

void Call::expected(int index, const std::string& what) const {
    // The arguments of a method are counted without its object, as in the script. Values above the
    // arguments on the stack were read from a table.
    const int at = std::strchr(function_.name, ':') != nullptr ? index - 1 : index;
    const bool isArgument = at > 0 && (index <= count_ || lua_isnone(state_, index));
    const std::string where = isArgument ? "argument " + std::to_string(at) + ": " : "";
    fail(where + "expected " + what + ", got " + describeArgument(state_, index));
}

void Call::fail(const std::string& message) const {
    // Fields are read by a C function, which has no position in the script; its caller has one.
    for (int level = 1; level <= 2; ++level) {
        luaL_where(state_, level);
        if (*lua_tostring(state_, -1) != '\0') break;
    }
    lua_pushfstring(state_, "%s: %s", function_.name, message.c_str());
    lua_concat(state_, 2);
    lua_error(state_);
    std::terminate(); // lua_error does not return
}

// ---- arguments

bool Argument<bool>::read(const Call& call, int index) {
    if (!lua_isboolean(call.state(), index)) call.expected(index, "a boolean");
    return lua_toboolean(call.state(), index) != 0;
}

std::string Argument<std::string>::read(const Call& call, int index) {
    if (lua_type(call.state(), index) != LUA_TSTRING) call.expected(index, "a string");
    std::size_t length = 0;
    const char* const bytes = lua_tolstring(call.state(), index, &length);
    return {bytes, length};
}

std::u16string Argument<std::u16string>::read(const Call& call, int index) {
    const std::optional<std::u16string> text = Text::toUtf16(Argument<std::string>::read(call, index));
    if (!text.has_value()) call.fail("expected a string of valid UTF-8, got other bytes");
    // Strings of the host are null-terminated.
    if (text->find(u'\0') != std::u16string::npos) {
        call.fail("expected a string without a null character, got one with it");
    }
    return *text;
}

lua_Integer Argument<lua_Integer>::read(const Call& call, int index) {
    int isInteger = 0;
    // Lua would convert a string to a number, but a string is probably an error in the script.
    const lua_Integer value = lua_tointegerx(call.state(), index, &isInteger);
    if (isInteger == 0 || lua_type(call.state(), index) != LUA_TNUMBER) call.expected(index, "an integer");
    return value;
}

std::uint32_t Argument<std::uint32_t>::read(const Call& call, int index) {
    return static_cast<std::uint32_t>(static_cast<lua_Unsigned>(Argument<lua_Integer>::read(call, index)));
}

FunctionArgument Argument<FunctionArgument>::read(const Call& call, int index) {
    if (!lua_isfunction(call.state(), index)) call.expected(index, "a function");
    return {};
}

OpenDocument Argument<OpenDocument>::read(const Call& call, int index) {
    KzApDocument* const document = toDocument(call.state(), index);
    if (document == nullptr || !Headless::isOpen(document)) call.expected(index, "an open document");
    return {document};
}

DrawingDocument Argument<DrawingDocument>::read(const Call& call, int index) {
    const OpenDocument document = Argument<OpenDocument>::read(call, index);
    if (document.address->database() == nullptr) call.expected(index, "a document with a drawing");
    return {document};
}

KzDbObjectId readObject(const Call& call, int index, Headless::Kind kind) {
    const ObjectValue* const value = toObject(call.state(), index, kind);
    if (value == nullptr) call.expected(index, article(kind));
    if (value->id.isValid()) return value->id;
    // The value outlives the object. If the document is open, only the object was removed.
    const bool isDrawingGone = !Headless::isOpen(value->document);
    call.fail("expected " + article(kind) + " in memory, got one " +
              (isDrawingGone ? "of a drawing that is closed" : "that no longer exists") + " (id " +
              std::to_string(value->id.value()) + ")");
}

// ---- results

int push(const Call& call, bool value) {
    lua_pushboolean(call.state(), value ? 1 : 0);
    return 1;
}

int push(const Call& call, std::u16string_view text) {
    const std::string bytes = Text::toUtf8(text);
    lua_pushlstring(call.state(), bytes.data(), bytes.size());
    return 1;
}

int push(const Call& call, KzApDocument* document) {
    pushDocument(call.state(), document);
    return 1;
}

int push(const Call& call, KzDbObjectId id) {
    const ObjectValue* const object = toObject(call.state(), 1, Headless::Kind::none);
    pushObject(call.state(), id, object != nullptr ? object->document : toDocument(call.state(), 1));
    return 1;
}

int push(const Call& call, const Headless::EditResult& result) {
    if (result) return 0;
    std::string message = Headless::describe(result.error);
    if (!result.about.isNull()) message += " (" + Headless::describeObject(result.about) + ")";
    call.fail(message);
}

int push(const Call& call, const Headless::CreateResult& made) {
    push(call, static_cast<const Headless::EditResult&>(made));
    return push(call, made.id);
}

int push(const Call& call, const Headless::PumpResult& pumped) {
    return push(call, pumped.dispatched) + push(call, pumped.taken);
}

// ---- functions in Lua

void pushFunction(lua_State* state, const Function& function, int upvalues) {
    lua_pushlightuserdata(state, const_cast<Function*>(&function));
    lua_insert(state, -1 - upvalues); // as the first upvalue
    lua_pushcclosure(state, dispatch, 1 + upvalues);
    pushFunctionNames(state);
    lua_pushvalue(state, -2);
    lua_pushstring(state, function.name);
    lua_rawset(state, -3);
    lua_pop(state, 1);
}

const char* shortName(const Function& function) {
    const char* const separator = std::strpbrk(function.name, ".:");
    return separator != nullptr ? separator + 1 : function.name;
}

void addFunctions(lua_State* state, std::span<const Function> functions) {
    for (const Function& each : functions) {
        pushFunction(state, each);
        lua_setfield(state, -2, shortName(each));
    }
}

void pushWeakTable(lua_State* state, const char* name, const char* mode) {
    if (luaL_getsubtable(state, LUA_REGISTRYINDEX, name) != 0) return;
    lua_createtable(state, 0, 1);
    lua_pushstring(state, mode);
    lua_setfield(state, -2, "__mode");
    lua_setmetatable(state, -2);
}

/// Weak, because each loaded module has its own functions.
void pushFunctionNames(lua_State* state) {
    pushWeakTable(state, "kzhost function names", "k");
}

} // namespace KzHost
