#pragma once

#include "headless/kzhost/binding.h"

#include <initializer_list>

/// The Lua values of documents and objects. Each document and object has only one value, so values can be
/// compared and used as table keys.
namespace KzHost {

/// The content of the Lua value of an object. If the id is no longer valid, the document shows whether only
/// the object was removed or the drawing was closed.
struct ObjectValue {
    KzDbObjectId id;
    KzApDocument* document = nullptr;
};

/// Pushes a document; nil for null.
void pushDocument(lua_State* state, KzApDocument* document);
/// The document of a value, open or not; null for any other value.
[[nodiscard]] KzApDocument* toDocument(lua_State* state, int index);

/// Pushes an object; nil for an invalid id. `near` is a document that probably contains the object; may be
/// null.
void pushObject(lua_State* state, KzDbObjectId id, KzApDocument* near);
/// The object of a value, in memory or not; null for any other value or another kind (`none`: any kind).
[[nodiscard]] const ObjectValue* toObject(lua_State* state, int index, Headless::Kind kind);

/// The name of a kind of values, for example "record".
[[nodiscard]] const char* kindName(Headless::Kind kind);

/// Registers a kind of values. The functions are its methods ("name:method") and its fields ("name.field"),
/// which are computed when they are read. Leaves the metatable on the stack.
void registerKind(lua_State* state, const char* name,
                  std::initializer_list<std::span<const Function>> functions, lua_CFunction describe);

} // namespace KzHost
