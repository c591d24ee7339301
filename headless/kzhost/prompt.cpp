#include "headless/kzhost/prompt.h"

#include "headless/kzhost/platform.h"
#include "text/paths.h"

#include <editline/readline.h>
#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string_view>

namespace KzHost {

namespace {

// ---- Ctrl-C

constexpr int stepsBetweenChecks = 1000;

volatile std::sig_atomic_t isInterrupted = 0;

/// Hook of each Lua thread. After an interrupt, it raises the error at each step, so that `pcall` only
/// delays the error.
void checkInterrupt(lua_State* state, lua_Debug* /*place*/) {
    if (isInterrupted == 0) return lua_sethook(state, checkInterrupt, LUA_MASKCOUNT, stepsBetweenChecks);
    lua_sethook(state, checkInterrupt, LUA_MASKCALL | LUA_MASKRET | LUA_MASKLINE | LUA_MASKCOUNT, 1);
    luaL_where(state, 0);
    lua_pushliteral(state, "interrupted");
    lua_concat(state, 2);
    lua_error(state);
}

/// Whether Ctrl-C was pressed since the last query.
bool takeInterrupt() {
    const bool wasInterrupted = isInterrupted != 0;
    isInterrupted = 0;
    return wasInterrupted;
}

/// A second Ctrl-C before the first was processed ends the process, because the running code is not Lua.
void onInterrupt(int signal) {
    if (isInterrupted != 0) {
        std::signal(signal, SIG_DFL);
        raise(signal);
    }
    isInterrupted = 1;
}

// ---- completion. Global state, because the library's callbacks have no data.

lua_State* completingState = nullptr;
int completeFunction = LUA_NOREF;

/// The completions of a word; none if the completion fails.
std::vector<std::string> completions(const char* word) {
    lua_State* const state = completingState;
    std::vector<std::string> found;
    const int top = lua_gettop(state);
    lua_rawgeti(state, LUA_REGISTRYINDEX, completeFunction);
    lua_pushstring(state, word);
    if (lua_pcall(state, 1, 1, 0) == LUA_OK) {
        for (lua_Integer at = 1; lua_rawgeti(state, -1, at) == LUA_TSTRING; ++at) {
            found.emplace_back(lua_tostring(state, -1));
            lua_pop(state, 1);
        }
    }
    lua_settop(state, top);
    return found;
}

/// Called by the library until it returns null; `isContinued` is 0 in the first call. The library frees
/// each result.
char* nextCompletion(const char* word, int isContinued) {
    static std::vector<std::string> found;
    if (isContinued == 0) {
        found = completions(word);
        std::reverse(found.begin(), found.end());
    }
    if (found.empty()) return nullptr;
    char* const result = strdup(found.back().c_str());
    found.pop_back();
    return result;
}

/// Appends nothing to a completed name, because a dot, a colon or a bracket may follow.
char** complete(const char* word, int /*begin*/, int /*end*/) {
    rl_attempted_completion_over = 1; // no file names
    rl_completion_append_character = '\0';
    return rl_completion_matches(word, nextCompletion);
}

// ---- input lines, with editing and history on a terminal

/// The path of the history file, which is created if necessary; empty if that fails.
std::string openHistory() {
    const char* const chosen = std::getenv("XDG_STATE_HOME");
    const char* const home = std::getenv("HOME");
    std::filesystem::path folder;
    if (chosen != nullptr && *chosen == '/') {
        folder = chosen;
    } else if (home != nullptr && *home == '/') {
        folder = std::filesystem::path(home) / ".local/state";
    } else {
        return {};
    }
    folder /= "kzhost";
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    std::string file = folder / "history";
    const int opened = open(file.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600); // private to the user
    if (opened < 0) return {};
    close(opened);
    return file;
}

/// Reads lines of input. There must be only one, because the library has global state.
class LineReader {
public:
    explicit LineReader(bool hasHistory) {
        if (!isInputTyped()) return;
        // Strings are UTF-8 in any locale; without a UTF-8 locale the library drops characters that are not
        // ASCII.
        std::setlocale(LC_CTYPE, "");
        if (std::string_view(nl_langinfo(CODESET)) != "UTF-8") std::setlocale(LC_CTYPE, "C.UTF-8");
        rl_attempted_completion_function = complete;
        // Without dots and colons, so that "host.open" is one word. Static, because the library keeps the
        // address.
        static std::array<char, 16> breaks = {" \t\n\"'=,(){}[]+"};
        rl_completer_word_break_characters = breaks.data();
        using_history();
        stifle_history(1000);
        if (hasHistory) historyFile_ = openHistory();
        if (!historyFile_.empty()) {
            read_history(historyFile_.c_str());
        } else if (hasHistory) {
            std::fputs("kzhost: no history: the history file cannot be opened\n", stderr);
        }
    }

