#include "headless/kzhost/prompt.h"

#include "headless/kzhost/completion.h"
#include "headless/kzhost/interrupt.h"
#include "headless/kzhost/line_reader.h"
#include "headless/kzhost/process.h"
#include "headless/kzhost/readable.h"
#include "text/paths.h"

#include <cstdio>
#include <filesystem>
#include <string_view>

namespace KzHost {

namespace {

/// Compiles a text without running it. Leaves the function or the message.
bool load(lua_State* state, const std::string& chunk) {
    return luaL_loadbuffer(state, chunk.data(), chunk.size(), "=prompt") == LUA_OK;
}

/// Whether the message on top of the stack says that a statement goes on. The compiler has no other sign for
/// it than that it has come upon the end.
bool isIncomplete(lua_State* state) {
    const std::string_view message = lua_tostring(state, -1);
    return message.ends_with("<eof>");
}

/// Whether the statement on top of the stack runs, is wrong (then a message is there), or was given up.
enum class Loaded { function, message, nothing };

/// Pushes a line as a function: an expression if it is one, else a statement, for which more lines are read.
Loaded loadStatement(lua_State* state, LineReader& reader, std::string& line) {
    if (load(state, "return " + line)) return Loaded::function;
    lua_pop(state, 1);
    while (!load(state, line)) {
        if (!isIncomplete(state)) return Loaded::message;
        const LineReader::Line more = reader.read("...> ");
        if (more.end == LineReader::End::interrupted) return Loaded::nothing;
        // What is missing is told then.
        if (more.end == LineReader::End::input) return Loaded::message;
        lua_pop(state, 1);
        line += "\n" + more.text;
    }
    return Loaded::function;
}

/// Prints its arguments. A function of Lua, because a value's own description may fail.
int printValues(lua_State* state) {
    if (lua_gettop(state) != 0) std::printf("%s\n", readableResults(state).c_str());
    return 0;
}

/// Prints the message on top of the stack, where the caller of a mistake looks.
void printMessage(lua_State* state) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", lua_tostring(state, -1));
}

/// Runs the function on the stack and prints its results, or the error of either.
void runAndPrint(Session& session) {
    lua_State* const state = session.state();
    // Around the printing too, which may take long or run a script's `__tostring`.
    const Interruptible interruptible(state);
    beginNotingResults(state);
    bool isDone = session.call(0);
    if (isDone) {
        lua_pushcfunction(state, printValues);
        lua_insert(state, 1);
        // A second call, so that an error in it is kept and told like any other.
        isDone = session.call(lua_gettop(state) - 1);
    }
    if (isDone) return;
    if (takeInterrupt()) std::printf("\n"); // the terminal shows Ctrl-C in the line
    printMessage(state);
}

/// The line is remembered as it was completed, and before it runs, because it may end the process.
void runLine(Session& session, LineReader& reader, std::string line) {
    lua_State* const state = session.state();
    const Loaded loaded = loadStatement(state, reader, line);
    reader.remember(line);
    if (loaded == Loaded::function) runAndPrint(session);
    if (loaded == Loaded::message) printMessage(state);
    lua_settop(state, 0);
    std::fflush(stdout);
}

void greet(const Setup& setup) {
    if (isInputTyped()) {
        std::puts("kzhost " KZHOST_VERSION
                  ": help() says what there is, traceback() where a mistake came from; "
                  "Ctrl-D leaves");
    }
    std::error_code unreadable; // then host.load() says more
    if (std::filesystem::exists(Text::toPath(setup.modulePath), unreadable) || unreadable) return;
    std::fflush(stdout);
    std::fprintf(stderr, "kzhost: host.load() has nothing to load: %s: there is no such file\n",
                 setup.modulePath.c_str());
}

} // namespace

void prompt(Session& session, const Setup& setup, bool hasHistory) {
    lua_State* const state = session.state();
    LineReader reader([state](const std::string& word) { return completions(state, word); }, hasHistory);
    catchInterrupts();
    greet(setup);
    while (true) {
        LineReader::Line line = reader.read("kzhost> ");
        if (line.end == LineReader::End::input) break;
        if (line.end == LineReader::End::line && !line.text.empty())
            runLine(session, reader, std::move(line.text));
    }
}

} // namespace KzHost
