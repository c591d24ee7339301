#pragma once

#include "headless/export.h"
#include "host/documents.h"
#include "host/ids.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Queries of what is in drawings. Any id and any document may be passed; nothing is changed.
namespace Headless {

/// What an object of a drawing is; `none` means no object.
enum class Kind : std::uint8_t { none, table, record, reference, attribute, graph };

/// The kind of an object; `none` for an id that is not valid.
[[nodiscard]] HEADLESS_API Kind kindOf(KzDbObjectId object);
/// How many reactors an object has; 0 for an id that is not valid.
[[nodiscard]] HEADLESS_API std::size_t reactorCount(KzDbObjectId object);
/// How many reactors all objects of a drawing have together.
[[nodiscard]] HEADLESS_API std::size_t reactorCountOf(const KzApDocument* document);
/// How often an object is open at this moment, held ones included.
[[nodiscard]] HEADLESS_API std::size_t openCount(KzDbObjectId object);
/// How many objects of a drawing are open at this moment.
[[nodiscard]] HEADLESS_API std::size_t openCountOf(const KzApDocument* document);
/// How many objects are held open in all drawings.
[[nodiscard]] HEADLESS_API std::size_t heldOpenCount();

/// The live record of that name; null when there is none.
[[nodiscard]] HEADLESS_API KzDbObjectId find(const KzApDocument* document, std::u16string_view name);
[[nodiscard]] HEADLESS_API KzDbObjectId modelSpace(const KzApDocument* document);
/// The live records in table order.
[[nodiscard]] HEADLESS_API std::vector<KzDbObjectId> records(const KzApDocument* document);
[[nodiscard]] HEADLESS_API std::u16string recordName(KzDbObjectId record);
/// The live, or the erased, references that insert a record, in order of creation.
[[nodiscard]] HEADLESS_API std::vector<KzDbObjectId> references(KzDbObjectId record, bool isErased = false);

/// The record that a reference inserts; null for anything else.
[[nodiscard]] HEADLESS_API KzDbObjectId blockOf(KzDbObjectId reference);
/// The object that holds another one; null when there is none.
[[nodiscard]] HEADLESS_API KzDbObjectId ownerOf(KzDbObjectId object);
/// The first live attribute of a tag, else the first erased one; null when there is none.
[[nodiscard]] HEADLESS_API KzDbObjectId attributeOf(KzDbObjectId reference, std::u16string_view tag);
[[nodiscard]] HEADLESS_API std::u16string attributeText(KzDbObjectId attribute);

/// An object in words, for example `record 12 "Door"` or `attribute 15 "NUMBER" of reference 14 of "Door"`.
[[nodiscard]] HEADLESS_API std::string describeObject(KzDbObjectId object);

} // namespace Headless
