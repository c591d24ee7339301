#pragma once

#include "headless/export.h"
#include "host/ids.h"

namespace Headless {

/// Why an edit was refused. A refused edit has changed nothing and told nobody.
enum class Refusal {
    none,
    documentClosed,        ///< null, never opened or closed already
    noDrawing,             ///< the document was opened without one
    notInMemory,           ///< the id is null, made up, or its object has gone
    wrongKind,             ///< the object is of another kind than the edit needs
    erased,                ///< an erased object cannot be edited, nor an erased block inserted
    heldOpen,              ///< somebody has the object open
    otherDrawing,          ///< the objects lie in different drawings
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

} // namespace Headless
