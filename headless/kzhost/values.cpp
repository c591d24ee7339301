#include "headless/kzhost/values.h"

#include "text/unicode.h"

#include <cstring>

namespace KzHost {

using Headless::Kind;

namespace {

/// The content of the Lua value of a document. The document may be closed, because addresses are not
/// reused.
struct DocumentValue {
    KzApDocument* document;
};

/// Pushes the existing value of a key; if there is none, a new one with the content. Values are in a weak
/// table by id or address, so each exists as long as a script refers to it.
template <class Value>
void pushValue(lua_State* state, lua_Integer key, const char* kind, Value content) {
    pushWeakTable(state, "kzhost values", "v");
    if (lua_rawgeti(state, -1, key) == LUA_TNIL) {
        lua_pop(state, 1);
        *static_cast<Value*>(lua_newuserdatauv(state, sizeof(Value), 0)) = content;
        luaL_setmetatable(state, kind);
        lua_pushvalue(state, -1);
        lua_rawseti(state, -3, key);
    }
    lua_remove(state, -2);
}

/// The document that contains an object; null while the document is being opened. `near` avoids the search.
KzApDocument* documentOf(KzDbObjectId id, KzApDocument* near) {
    const KzDbDatabase* const drawing = id.database();
    if (near != nullptr && Headless::isOpen(near) && near->database() == drawing) return near;
    for (KzApDocument* const each : Headless::documents()) {
        if (each->database() == drawing) return each;
    }
    return nullptr;
}

/// The metamethod `__index`: returns a method, or calls the function of a field with the value.
int index(lua_State* state) {
    lua_pushvalue(state, 2);
    if (lua_rawget(state, lua_upvalueindex(1)) != LUA_TNIL) return 1;
    lua_pushvalue(state, 2);
    if (lua_rawget(state, lua_upvalueindex(2)) == LUA_TNIL) return 1;
    lua_pushvalue(state, 1);
    lua_call(state, 1, 1);
    return 1;
}

int refuseField(lua_State* state) {
    luaL_getmetafield(state, 1, "__name");
    luaL_tolstring(state, 2, nullptr);
    return luaL_error(state, "%s.%s cannot be set", lua_tostring(state, -2), lua_tostring(state, -1));
}

} // namespace

/// Block tables and evaluation graphs have no members of their own.
const char* kindName(Kind kind) {
    switch (kind) {
    case Kind::record:
        return "record";
    case Kind::reference:
        return "reference";
    case Kind::attribute:
        return "attribute";
    default:
        return "object";
    }
}

/// The metatable also has the tables of members, for completion.
void registerKind(lua_State* state, const char* name,
                  std::initializer_list<std::span<const Function>> functions, lua_CFunction describe) {
    luaL_newmetatable(state, name);
    lua_newtable(state);
    lua_newtable(state);
    for (const std::span<const Function> list : functions) {
        for (const Function& each : list) {
            const bool isMethod = std::strchr(each.name, ':') != nullptr;
            pushFunction(state, each);
            lua_setfield(state, isMethod ? -3 : -2, shortName(each));
        }
    }
    lua_pushvalue(state, -2);
    lua_setfield(state, -4, "methods");
    lua_pushvalue(state, -1);
    lua_setfield(state, -4, "fields");
    lua_pushcclosure(state, index, 2);
    lua_setfield(state, -2, "__index");
    lua_pushcfunction(state, refuseField);
    lua_setfield(state, -2, "__newindex");
    lua_pushcfunction(state, describe);
    lua_setfield(state, -2, "__tostring");
    lua_pushboolean(state, 0); // scripts cannot change the metatable
    lua_setfield(state, -2, "__metatable");
}

/// The key is the negated address, because ids are positive.
void pushDocument(lua_State* state, KzApDocument* document) {
    if (document == nullptr) return lua_pushnil(state);
    const auto key = -static_cast<lua_Integer>(reinterpret_cast<std::uintptr_t>(document));
    pushValue(state, key, "document", DocumentValue{document});
}

KzApDocument* toDocument(lua_State* state, int index) {
    const auto* const value = static_cast<DocumentValue*>(luaL_testudata(state, index, "document"));
    return value != nullptr ? value->document : nullptr;
}

/// Finds the document now, because it cannot be found by the id after the object was removed.
void pushObject(lua_State* state, KzDbObjectId id, KzApDocument* near) {
    if (!id.isValid()) return lua_pushnil(state);
    const ObjectValue value{id, documentOf(id, near)};
    pushValue(state, static_cast<lua_Integer>(id.value()), kindName(Headless::kindOf(id)), value);
}

const ObjectValue* toObject(lua_State* state, int index, Kind kind) {
    if (kind != Kind::none) {
        return static_cast<ObjectValue*>(luaL_testudata(state, index, kindName(kind)));
    }
    for (const Kind each : {Kind::reference, Kind::record, Kind::attribute, Kind::table}) {
        if (const void* const value = luaL_testudata(state, index, kindName(each))) {
            return static_cast<const ObjectValue*>(value);
        }
    }
    return nullptr;
}

} // namespace KzHost
