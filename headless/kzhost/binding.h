#pragma once

#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/session.h"
#include "host/documents.h"

#include <lua.hpp>

#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

/// Makes C++ functions callable from Lua. The parameter types determine the expected arguments; the result
/// type determines the results.
namespace KzHost {

class Call;

/// A function or a computed field for scripts; api.lua describes it under the same name.
struct Function {
    const char* name = "";                  ///< "host.open", "document:block"; of a field "document.name"
    int (*run)(const Call& call) = nullptr; ///< returns the number of results that it has pushed
    const char* traced = ""; ///< of an export: names of its arguments and, after "->", results in a trace
};

/// One call from Lua. Arguments are counted from 1; in a method, argument 1 is the object. Errors are
/// raised as Lua errors, so callers need no checks.
class Call {
public:
    Call(lua_State* state, const Function& function)
        : state_(state), function_(function), count_(lua_gettop(state)) {}

    [[nodiscard]] lua_State* state() const { return state_; }
    [[nodiscard]] const Function& function() const { return function_; }
    /// Whether an argument was passed and is not nil.
    [[nodiscard]] bool has(int index) const { return !lua_isnoneornil(state_, index); }

    /// Raises an error with the expected argument, for example "a string", and the actual one.
    [[noreturn]] void expected(int index, const std::string& what) const;
    /// Raises an error that begins with the position in the script and the name of the function.
    [[noreturn]] void fail(const std::string& message) const;

private:
    lua_State* state_;
    const Function& function_;
    int count_; // of the arguments
};

// ---- arguments. `Argument<T>::read` reads an argument or raises an error.

template <class T>
struct Argument;

template <>
struct Argument<bool> {
    static bool read(const Call& call, int index);
};
/// Any bytes.
template <>
struct Argument<std::string> {
    static std::string read(const Call& call, int index);
};
/// Valid UTF-8 without a null character.
template <>
struct Argument<std::u16string> {
    static std::u16string read(const Call& call, int index);
};
template <>
struct Argument<lua_Integer> {
    static lua_Integer read(const Call& call, int index);
};
/// An integer modulo 2^32: scripts may write -1 for the maximum.
template <>
struct Argument<std::uint32_t> {
    static std::uint32_t read(const Call& call, int index);
};

/// A Lua function; it stays on the stack.
struct FunctionArgument {};
template <>
struct Argument<FunctionArgument> {
    static FunctionArgument read(const Call& call, int index);
};

/// An open document.
struct OpenDocument {
    KzApDocument* address;
    operator KzApDocument*() const { return address; }
};
template <>
struct Argument<OpenDocument> {
    static OpenDocument read(const Call& call, int index);
};
/// An open document that has a drawing.
struct DrawingDocument : OpenDocument {};
template <>
struct Argument<DrawingDocument> {
    static DrawingDocument read(const Call& call, int index);
};

/// An object in memory of one kind; of any kind if the kind is `none`.
template <Headless::Kind kind>
struct ObjectArgument {
    KzDbObjectId id;
    operator KzDbObjectId() const { return id; }
};
using Object = ObjectArgument<Headless::Kind::none>;
using Record = ObjectArgument<Headless::Kind::record>;
using Reference = ObjectArgument<Headless::Kind::reference>;
using Attribute = ObjectArgument<Headless::Kind::attribute>;

[[nodiscard]] KzDbObjectId readObject(const Call& call, int index, Headless::Kind kind);
template <Headless::Kind kind>
struct Argument<ObjectArgument<kind>> {
    static ObjectArgument<kind> read(const Call& call, int index) { return {readObject(call, index, kind)}; }
};

/// An optional argument.
template <class T>
struct Argument<std::optional<T>> {
    static std::optional<T> read(const Call& call, int index) {
        return call.has(index) ? std::optional<T>(Argument<T>::read(call, index)) : std::nullopt;
    }
};
/// An optional argument. If it is missing, the value is `Value()`, for example null.
template <class T, class Value>
struct Or {
    Value value{};
    operator Value() const { return value; }
};
template <class T, class Value>
struct Argument<Or<T, Value>> {
    static Or<T, Value> read(const Call& call, int index) {
        return call.has(index) ? Or<T, Value>{Argument<T>::read(call, index)} : Or<T, Value>{};
    }
};
using DocumentOrNull = Or<OpenDocument, KzApDocument*>;
using RecordOrNull = Or<Record, KzDbObjectId>;

/// Calls `take(index)` for each item of a list. The item is at `index` of the stack meanwhile. Does not
/// call metamethods, because these could close documents whose arguments were already read.
template <class Take>
void readList(const Call& call, int index, const char* what, Take take) {
    lua_State* const state = call.state();
    if (!lua_istable(state, index)) call.expected(index, what);
    const auto count = static_cast<lua_Integer>(lua_rawlen(state, index));
    for (lua_Integer at = 1; at <= count; ++at) {
        lua_rawgeti(state, index, at);
        take(lua_gettop(state));
        lua_pop(state, 1);
    }
}
/// Calls `take(key, index)` for each entry of a table whose keys are strings. The key is at `key` of the
/// stack, the value at `index`.
template <class Take>
void readTable(const Call& call, int index, const char* what, Take take) {
    lua_State* const state = call.state();
    if (!lua_istable(state, index)) call.expected(index, what);
    for (lua_pushnil(state); lua_next(state, index) != 0; lua_pop(state, 1)) {
        const int value = lua_gettop(state);
        // Checked first: reading a number as a string would convert the key in place and break the
        // iteration.
        if (lua_type(state, value - 1) != LUA_TSTRING) call.expected(index, what);
        take(value - 1, value);
    }
}

// ---- results. `push` pushes a result and returns the number of its Lua values.

int push(const Call& call, bool value);
template <std::integral T>
int push(const Call& call, T value) {
    lua_pushinteger(call.state(), static_cast<lua_Integer>(value));
    return 1;
}
int push(const Call& call, std::u16string_view text);
int push(const Call& call, KzApDocument* document);
/// An object; nil for an invalid id. Fastest if the object is in the document of the first argument.
int push(const Call& call, KzDbObjectId id);
/// Raises an error if the edit failed.
int push(const Call& call, const Headless::EditResult& result);
int push(const Call& call, const Headless::CreateResult& made);
int push(const Call& call, const Headless::PumpResult& pumped);
template <class T>
int push(const Call& call, const std::optional<T>& value) {
    if (value.has_value()) return push(call, *value);
    lua_pushnil(call.state());
    return 1;
}
template <class T>
int push(const Call& call, const std::vector<T>& list) {
    lua_createtable(call.state(), static_cast<int>(list.size()), 0);
    lua_Integer at = 0;
    for (const T& each : list) {
        push(call, each);
        lua_rawseti(call.state(), -2, ++at);
    }
    return 1;
}
/// Several results.
template <class... T>
int push(const Call& call, const std::tuple<T...>& values) {
    return std::apply([&call](const T&... each) { return (push(call, each) + ... + 0); }, values);
}
/// Results that the function itself has pushed.
struct Pushed {
    int count;
};
inline int push(const Call& /*call*/, Pushed pushed) {
    return pushed.count;
}

// ---- the binding

template <class... A>
struct Arguments {};
template <class R, class... P>
Arguments<std::remove_cvref_t<P>...> argumentsOf(R (*)(P...));
template <class R, class... P>
Arguments<std::remove_cvref_t<P>...> argumentsOf(R (*)(const Call&, P...));

/// Calls a function with arguments of the types `A`. If its first parameter is a `Call`, the call is passed
/// too.
template <auto function, class... A, std::size_t... at>
int run(const Call& call, Arguments<A...> /*types*/, std::index_sequence<at...> /*positions*/) {
    // Braces guarantee that the arguments are read in order.
    const std::tuple<A...> arguments{Argument<A>::read(call, static_cast<int>(at) + 1)...};
    const auto result = [&]() -> decltype(auto) {
        if constexpr (std::is_invocable_v<decltype(function), const Call&, const A&...>) {
            return function(call, std::get<at>(arguments)...);
        } else {
            return function(std::get<at>(arguments)...);
        }
    };
    if constexpr (std::is_void_v<decltype(result())>) {
        result();
        return 0;
    } else {
        return push(call, result());
    }
}

/// Runs a C++ function for a call from Lua. The types of the arguments are `A`, by default the types of its
/// parameters.
template <auto function, class... A>
int bind(const Call& call) {
    using Own = decltype(argumentsOf(function));
    using Types = std::conditional_t<sizeof...(A) == 0, Own, Arguments<A...>>;
    return []<class... T>(const Call& of, Arguments<T...> types) {
        return run<function>(of, types, std::index_sequence_for<T...>());
    }(call, Types());
}

// ---- functions in Lua

/// Pushes a function. Its upvalues from 2 on are popped from the stack. `function` must outlive the state.
void pushFunction(lua_State* state, const Function& function, int upvalues = 0);

/// The part of a function's name after the separator.
[[nodiscard]] const char* shortName(const Function& function);

/// Adds functions under their short names to the table on top of the stack.
void addFunctions(lua_State* state, std::span<const Function> functions);

/// Pushes the table of the names of all functions. Keys are the functions.
void pushFunctionNames(lua_State* state);

/// Pushes a weak table of the registry. `mode`: "k" for weak keys, "v" for weak values. Creates the table
/// if necessary.
void pushWeakTable(lua_State* state, const char* name, const char* mode);

} // namespace KzHost
