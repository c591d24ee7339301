#pragma once

#include "headless/refusal.h"
#include "host/documents.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The edits that a user makes in drawings, and a look at what is there.
///
/// Every edit opens what it changes for write, tells the reactors, changes, tells them again and closes. All
/// that an edit needs is checked first: a refused one has changed nothing and told nobody. Objects are named
/// by id; any id may be passed.
namespace Headless {

// ---- block records

struct BlockOptions {
    enum class Anonymous { byName, no, yes };

    bool isLayout = false;
    bool isDependent = false;
    /// By its name means: anonymous when the name begins with "*", unless it is a layout.
    Anonymous anonymous = Anonymous::byName;
};

/// Makes a record at the end of the document's block table.
HEADLESS_API Made makeBlock(KzApDocument* document, std::u16string_view name,
                            const BlockOptions& options = {});

/// Attaches the drawing of `other`: makes a record `name` from an external reference and a dependent record
/// `name|B` for each live record B of `other` that is no layout and does not itself come from an attached
/// drawing. Gives the first record. A name that is taken refuses the whole.
HEADLESS_API Made attach(KzApDocument* document, KzApDocument* other, std::u16string_view name);

HEADLESS_API Outcome rename(KzDbObjectId record, std::u16string_view name);

/// Gives the record an evaluation graph. One that has it keeps it; that is an edit all the same.
HEADLESS_API Outcome enhance(KzDbObjectId record);

/// Makes `representation` a representation of an enhanced block; a null one stands for a new anonymous record
/// named "*U1", "*U2" and so on. Gives the representation.
HEADLESS_API Made represent(KzDbObjectId block, KzDbObjectId representation = {});

// ---- references and attributes

struct AttributeText {
    std::u16string tag;
    std::u16string text;
};

/// Places a reference of `block` in `record`, with attributes in the order given.
HEADLESS_API Made insert(KzDbObjectId record, KzDbObjectId block,
                         const std::vector<AttributeText>& attributes = {});
HEADLESS_API Outcome move(KzDbObjectId reference, KzDbObjectId record);
/// Copies a reference with its live attributes into `record`; a null one stands for the reference's own.
HEADLESS_API Made copy(KzDbObjectId reference, KzDbObjectId record = {});
HEADLESS_API Made addAttribute(KzDbObjectId reference, std::u16string_view tag, std::u16string_view text);
HEADLESS_API Outcome setAttribute(KzDbObjectId reference, std::u16string_view tag, std::u16string_view text);

// ---- every object

/// Opens for write and closes again.
HEADLESS_API Outcome touch(KzDbObjectId object);
/// Erases, or takes the erasure back. What is in that state already is left alone, without an edit.
HEADLESS_API Outcome erase(KzDbObjectId object, bool isErasing = true);
/// Lets a reference (its attributes before it) or an attribute leave memory.
HEADLESS_API Outcome goodbye(KzDbObjectId object);

/// Holds an object open for write, which tells nobody: until `letGo` every other open of it and every edit
/// fails.
HEADLESS_API Outcome holdOpen(KzDbObjectId object);
HEADLESS_API Outcome letGo(KzDbObjectId object);
/// How many objects are held open in all drawings.
[[nodiscard]] HEADLESS_API std::size_t heldOpenCount();

// ---- looking

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

} // namespace Headless
