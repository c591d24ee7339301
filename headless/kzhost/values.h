#pragma once

#include "headless/kzhost/binding.h"

#include <initializer_list>

/// The Lua values that stand for documents and objects. The same document or object is always the same value,
/// so values can be compared and used as keys of tables.
namespace KzHost {

/// What the Lua value of an object holds. Once the id is no longer valid, the document tells whether the
/// object alone is gone or its drawing too.
struct ObjectValue {
    KzDbObjectId id;
    KzApDocument* document = nullptr;
};

/// Pushes a document; nil for null.
void pushDocument(lua_State* state, KzApDocument* document);
/// The document of a value, open or not; null for another value.
[[nodiscard]] KzApDocument* toDocument(lua_State* state, int index);

/// Pushes an object; nil for an id that is not valid. `near` is a document that probably contains it.
void pushObject(lua_State* state, KzDbObjectId id, KzApDocument* near);
/// The object of a value, in memory or not; null for another value or kind (`none` is any).
[[nodiscard]] const ObjectValue* toObject(lua_State* state, int index, Headless::Kind kind);

/// The name of a kind of values: "record" for example, and "object" for any.
[[nodiscard]] const char* kindName(Headless::Kind kind);

/// Registers a kind of values: those of the functions that belong to "name" or to a base are its methods
/// ("name:...") and its fields ("name...."), which are computed when they are read. Leaves its metatable.
void registerKind(lua_State* state, const char* name,
                  std::initializer_list<std::span<const Function>> functions, lua_CFunction describe);

} // namespace KzHost
