#pragma once

#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/kzhost/description.h"
#include "host/documents.h"

#include <lua.hpp>

#include <span>
#include <string>

namespace KzHost {

/// What a Lua value of a drawing's object holds. Its document tells, once the id is not valid any more,
/// whether the object alone has gone or its drawing too.
struct ObjectValue {
    KzDbObjectId id;
    KzApDocument* document = nullptr;
};

/// One call of a function of the host from Lua: its arguments, and errors that name the function. Arguments
/// are counted from 1; in a method 1 is the object itself. Errors are raised, so nothing has to be checked
/// after.
class Call {
public:
    Call(lua_State* state, const char* function) : state_(state), function_(function) {}

    [[nodiscard]] lua_State* state() const { return state_; }
    /// Whether an argument is there and not nil.
    [[nodiscard]] bool has(int index) const { return !lua_isnoneornil(state_, index); }

    // `what` completes "expected ...", for example "a name (string)".
    [[nodiscard]] std::string bytes(int index, const char* what) const;
    [[nodiscard]] std::u16string text(int index, const char* what) const;
    [[nodiscard]] bool boolean(int index, const char* what) const;
    [[nodiscard]] lua_Integer integer(int index, const char* what) const;
    /// An integer modulo 2^32.
    [[nodiscard]] std::uint32_t number32(int index, const char* what) const;
    void table(int index, const char* what) const;
    void function(int index, const char* what) const;
    /// Calls `read(name)` for each option of a table of options, which may be left out. The option's value is
    /// then on top of the stack.
    template <class Read>
    void eachOption(int index, Read read) const {
        if (!has(index)) return;
        table(index, "a table of options");
        for (lua_pushnil(state_); lua_next(state_, index) != 0; lua_pop(state_, 1)) {
            // Asked before the key is read: reading a number as a text would change it in place, and the walk
            // would lose its way.
            if (lua_type(state_, -2) != LUA_TSTRING) fail("expected options under names, got a list");
            read(std::string(lua_tostring(state_, -2)));
        }
    }

    /// An open document, and one that has a drawing.
    [[nodiscard]] KzApDocument* document(int index) const;
    [[nodiscard]] KzApDocument* drawing(int index) const;
    /// An object of a kind that is in memory; of any kind when it is `none`.
    [[nodiscard]] const ObjectValue& object(int index, Headless::Kind kind = Headless::Kind::none) const;

    /// Raises what an edit was refused for.
    void require(const Headless::Outcome& outcome) const;

    [[noreturn]] void expected(int index, const char* what) const;
    [[noreturn]] void fail(const std::string& message) const;

private:
    lua_State* state_;
    const char* function_;
};

/// Pushes a function. Further values on the stack become its upvalues from 2 on; `Function` has to stay.
void pushFunction(lua_State* state, const Function& function, int upvalues = 0);

/// The function behind a value; null for one that is none of these.
[[nodiscard]] const Function* toFunction(lua_State* state, int index);

/// Enters functions under their last words into the table on top of the stack.
void enter(lua_State* state, std::span<const Function> functions);

/// Stands around all that a function does in the host, because that may lead to client functions. The first
/// error of one of them is kept and raised when the function is done.
class ScriptCall {
public:
    explicit ScriptCall(lua_State* state) : state_(state), outer_(innermost) { innermost = this; }
    ScriptCall(const ScriptCall&) = delete;
    ScriptCall& operator=(const ScriptCall&) = delete;
    ~ScriptCall();

    /// Calls the Lua function of a client, by its place in the registry, in the state of the innermost call
    /// under way.
    static void callClient(int functionReference, const std::string& name);
    /// Calls a Lua function with a line of a trace, likewise.
    static void callWithLine(int functionReference, const std::string& line);
    /// The client that runs, the innermost one; null when none does.
    [[nodiscard]] static const char* runningClient();

    void raiseKept();

private:
    struct ClientRun;

    static int noteOrigin(lua_State* state);
    void callKeepingError(int argumentCount, int handler);

    static ScriptCall* innermost;
    static ClientRun* innermostRun;

    lua_State* state_;
    ScriptCall* outer_;
    int kept_ = LUA_NOREF;
    std::string origin_; // the clients that the kept error came through, with their tracebacks
};

/// The clients that an error came through before it was raised in the script, with their tracebacks; empty
/// when it came through none.
[[nodiscard]] std::string originOfError(lua_State* state, int index);

} // namespace KzHost
