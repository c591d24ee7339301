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

/// Hook of each Lua thread. Once interrupted it raises the error at each step, so that a `pcall` only delays
/// it.
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

/// A second Ctrl-C before the first one was noticed ends the process: what runs is not Lua.
void onInterrupt(int signal) {
    if (isInterrupted != 0) {
        std::signal(signal, SIG_DFL);
        raise(signal);
    }
    isInterrupted = 1;
}

// ---- completion. The library's callbacks carry no data.

lua_State* completingState = nullptr;
int completeFunction = LUA_NOREF;

/// A failure means that there are no completions.
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

/// Called by the library until it returns null, at first with 0 as `isContinued`. The library frees each
/// text.
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

/// Nothing is appended to a completed name: a dot, a colon or a bracket may follow.
char** complete(const char* word, int /*begin*/, int /*end*/) {
    rl_attempted_completion_over = 1; // no file names
    rl_completion_append_character = '\0';
    return rl_completion_matches(word, nextCompletion);
}

// ---- lines, with editing and history if a person types them

/// The file of the history, created if necessary; empty if that is impossible.
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

/// The library has one state for the process.
class LineReader {
public:
    explicit LineReader(bool hasHistory) {
        if (!isInputTyped()) return;
        // Strings are UTF-8 whatever the user's locale; without one the library drops what is not ASCII.
        std::setlocale(LC_CTYPE, "");
        if (std::string_view(nl_langinfo(CODESET)) != "UTF-8") std::setlocale(LC_CTYPE, "C.UTF-8");
        rl_attempted_completion_function = complete;
        // Without dots and colons: a chain of names is one word. The library keeps the address.
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

    /// Nothing at the end of input, or with `wasInterrupted` after Ctrl-C.
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

    /// Writes at once, because a statement may end the process; reads before that, because another session
    /// may have written too.
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

/// Compiles without running. Leaves the function or the message.
bool compile(lua_State* state, const std::string& text) {
    return luaL_loadbuffer(state, text.data(), text.size(), "=prompt") == LUA_OK;
}

void printMessage(lua_State* state) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", lua_tostring(state, -1));
}

/// Completes a statement by further lines if necessary. Leaves a function, of an expression if it is one, or
/// a message and false; or nothing and false, if the user gives up.
bool readStatement(lua_State* state, LineReader& reader, std::string& statement) {
    if (compile(state, "return " + statement)) return true;
    lua_pop(state, 1);
    while (!compile(state, statement)) {
        // The message is the only sign that a statement goes on.
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
    if (takeInterrupt()) std::printf("\n"); // the terminal shows Ctrl-C in the line
    printMessage(state);
}

void greet(const Setup& setup) {
    if (isInputTyped()) {
        std::puts("kzhost " KZHOST_VERSION
                  ": help() lists the available functions, traceback() prints the origin of "
                  "an error; Ctrl-D exits");
    }
    std::error_code unreadable; // then host.load() says more
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
