#pragma once

#include "headless/export.h"
#include "host/documents.h"
#include "host/ids.h"

#include <string>
#include <string_view>
#include <vector>

/// The edits that a user makes in drawings.
///
/// Every edit opens the objects that it changes for write, notifies their reactors, makes the change,
/// notifies the reactors again and closes the objects. All conditions are checked first: an edit that fails
/// changes nothing and notifies no reactor. Objects are identified by id; any id may be passed.
namespace Headless {

/// Why an edit failed.
enum class EditError {
    none,
    documentClosed,        ///< null, never opened or closed already
    noDrawing,             ///< the document was opened without one
    notInMemory,           ///< the id is null or was never assigned, or its object no longer exists
    wrongKind,             ///< the object is of another kind than the edit needs
    erased,                ///< an erased object cannot be edited, and an erased block cannot be inserted
    heldOpen,              ///< the object is open already
    otherDrawing,          ///< the objects belong to different drawings
    nameMissing,           ///< an empty name
    nameTaken,             ///< another record of the drawing, perhaps an erased one, has the name
    notEnhanced,           ///< only an enhanced block has representations
    alreadyRepresentation, ///< the record represents a block already, or is the enhanced block itself
    ownDrawing,            ///< a drawing cannot be attached to itself
    noSuchTag,             ///< the reference has no attribute of that tag
    notHeldOpen,           ///< `releaseHold` of an object that is not held open
};

/// Describes an error, for example "the object is erased". Never null.
[[nodiscard]] HEADLESS_API const char* describe(EditError error);

/// The result of an edit. Converts to true if the edit was done.
struct EditResult {
    EditError error = EditError::none;
    KzDbObjectId about; ///< the object that the error concerns; may be null

    [[nodiscard]] explicit operator bool() const { return error == EditError::none; }
};

/// The result of an edit that creates an object: the id of the object; null if the edit failed.
struct CreateResult : EditResult {
    KzDbObjectId id;

    // Implicit, so that a test can write `const KzDbObjectId block = makeBlock(...)`.
    operator KzDbObjectId() const { return id; }
};

// ---- block records

struct BlockOptions {
    enum class Anonymous { byName, no, yes };

    bool isLayout = false;
    bool isDependent = false;
    /// `byName`: the record is anonymous if its name begins with "*", unless it is a layout.
    Anonymous anonymous = Anonymous::byName;
};

/// Creates a record at the end of the document's block table.
HEADLESS_API CreateResult makeBlock(KzApDocument* document, std::u16string_view name,
                                    const BlockOptions& options = {});

/// Attaches the drawing of `other`: creates a record `name` from an external reference, and a dependent
/// record `name|B` for each live record B of `other` that is not a layout and does not itself come from an
/// attached drawing. Returns the record `name`. If one of the names is taken, the edit fails and creates no
/// record.
HEADLESS_API CreateResult attach(KzApDocument* document, KzApDocument* other, std::u16string_view name);

HEADLESS_API EditResult rename(KzDbObjectId record, std::u16string_view name);

/// Adds an evaluation graph to the record. A record that has one keeps it; this is an edit too.
HEADLESS_API EditResult enhance(KzDbObjectId record);

/// Makes `representation` a representation of an enhanced block. Default: a new anonymous record named
/// "*U1", "*U2" and so on. Returns the representation.
HEADLESS_API CreateResult represent(KzDbObjectId block, KzDbObjectId representation = {});

// ---- references and attributes

struct AttributeText {
    std::u16string tag;
    std::u16string text;
};

/// Places a new reference of `block` in `record`, with attributes in the given order.
HEADLESS_API CreateResult insert(KzDbObjectId record, KzDbObjectId block,
                                 const std::vector<AttributeText>& attributes = {});
HEADLESS_API EditResult move(KzDbObjectId reference, KzDbObjectId record);
/// Copies a reference with its live attributes into `record`; default: the owner of the reference.
HEADLESS_API CreateResult copy(KzDbObjectId reference, KzDbObjectId record = {});
HEADLESS_API CreateResult addAttribute(KzDbObjectId reference, std::u16string_view tag,
                                       std::u16string_view text);
HEADLESS_API EditResult setAttribute(KzDbObjectId reference, std::u16string_view tag,
                                     std::u16string_view text);

// ---- every object

/// Opens the object for write and closes it: an edit that changes nothing.
HEADLESS_API EditResult touch(KzDbObjectId object);
/// Erases or unerases the object. Has no effect, and is not an edit, if the object is in that state
/// already.
HEADLESS_API EditResult erase(KzDbObjectId object, bool isErasing = true);
/// Removes an attribute, or a reference after its attributes, from memory.
HEADLESS_API EditResult goodbye(KzDbObjectId object);

/// Holds an object open for write, as during an edit by a user. Its reactors are notified immediately that it
/// is about to change. Every other open and every edit of the object fails until `releaseHold`, which
/// notifies them that it was closed.
HEADLESS_API EditResult holdOpen(KzDbObjectId object);
HEADLESS_API EditResult releaseHold(KzDbObjectId object);

} // namespace Headless
