#include "headless/kzhost/libraries.h"
#include "headless/kzhost/values.h"
#include "headless/session.h"

#include <string_view>

namespace KzHost {

namespace {

/// Gives one object; nil for a null id.
int give(const Call& call, KzDbObjectId id, KzApDocument* document) {
    pushObject(call.state(), id, document);
    return 1;
}

int close(Call& call) {
    KzApDocument* const document = call.document(1);
    if (!Headless::closeDocument(document)) call.fail("the document is being edited or closed already");
    return 0;
}

int ready(Call& call) {
    KzApDocument* const document = call.document(1);
    if (call.has(2)) Headless::setReady(document, call.boolean(2, "whether it is ready (boolean)"));
    lua_pushboolean(call.state(), Headless::isReady(document) ? 1 : 0);
    return 1;
}

/// The number wraps around to 32 bits, as the host has it.
int busy(Call& call) {
    KzApDocument* const document = call.document(1);
    if (call.has(2)) {
        Headless::setBusy(document, static_cast<std::int32_t>(call.number32(2, "a whole number (integer)")));
    }
    lua_pushinteger(call.state(), Headless::busy(document));
    return 1;
}

int lockMode(Call& call) {
    KzApDocument* const document = call.document(1);
    if (call.has(2)) {
        const auto mode = static_cast<std::int32_t>(call.number32(2, "a lock mode (integer)"));
        Headless::setLockMode(document, static_cast<KzAp::DocLockMode>(mode));
    }
    lua_pushinteger(call.state(), static_cast<lua_Integer>(Headless::lockMode(document)));
    return 1;
}

/// Reads one option of a new block, whose value is on top of the stack. An unknown one is an error, so that a
/// slip of the pen is not passed over.
void readOption(const Call& call, const std::string& key, Headless::BlockOptions& options) {
    const int value = lua_gettop(call.state());
    const bool isSet = call.boolean(value, "an option that is true or false");
    if (key == "layout") {
        options.isLayout = isSet;
    } else if (key == "dependent") {
        options.isDependent = isSet;
    } else if (key == "anonymous") {
        using Anonymous = Headless::BlockOptions::Anonymous;
        options.anonymous = isSet ? Anonymous::yes : Anonymous::no;
    } else {
        call.fail("expected the options layout, anonymous and dependent, got \"" + key + "\"");
    }
}

int block(Call& call) {
    KzApDocument* const document = call.drawing(1);
    const std::u16string name = call.text(2, "a name (string)");
    Headless::BlockOptions options;
    call.eachOption(3, [&](const std::string& option) { readOption(call, option, options); });
    const Headless::Made made = Headless::makeBlock(document, name, options);
    call.require(made);
    return give(call, made, document);
}

int find(Call& call) {
    KzApDocument* const document = call.drawing(1);
    return give(call, Headless::find(document, call.text(2, "a name (string)")), document);
}

int modelSpace(Call& call) {
    KzApDocument* const document = call.drawing(1);
    return give(call, Headless::modelSpace(document), document);
}

int records(Call& call) {
    KzApDocument* const document = call.drawing(1);
    pushObjects(call.state(), Headless::records(document), document);
    return 1;
}

int attach(Call& call) {
    KzApDocument* const document = call.drawing(1);
    KzApDocument* const other = call.drawing(2);
    const Headless::Made made = Headless::attach(document, other, call.text(3, "a name (string)"));
    call.require(made);
    return give(call, made, document);
}

int object(Call& call) {
    KzApDocument* const document = call.drawing(1);
    const KzDbObjectId id(static_cast<std::uint64_t>(call.integer(2, "an id (integer)")));
    // Any number may be asked for; one of another drawing's object counts as none.
    const bool isHere = id.isValid() && id.database() == document->database();
    return give(call, isHere ? id : KzDbObjectId(), document);
}

int name(Call& call) {
    pushText(call.state(), Headless::documentName(call.document(1)));
    return 1;
}

constexpr Function fields[] = {
    {"document.name", name, R"(
        The name it was opened with.
        @type string
        @example print(house.name)
        )"},
};

constexpr Function methods[] = {
    {"document:close", close, R"(
        Closes the document. The document manager's reactors hear that it is about to go, then every object of
        its drawing says goodbye, in order of creation, then they hear that it was destroyed. When it was the
        current document, the one opened last among the others becomes current.
        @error it is being edited or closed already
        @example house:close()
        )"},
    {"document:ready", ready, R"(
        The yes/no state that the host tells modules about the document; yes at first.
        @param readiness? boolean what it is from now on
        @return boolean readiness what it is
        @example house:ready(false)
        )"},
    {"document:busy", busy, R"(
        The whole number that the host tells modules about the document; 0 at first.
        @param number? integer what it is from now on
        @return integer number what it is
        @example house:busy(1)
        )"},
    {"document:lockMode", lockMode, R"(
        The lock mode that the host tells modules about the document; 0 at first. Nothing is reported: that
        does `host.lock`.
        @param mode? integer what it is from now on
        @return integer mode what it is
        @example house:lockMode(2)
        )"},
    {"document:block", block, R"(
        Makes a block table record at the end of the table, by an edit of the block table. It is anonymous
        when its name begins with `*`, unless it is a layout or `anonymous` says otherwise.
        @param name string how it is called
        @param options? {layout: boolean, anonymous: boolean, dependent: boolean} what it is beside
        @return record record the new record
        @error another record of the drawing has the name, be it an erased one; the name is empty
        @example local window = house:block("Window")
        )"},
    {"document:find", find, R"(
        Finds a record by its name.
        @param name string how it is called
        @return record? record nil when none that is not erased has the name
        @example print(house:find("Door").id)
        )"},
    {"document:modelSpace", modelSpace, R"(
        The layout record in which a drawing begins: what `document:find("*Model_Space")` gives.
        @return record? record the record
        @example house:modelSpace():insert(door)
        )"},
    {"document:records", records, R"(
        Lists the records in the order of the block table, without erased ones.
        @return record[] records the list
        @example for _, record in ipairs(house:records()) do print(record.name) end
        )"},
    {"document:attach", attach, R"(
        Attaches the drawing of another open document: makes a record from an external reference, and for each
        record B of `other` that is no layout a dependent record `name|B`, which reports the references of B,
        live and erased, and after them those that insert it here. Erased records of `other`, and those that
        come from drawings attached to it, are left out. A drawing can be attached more than once, under other
        names.
        @param other document whose drawing it is
        @param name string how the record is called
        @return record record the record from the external reference
        @error a name is taken; a drawing is attached to itself
        @example house:attach(host.open("garden"), "Garden")
        )"},
    {"document:object", object, R"(
        Finds an object of the drawing by its id.
        @param id integer what `object.id` gives
        @return object? object nil when the drawing has none in memory
        @example print(house:object(door.id))
        )"},
};

} // namespace

extern const Chapter documentChapter = {
    "document", "Documents",
    "What `host.open` gives. All but `name`, `close`, `ready`, `busy` and "
    "`lockMode` needs a document with a drawing.",
    methods, fields};

} // namespace KzHost
