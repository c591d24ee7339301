#include "headless/kzhost/readable.h"

#include "headless/kzhost/call.h"

#include <array>
#include <cstdio>

namespace KzHost {

namespace {

/// Bounds what is printed, and ends at tables that contain themselves.
constexpr int deepest = 3;
constexpr int mostEntries = 20;

std::string readableAt(lua_State* state, int index, int depth);

/// A control character by its number, as Lua writes it: with all three digits when another one follows.
std::string numbered(char control, char next) {
    const bool isDigitNext = next >= '0' && next <= '9';
    std::array<char, 5> text = {};
    std::snprintf(text.data(), text.size(), isDigitNext ? "\\%03d" : "\\%d", control);
    return text.data();
}

std::string quoted(lua_State* state, int index) {
    std::size_t length = 0;
    const char* const bytes = lua_tolstring(state, index, &length); // a NUL follows the last one
    std::string result = "\"";
    for (std::size_t at = 0; at < length; ++at) {
        const char each = bytes[at];
        const bool isControl = (each >= 0 && each < 0x20) || each == 0x7F;
        if (each == '"' || each == '\\') result += '\\';
        result += isControl ? numbered(each, bytes[at + 1]) : std::string(1, each);
    }
    return result + "\"";
}

/// One entry of a table, whose key and value are on top of the stack.
std::string readableEntry(lua_State* state, lua_Integer position, int depth) {
    const int value = lua_gettop(state);
    std::string text = readableAt(state, value, depth + 1);
    // An entry at its own position is one of a list, and stands without its key.
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
            // The key and the value, which the loop would have taken.
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
    // May run a script's `__tostring`, and so may fail.
    std::string text = luaL_tolstring(state, index, nullptr);
    lua_pop(state, 1);
    return text;
}

// ---- results with their meaning

/// One result as its description calls it: "1 message" of a count, else "ids {4, 8}".
std::string withMeaning(lua_State* state, int index, const Item& item) {
    if (item.type != "count") return item.name + " " + readable(state, index);
    std::string noun = item.name;
    if (noun.ends_with('s') && lua_tointeger(state, index) == 1) noun.pop_back();
    return readable(state, index) + " " + noun;
}

// The address of this is the key of what the last function of the host has given: itself and its results.
constexpr char notedKey = 0;

} // namespace

std::string readable(lua_State* state, int index) {
    return readableAt(state, lua_absindex(state, index), 0);
}

void beginNotingResults(lua_State* state) {
    lua_newtable(state);
    lua_rawsetp(state, LUA_REGISTRYINDEX, &notedKey);
}

void noteResults(lua_State* state, const Function& function, int count) {
    // Only a prompt has it; scripts pay nothing for this.
    if (lua_rawgetp(state, LUA_REGISTRYINDEX, &notedKey) == LUA_TTABLE) {
        lua_pushlightuserdata(state, const_cast<Function*>(&function));
        lua_rawseti(state, -2, 0);
        for (int at = 1; at <= count; ++at) {
            // The table lies on the results.
            lua_pushvalue(state, -1 - count + at - 1);
            lua_rawseti(state, -2, at);
        }
    }
    lua_pop(state, 1);
}

std::string readableResults(lua_State* state) {
    const int count = lua_gettop(state);
    std::vector<Item> meanings;
    if (lua_rawgetp(state, LUA_REGISTRYINDEX, &notedKey) == LUA_TTABLE) {
        lua_rawgeti(state, -1, 0);
        if (const void* const function = lua_touserdata(state, -1)) {
            meanings = describe(*static_cast<const Function*>(function)).results;
        }
        lua_pop(state, 1);
    }
    bool areNoted = meanings.size() == static_cast<std::size_t>(count) && count > 1;
    for (int at = 1; areNoted && at <= count; ++at) {
        lua_rawgeti(state, count + 1, at);
        // The same number of other values may have come from elsewhere: they have no such meaning.
        areNoted = lua_rawequal(state, at, -1) != 0 && !lua_isnil(state, at);
        lua_pop(state, 1);
    }
    lua_settop(state, count);
    std::string text;
    for (int at = 1; at <= count; ++at) {
        if (at > 1) text += areNoted ? ", " : "  ";
        text += areNoted ? withMeaning(state, at, meanings[static_cast<std::size_t>(at) - 1])
                         : readable(state, at);
    }
    return text;
}

} // namespace KzHost