    /// Returns nothing at the end of input; also after Ctrl-C, with `wasInterrupted`.
    std::optional<std::string> read(const char* sign, bool& wasInterrupted) {
        wasInterrupted = false;
        std::string text;
        if (!isInputTyped()) return std::getline(std::cin, text) ? std::optional(text) : std::nullopt;
        static_cast<void>(takeInterrupt()); // pressed before this line
        char* const line = readline(sign);
        wasInterrupted = line == nullptr && takeInterrupt();
        if (line == nullptr) {
            std::cout << std::endl;
            return std::nullopt;
        }
        text = line;
        std::free(line);
        return text;
    }

    /// Adds a statement to the history. Writes the file immediately, because the statement may end the
    /// process; reads it first, because another session may have written it.
    void remember(const std::string& statement) {
        if (!isInputTyped() || statement == last_) return;
        last_ = statement;
        const bool isKept = !historyFile_.empty() && access(historyFile_.c_str(), R_OK) == 0;
        if (isKept) {
            clear_history();
            read_history(historyFile_.c_str());
        }
        add_history(statement.c_str());
        if (isKept) write_history(historyFile_.c_str());
    }

private:
    std::string historyFile_; // empty if there is none
    std::string last_;
};

// ---- statements

/// Compiles without running. Leaves the function on the stack, or the message and returns false.
bool compile(lua_State* state, const std::string& text) {
    return luaL_loadbuffer(state, text.data(), text.size(), "=prompt") == LUA_OK;
}

void printMessage(lua_State* state) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", lua_tostring(state, -1));
}

/// Reads more lines until the statement is complete. Leaves its function on the stack; an expression
/// becomes a function that returns its values. On failure, leaves the message and returns false. If the
/// user cancels, leaves nothing and returns false.
bool readStatement(lua_State* state, LineReader& reader, std::string& statement) {
    if (compile(state, "return " + statement)) return true;
    lua_pop(state, 1);
    while (!compile(state, statement)) {
        // Only the message shows that the statement is incomplete.
        if (!std::string_view(lua_tostring(state, -1)).ends_with("<eof>")) return false;
        bool wasInterrupted = false;
        const std::optional<std::string> more = reader.read("...> ", wasInterrupted);
        if (wasInterrupted) lua_pop(state, 1);
        if (!more.has_value()) return false;
        lua_pop(state, 1);
        statement += "\n" + *more;
    }
    return true;
}

int showFunction = LUA_NOREF;

/// Runs the function on the stack and prints its results, which may fail too.
void runAndPrint(Session& session) {
    lua_State* const state = session.state();
    bool isDone = session.call(0);
    if (isDone) {
        lua_rawgeti(state, LUA_REGISTRYINDEX, showFunction);
        lua_insert(state, 1);
        isDone = session.call(lua_gettop(state) - 1);
    }
    if (isDone) return;
    if (takeInterrupt()) std::printf("\n"); // the terminal has printed ^C in the line
    printMessage(state);
}

void greet(const Setup& setup) {
    if (isInputTyped()) {
        std::puts("kzhost " KZHOST_VERSION
                  ": help() lists the available functions, traceback() prints the origin of "
                  "an error; Ctrl-D exits");
    }
    std::error_code unreadable; // then host.load() reports the problem
    if (std::filesystem::exists(Text::toPath(setup.modulePath), unreadable) || unreadable) return;
    std::fflush(stdout);
    std::fprintf(stderr, "kzhost: no default module for host.load(): no such file: %s\n",
                 setup.modulePath.c_str());
}

} // namespace

void preparePrompt(Session& session) {
    completingState = session.state();
    lua_sethook(completingState, checkInterrupt, LUA_MASKCOUNT, stepsBetweenChecks);
    session.runEmbedded(promptLua, 0, 2);
    completeFunction = luaL_ref(completingState, LUA_REGISTRYINDEX);
    showFunction = luaL_ref(completingState, LUA_REGISTRYINDEX);
}

void prompt(Session& session, const Setup& setup, bool hasHistory) {
    lua_State* const state = session.state();
    LineReader reader(hasHistory);
    struct sigaction action {};
    action.sa_handler = onInterrupt; // without SA_RESTART: a read is interrupted too
    sigaction(SIGINT, &action, nullptr);
    greet(setup);
    for (;;) {
        bool wasInterrupted = false;
        std::optional<std::string> line = reader.read("kzhost> ", wasInterrupted);
        if (!line.has_value() && !wasInterrupted) break;
        if (!line.has_value() || line->empty()) continue;
        const bool isFunction = readStatement(state, reader, *line);
        reader.remember(*line); // before it runs, because it may end the process
        if (isFunction) {
            runAndPrint(session);
        } else if (lua_gettop(state) != 0) {
            printMessage(state);
        }
        lua_settop(state, 0);
        std::fflush(stdout);
    }
}

} // namespace KzHost
