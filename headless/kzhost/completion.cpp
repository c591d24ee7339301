#include "headless/kzhost/completion.h"

#include "headless/kzhost/libraries.h"
#include "headless/kzhost/values.h"

#include <algorithm>
#include <set>

namespace KzHost {

namespace {

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

} // namespace

/// The last separator decides: before it stands who is asked, after it what the name begins with.
std::vector<std::string> completions(lua_State* state, const std::string& word) {
    const std::size_t separator = word.find_last_of(".:");
    const bool hasOwner = separator != std::string::npos;
    const std::string owner = hasOwner ? word.substr(0, separator) : std::string();
    const std::string start = hasOwner ? word.substr(separator + 1) : word;
    const int top = lua_gettop(state);
    std::set<std::string> names;
    pushOwner(state, owner);
    // What stands for nothing may be the name of a kind, as the reference writes it.
    const Chapter* const kind = lua_isnil(state, -1) ? chapterNamed(owner) : nullptr;
    kind != nullptr ? collectNames(*kind, names) : collectNames(state, names);
    lua_settop(state, top);
    std::vector<std::string> result;
    for (const std::string& name : names) {
        // Whole words are given: the reader of lines replaces what was typed.
        if (name.starts_with(start)) result.push_back(word.substr(0, word.size() - start.size()) + name);
    }
    return result;
}

} // namespace KzHost
