#pragma once

#include "headless/export.h"
#include "host/documents.h"
#include "host/ids.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Queries of the content of drawings. Any id and any document may be passed.
namespace Headless {

/// The kind of an object of a drawing; `none` means no object.
enum class Kind : std::uint8_t { none, table, record, reference, attribute, graph };

/// The kind of an object; `none` for an invalid id.
[[nodiscard]] HEADLESS_API Kind kindOf(KzDbObjectId object);
/// The number of reactors of an object; 0 for an invalid id.
[[nodiscard]] HEADLESS_API std::size_t reactorCount(KzDbObjectId object);
/// The total number of reactors of all objects of a drawing.
[[nodiscard]] HEADLESS_API std::size_t reactorCountOf(const KzApDocument* document);
/// The number of current openings of an object, including `holdOpen`.
[[nodiscard]] HEADLESS_API std::size_t openCount(KzDbObjectId object);
/// The number of objects of a drawing that are open.
[[nodiscard]] HEADLESS_API std::size_t openCountOf(const KzApDocument* document);
/// The number of objects of all drawings that are held open.
[[nodiscard]] HEADLESS_API std::size_t heldOpenCount();

/// The live record of that name; null if there is none.
[[nodiscard]] HEADLESS_API KzDbObjectId find(const KzApDocument* document, std::u16string_view name);
[[nodiscard]] HEADLESS_API KzDbObjectId modelSpace(const KzApDocument* document);
/// The live records in table order.
[[nodiscard]] HEADLESS_API std::vector<KzDbObjectId> records(const KzApDocument* document);
[[nodiscard]] HEADLESS_API std::u16string recordName(KzDbObjectId record);
/// The live (or erased) references that insert a record, in order of creation.
[[nodiscard]] HEADLESS_API std::vector<KzDbObjectId> references(KzDbObjectId record, bool isErased = false);

/// The record that a reference inserts; null for anything else.
[[nodiscard]] HEADLESS_API KzDbObjectId blockOf(KzDbObjectId reference);
/// The owner of an object; null if there is none.
[[nodiscard]] HEADLESS_API KzDbObjectId ownerOf(KzDbObjectId object);
/// The first live attribute of a tag, otherwise the first erased one; null if there is none.
[[nodiscard]] HEADLESS_API KzDbObjectId attributeOf(KzDbObjectId reference, std::u16string_view tag);
[[nodiscard]] HEADLESS_API std::u16string attributeText(KzDbObjectId attribute);

/// Describes an object, for example `record 12 "Door"` or `attribute 15 "NUMBER" of reference 14 of
/// "Door"`.
[[nodiscard]] HEADLESS_API std::string describeObject(KzDbObjectId object);

} // namespace Headless
