#pragma once

#include "headless/export.h"
#include "host/documents.h"
#include "host/ids.h"

#include <string>
#include <string_view>
#include <vector>

/// The edits that a user makes in drawings.
///
/// Every edit opens what it changes for write, tells the reactors, changes, tells them again and closes. All
/// that an edit needs is checked first: a refused edit changes nothing and notifies no reactor. Objects are
/// named by id; any id may be passed.
namespace Headless {

/// Why an edit was refused. A refused edit changes nothing and notifies no reactor.
enum class Refusal {
    none,
    documentClosed,        ///< null, never opened or closed already
    noDrawing,             ///< the document was opened without one
    notInMemory,           ///< the id is null, made up, or its object has gone
    wrongKind,             ///< the object is of another kind than the edit needs
    erased,                ///< an erased object cannot be edited, nor an erased block inserted
    heldOpen,              ///< the object is open already
    otherDrawing,          ///< the objects belong to different drawings
    nameMissing,           ///< an empty name
    nameTaken,             ///< another record of the drawing, perhaps an erased one, has the name
    notEnhanced,           ///< only an enhanced block has representations
    alreadyRepresentation, ///< the record represents a block already, or is the enhanced block itself
    ownDrawing,            ///< a drawing cannot be attached to itself
    noSuchTag,             ///< the reference has no attribute of that tag
    notHeldOpen,           ///< `letGo` of what is not held open
};

/// The refusal in words, for example "the object is erased". Never null.
[[nodiscard]] HEADLESS_API const char* describe(Refusal refusal);

/// What became of an edit. True when it was done.
struct Outcome {
    Refusal refusal = Refusal::none;
    KzDbObjectId about; ///< the object that the refusal is about; null when it is about none

    [[nodiscard]] explicit operator bool() const { return refusal == Refusal::none; }
};

/// What became of an edit that makes an object: its id, null when it was refused.
struct Made : Outcome {
    KzDbObjectId id;

    // Converts, so that a test can write `const KzDbObjectId block = makeBlock(...)`.
    operator KzDbObjectId() const { return id; }
};

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

/// Holds an object open for write, as during an edit by a user. Its reactors are notified immediately that it
/// is about to change. Every other open and every edit of the object fails until `letGo`, which notifies them
/// that it was closed.
HEADLESS_API Outcome holdOpen(KzDbObjectId object);
HEADLESS_API Outcome letGo(KzDbObjectId object);

} // namespace Headless
