#include "headless/kzhost/values.h"

#include "headless/kzhost/libraries.h"
#include "headless/session.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>

namespace KzHost {

using Headless::Kind;

namespace {

// The address of this is the key of the table of values that exist already.
constexpr char valuesKey = 0;

/// Block tables and evaluation graphs have no chapter of their own.
const Chapter& chapterOf(Kind kind) {
    switch (kind) {
    case Kind::record:
        return recordChapter;
    case Kind::reference:
        return referenceChapter;
    case Kind::attribute:
        return attributeChapter;
    default:
        return objectChapter;
    }
}

/// What a Lua value of a document holds. It may be closed: its address is not used again.
struct DocumentValue {
    KzApDocument* document;
};

/// Pushes the table of the values that somebody still uses, by id or address.
void pushValues(lua_State* state) {
    lua_rawgetp(state, LUA_REGISTRYINDEX, &valuesKey);
}

/// Enters the new value on top of the stack, below which the table of values lies, and leaves it alone there.
void finishValue(lua_State* state, const char* kind, lua_Integer key) {
    luaL_setmetatable(state, kind);
    lua_pushvalue(state, -1);
    lua_rawseti(state, -3, key);
    lua_remove(state, -2);
}

/// Pushes the value of a key when there is one; else the table of values, under the value to be made.
bool pushKnown(lua_State* state, lua_Integer key) {
    pushValues(state);
    if (lua_rawgeti(state, -1, key) == LUA_TNIL) {
        lua_pop(state, 1);
        return false;
    }
    lua_remove(state, -2);
    return true;
}

/// Documents are entered by address, which is negated: ids ascend from 1 and never meet one.
lua_Integer keyOf(const KzApDocument* document) {
    return -static_cast<lua_Integer>(reinterpret_cast<std::uintptr_t>(document));
}

/// The document that holds an object; null while that is being opened. The guess spares the search.
KzApDocument* documentOf(KzDbObjectId id, KzApDocument* near) {
    const KzDbDatabase* const drawing = id.database();
    if (near != nullptr && Headless::isOpen(near) && near->database() == drawing) return near;
    for (KzApDocument* const each : Headless::documents()) {
        if (each->database() == drawing) return each;
    }
    return nullptr;
}

int describeDocumentValue(lua_State* state) {
    const KzApDocument* const document = toDocument(state, 1);
    const bool isOpen = Headless::isOpen(document);
    const std::string name = Text::toUtf8(Headless::documentName(document));
    lua_pushstring(state, isOpen ? ("document \"" + name + "\"").c_str() : "a closed document");
    return 1;
}

int describeObjectValue(lua_State* state) {
    const ObjectValue* const value = toObject(state, 1, Kind::none);
    lua_pushstring(state, Headless::describeObject(value->id).c_str());
    return 1;
}

/// The field of that name; null when there is none.
const Function* findField(const Chapter& chapter, std::string_view name) {
    for (const Function& each : chapter.fields) {
        if (name == shortName(each)) return &each;
    }
    return chapter.base != nullptr ? findField(*chapter.base, name) : nullptr;
}

/// Looks a name up in the value's own table when it has one, among the methods, and among the fields, which
/// are computed.
int index(lua_State* state) {
    if (lua_type(state, 2) != LUA_TSTRING) return 0;
    if (lua_getiuservalue(state, 1, 1) == LUA_TTABLE) {
        lua_pushvalue(state, 2);
        if (lua_rawget(state, -2) != LUA_TNIL) return 1;
    }
    lua_pushvalue(state, 2);
    if (lua_rawget(state, lua_upvalueindex(1)) != LUA_TNIL) return 1;
    const auto& chapter = *static_cast<const Chapter*>(lua_touserdata(state, lua_upvalueindex(2)));
    const Function* const field = findField(chapter, lua_tostring(state, 2));
    if (field == nullptr) return 0;
    // Not by `dispatch`: fields only read, so no client runs and no module is called.
    Call call(state, field->name);
    return field->run(call);
}

} // namespace

void newKind(lua_State* state, const Chapter& chapter, int (*describe)(lua_State*)) {
    luaL_newmetatable(state, chapter.name);
    lua_newtable(state);
    // Before its own, which may replace one of them.
    if (chapter.base != nullptr) enter(state, chapter.base->functions);
    enter(state, chapter.functions);
    lua_pushlightuserdata(state, const_cast<Chapter*>(&chapter));
    lua_pushcclosure(state, index, 2);
    lua_setfield(state, -2, "__index");
    lua_pushcfunction(state, describe);
    lua_setfield(state, -2, "__tostring");
    lua_pushboolean(state, 0); // scripts cannot take the metatable apart
    lua_setfield(state, -2, "__metatable");
    lua_pop(state, 1);
}

/// The name of the metatable is that of the chapter. What other libraries make has other names.
const Chapter* chapterOfValue(lua_State* state, int index) {
    if (!lua_isuserdata(state, index) || luaL_getmetafield(state, index, "__name") == LUA_TNIL)
        return nullptr;
    const Chapter* const chapter =
        lua_type(state, -1) == LUA_TSTRING ? chapterNamed(lua_tostring(state, -1)) : nullptr;
    lua_pop(state, 1);
    return chapter;
}

void registerValues(lua_State* state) {
    lua_newtable(state);
    lua_newtable(state);
    lua_pushstring(state, "v"); // a value that nobody uses may go
    lua_setfield(state, -2, "__mode");
    lua_setmetatable(state, -2);
    lua_rawsetp(state, LUA_REGISTRYINDEX, &valuesKey);

    newKind(state, documentChapter, describeDocumentValue);
    for (const Kind kind : {Kind::none, Kind::record, Kind::reference, Kind::attribute}) {
        newKind(state, chapterOf(kind), describeObjectValue);
    }
}

void pushDocument(lua_State* state, KzApDocument* document) {
    if (document == nullptr) {
        lua_pushnil(state);
        return;
    }
    if (pushKnown(state, keyOf(document))) return;
    auto* const value = static_cast<DocumentValue*>(lua_newuserdatauv(state, sizeof(DocumentValue), 0));
    *value = {document};
    finishValue(state, documentChapter.name, keyOf(document));
}

KzApDocument* toDocument(lua_State* state, int index) {
    const auto* const value = static_cast<DocumentValue*>(luaL_testudata(state, index, documentChapter.name));
    return value != nullptr ? value->document : nullptr;
}

void pushObject(lua_State* state, KzDbObjectId id, KzApDocument* near) {
    if (!id.isValid()) {
        lua_pushnil(state);
        return;
    }
    const auto key = static_cast<lua_Integer>(id.value());
    if (pushKnown(state, key)) return;
    auto* const value = static_cast<ObjectValue*>(lua_newuserdatauv(state, sizeof(ObjectValue), 0));
    // Found now, while the object is in memory; afterwards the id leads nowhere.
    *value = {id, documentOf(id, near)};
    finishValue(state, chapterOf(Headless::kindOf(id)).name, key);
}

const ObjectValue* toObject(lua_State* state, int index, Kind kind) {
    if (kind != Kind::none)
        return static_cast<ObjectValue*>(luaL_testudata(state, index, chapterOf(kind).name));
    // The kinds that are met most come first.
    for (const Kind each : {Kind::reference, Kind::record, Kind::attribute, Kind::none}) {
        if (void* const value = luaL_testudata(state, index, chapterOf(each).name)) {
            return static_cast<ObjectValue*>(value);
        }
    }
    return nullptr;
}

void pushObjects(lua_State* state, const std::vector<KzDbObjectId>& ids, KzApDocument* near) {
    lua_createtable(state, static_cast<int>(ids.size()), 0);
    lua_Integer at = 0;
    for (const KzDbObjectId id : ids) {
        pushObject(state, id, near);
        lua_rawseti(state, -2, ++at);
    }
}

const char* nameOf(Kind kind) {
    switch (kind) {
    case Kind::record:
        return "a record";
    case Kind::reference:
        return "a reference";
    case Kind::attribute:
        return "an attribute";
    default:
        return "an object";
    }
}

void pushText(lua_State* state, std::u16string_view text) {
    const std::string bytes = Text::toUtf8(text);
    lua_pushlstring(state, bytes.data(), bytes.size());
}

} // namespace KzHost
