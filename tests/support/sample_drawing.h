#pragma once

// A drawing with one of everything that the module looks at, for tests in which something fails.

#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/session.h"

/// Two documents, one attached to the other: nested blocks, an enhanced block with representations before and
/// behind it in the table, a table block, an erased reference. The same objects each time.
struct SampleDrawing {
    KzApDocument* const other = Headless::openDocument(u"other");
    KzApDocument* const main = Headless::openDocument(u"main");
    const KzDbObjectId space = Headless::modelSpace(main);
    const KzDbObjectId early = Headless::makeBlock(main, u"*E"); ///< represents the door, and comes before it
    const KzDbObjectId door = Headless::makeBlock(main, u"Door");
    const KzDbObjectId handle = Headless::makeBlock(main, u"Handle"); ///< inside the door
    const KzDbObjectId table = Headless::makeBlock(main, u"*T1");
    const KzDbObjectId shed = Headless::makeBlock(other, u"Shed");
    KzDbObjectId reference; ///< of the door
    KzDbObjectId plate;     ///< references of the handle in the door and in model space
    KzDbObjectId hinge;
    KzDbObjectId spare;
    KzDbObjectId represented; ///< made by `edit`: references of a new representation,
    KzDbObjectId placed;      ///< and of the handle in a new block

    SampleDrawing() {
        using namespace Headless;
        enhance(door);
        represent(door, early);
        insert(modelSpace(other), shed, {{u"TAG", u"1"}});
        attach(main, other, u"SITE");
        plate = insert(door, handle, {{u"TAG", u"1"}});
        for (const KzDbObjectId block : {early, represent(door).id, table, find(main, u"SITE|Shed")}) {
            insert(space, block, {{u"TAG", u"1"}});
        }
        reference = insert(space, door, {{u"TAG", u"1"}});
        spare = insert(space, handle);
        hinge = insert(door, handle);
        static_cast<void>(erase(insert(door, handle)));
        makeCurrent(main);
    }

    /// Makes new references and blocks, and edits what is there.
    void edit() {
        using namespace Headless;
        represented = insert(space, represent(door));
        placed = insert(makeBlock(main, u"Frame"), handle, {{u"TAG", u"2"}});
        insert(modelSpace(other), shed);
        static_cast<void>(setAttribute(plate, u"TAG", u"2"));
        static_cast<void>(goodbye(spare));
        // A reference, no record: of an erased one it matters whether it was seen before.
        static_cast<void>(erase(hinge));
    }
};
