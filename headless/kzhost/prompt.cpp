#include "headless/kzhost/prompt.h"

#include "headless/kzhost/values.h"

#include <editline/readline.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <set>
#include <string_view>

namespace KzHost {

namespace {

// ---- printing

constexpr int deepest = 3;
constexpr int mostEntries = 20;

std::string readableAt(lua_State* state, int index, int depth);

std::string quoted(lua_State* state, int index) {
    std::size_t length = 0;
    const char* const bytes = lua_tolstring(state, index, &length);
    std::string result = "\"";
    for (const char each : std::string_view(bytes, length)) {
        if (each == '"' || each == '\\') result += '\\';
        const bool isControl = static_cast<unsigned char>(each) < 0x20;
        result += isControl ? "\\" + std::to_string(static_cast<int>(each)) : std::string(1, each);
    }
    return result + "\"";
}

/// One entry of a table, whose key and value are on top of the stack.
std::string readableEntry(lua_State* state, lua_Integer position, int depth) {
    const int value = lua_gettop(state);
    std::string text = readableAt(state, value, depth + 1);
    if (lua_isinteger(state, value - 1) && lua_tointeger(state, value - 1) == position) return text;
    const bool isName = lua_type(state, value - 1) == LUA_TSTRING;
    const std::string key = readableAt(state, value - 1, depth + 1);
    return (isName ? std::string(lua_tostring(state, value - 1)) : "[" + key + "]") + " = " + text;
}

std::string readableTable(lua_State* state, int index, int depth) {
    if (depth == deepest) return "{...}";
    luaL_checkstack(state, LUA_MINSTACK, "a table is nested too deeply");
    std::string result = "{";
    lua_Integer position = 0;
    for (lua_pushnil(state); lua_next(state, index) != 0; lua_pop(state, 1)) {
        if (++position > mostEntries) {
            lua_pop(state, 2);
            result += ", ...";
            break;
        }
        if (position > 1) result += ", ";
        result += readableEntry(state, position, depth);
    }
    return result + "}";
}

std::string readableAt(lua_State* state, int index, int depth) {
    if (lua_type(state, index) == LUA_TSTRING) return quoted(state, index);
    if (lua_istable(state, index)) return readableTable(state, index, depth);
    std::string text = luaL_tolstring(state, index, nullptr);
    lua_pop(state, 1);
    return text;
}

// ---- completing

/// Replaces the table on top of the stack by its entry of that name. Metamethods are left alone: nothing runs
/// because somebody asks for completions.
void stepInto(lua_State* state, const std::string& name) {
    if (lua_istable(state, -1)) {
        lua_pushlstring(state, name.data(), name.size());
        lua_rawget(state, -2);
    } else {
        lua_pushnil(state);
    }
    lua_remove(state, -2);
}

/// Pushes what a chain of names ("host", "a.b") stands for.
void pushOwner(lua_State* state, const std::string& chain) {
    lua_pushglobaltable(state);
    std::size_t begin = 0;
    while (begin <= chain.size() && !chain.empty()) {
        const std::size_t end = std::min(chain.find('.', begin), chain.size());
        stepInto(state, chain.substr(begin, end - begin));
        begin = end + 1;
    }
}

/// The names of the methods and fields of a kind of values.
void collectNames(const Chapter& chapter, std::set<std::string>& names) {
    for (const Function& each : chapter.functions) names.insert(shortName(each));
    for (const Function& each : chapter.fields) names.insert(shortName(each));
    if (chapter.base != nullptr) collectNames(*chapter.base, names);
}

/// The names that the value on top of the stack knows.
void collectNames(lua_State* state, std::set<std::string>& names) {
    if (const Chapter* const chapter = chapterOfValue(state, -1)) return collectNames(*chapter, names);
    if (!lua_istable(state, -1)) return;
    for (lua_pushnil(state); lua_next(state, -2) != 0; lua_pop(state, 1)) {
        if (lua_type(state, -2) == LUA_TSTRING) names.insert(lua_tostring(state, -2));
    }
}

lua_State* completingState = nullptr; // the library's callbacks carry no data

char* nextCompletion(const char* word, int state) {
    static std::vector<std::string> found;
    if (state == 0) {
        found = completions(completingState, word);
        std::reverse(found.begin(), found.end());
    }
    if (found.empty()) return nullptr;
    char* const result = strdup(found.back().c_str());
    found.pop_back();
    return result;
}

char** complete(const char* word, int /*begin*/, int /*end*/) {
    rl_attempted_completion_over = 1; // file names are not meant
    rl_completion_append_character = '\0';
    return rl_completion_matches(word, nextCompletion);
}

// ---- reading

std::optional<std::string> readLine(const char* sign) {
    char* const line = readline(sign);
    if (line == nullptr) return std::nullopt;
    std::string result = line;
    std::free(line);
    return result;
}

bool load(lua_State* state, const std::string& chunk) {
    return luaL_loadbuffer(state, chunk.data(), chunk.size(), "=prompt") == LUA_OK;
}

/// Whether the message on top of the stack says that a statement goes on.
bool isIncomplete(lua_State* state) {
    const std::string_view message = lua_tostring(state, -1);
    return message.ends_with("<eof>");
}

/// Pushes a line as a function: an expression if it is one, else a statement, for which more lines are read.
/// False leaves the message.
bool loadStatement(lua_State* state, std::string& line) {
    if (load(state, "return " + line)) return true;
    lua_pop(state, 1);
    while (!load(state, line)) {
        if (!isIncomplete(state)) return false;
        const std::optional<std::string> more = readLine("...> ");
        if (!more.has_value()) return false;
        lua_pop(state, 1);
        line += "\n" + *more;
    }
    return true;
}

/// Prints its arguments. A function of Lua, because a value's own description may fail.
int printValues(lua_State* state) {
    for (int index = 1; index <= lua_gettop(state); ++index) {
        std::printf("%s%s", index == 1 ? "" : "  ", readable(state, index).c_str());
    }
    if (lua_gettop(state) != 0) std::printf("\n");
    return 0;
}

/// Runs the function on the stack and prints its results, or the error of either.
void runAndPrint(Session& session) {
    lua_State* const state = session.state();
    bool isDone = session.call(0);
    if (isDone) {
        lua_pushcfunction(state, printValues);
        lua_insert(state, 1);
        isDone = session.call(lua_gettop(state) - 1);
    }
    if (!isDone) std::printf("%s\n", lua_tostring(state, -1));
}

} // namespace

std::string readable(lua_State* state, int index) {
    return readableAt(state, lua_absindex(state, index), 0);
}

std::vector<std::string> completions(lua_State* state, const std::string& word) {
    const std::size_t separator = word.find_last_of(".:");
    const bool hasOwner = separator != std::string::npos;
    const std::string owner = hasOwner ? word.substr(0, separator) : std::string();
    const std::string start = hasOwner ? word.substr(separator + 1) : word;
    const int top = lua_gettop(state);
    std::set<std::string> names;
    pushOwner(state, owner);
    const Chapter* const kind = lua_isnil(state, -1) ? chapterNamed(owner) : nullptr;
    kind != nullptr ? collectNames(*kind, names) : collectNames(state, names);
    lua_settop(state, top);
    std::vector<std::string> result;
    for (const std::string& name : names) {
        if (name.starts_with(start)) result.push_back(word.substr(0, word.size() - start.size()) + name);
    }
    return result;
}

void prompt(Session& session) {
    lua_State* const state = session.state();
    completingState = state;
    rl_attempted_completion_function = complete;
    static std::array<char, 16> breaks = {" \t\n\"'=,(){}[]+"};
    rl_completer_word_break_characters = breaks.data();
    while (std::optional<std::string> line = readLine("kzhost> ")) {
        if (line->empty()) continue;
        const bool isStatement = loadStatement(state, *line);
        add_history(line->c_str());
        if (isStatement) {
            runAndPrint(session);
        } else {
            std::printf("%s\n", lua_tostring(state, -1));
        }
        lua_settop(state, 0);
    }
    std::printf("\n");
}

} // namespace KzHost
