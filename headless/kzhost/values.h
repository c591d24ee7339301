#pragma once

#include "headless/kzhost/call.h"

#include <string>
#include <vector>

namespace KzHost {

/// The Lua values that stand for documents and objects. The same document or object is always the same value,
/// so that values can be compared and used as keys of tables.

/// Makes the kinds of values known to a new state.
void registerValues(lua_State* state);

/// Pushes a document; nil for null.
void pushDocument(lua_State* state, KzApDocument* document);
/// The document of a value, open or not; null for another value.
[[nodiscard]] KzApDocument* toDocument(lua_State* state, int index);

/// Pushes an object; nil for an id that is not valid. `near` is a document that probably holds it.
void pushObject(lua_State* state, KzDbObjectId id, KzApDocument* near);
/// The object of a value, in memory or not; null for another value or kind (`none` is any).
[[nodiscard]] const ObjectValue* toObject(lua_State* state, int index, Headless::Kind kind);

/// Pushes a list of objects.
void pushObjects(lua_State* state, const std::vector<KzDbObjectId>& ids, KzApDocument* near);

/// A kind with its article, for messages.
[[nodiscard]] const char* nameOf(Headless::Kind kind);

void pushText(lua_State* state, std::u16string_view text);

/// Makes a kind of value known, with the functions of its chapter as methods and with its fields, which are
/// computed when they are read. A value's own table, when it has one as its first user value, comes before
/// both.
void newKind(lua_State* state, const Chapter& chapter, int (*describe)(lua_State* state));

/// The chapter about a value of the host; null for any other value.
[[nodiscard]] const Chapter* chapterOfValue(lua_State* state, int index);

} // namespace KzHost
