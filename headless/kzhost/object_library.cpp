#include "headless/kzhost/libraries.h"
#include "headless/kzhost/values.h"
#include "headless/session.h"

#include <map>
#include <utility>
#include <vector>

namespace KzHost {

using Headless::Kind;

namespace {

constexpr const char* aTag = "a tag (string)";
constexpr const char* aText = "a text (string)";

/// Gives an object that lies near the first argument, probably in the same document; nil for a null id. The
/// argument has been read, so it is an object.
int give(const Call& call, KzDbObjectId id) {
    pushObject(call.state(), id, toObject(call.state(), 1, Kind::none)->document);
    return 1;
}

/// Gives what an edit has made, or raises why it was refused.
int give(const Call& call, const Headless::Made& made) {
    call.require(made);
    return give(call, made.id);
}

/// Ends an edit that gives nothing, or raises why it was refused.
int done(const Call& call, const Headless::Outcome& outcome) {
    call.require(outcome);
    return 0;
}

/// An optional record; null when it is not given.
KzDbObjectId recordOrNull(const Call& call, int index) {
    return call.has(index) ? call.object(index, Kind::record).id : KzDbObjectId();
}

// ---- records

/// Attributes from a table of texts by tag, in ascending order of the tags.
std::vector<Headless::AttributeText> readAttributes(const Call& call, int index) {
    if (!call.has(index)) return {};
    call.table(index, "a table of texts by tag");
    lua_State* const state = call.state();
    std::map<std::string, Headless::AttributeText> byTag; // bytes of UTF-8 ascend as the characters do
    for (lua_pushnil(state); lua_next(state, index) != 0; lua_pop(state, 1)) {
        const int value = lua_gettop(state);
        // Both read a string only, so the key stays as it is and the walk goes on.
        byTag[call.bytes(value - 1, aTag)] = {call.text(value - 1, aTag), call.text(value, aText)};
    }
    std::vector<Headless::AttributeText> attributes;
    attributes.reserve(byTag.size());
    for (auto& entry : byTag) attributes.push_back(std::move(entry.second));
    return attributes;
}

int insert(Call& call) {
    const KzDbObjectId record = call.object(1, Kind::record).id;
    const KzDbObjectId block = call.object(2, Kind::record).id;
    if (!call.has(3)) return give(call, Headless::insert(record, block));
    return give(call, Headless::insert(record, block, readAttributes(call, 3)));
}

/// Copies: the lists of the record may change while a script walks them.
int references(Call& call) {
    const ObjectValue& record = call.object(1, Kind::record);
    const bool isErased = call.has(2) && call.boolean(2, "whether to list erased ones (boolean)");
    pushObjects(call.state(), Headless::references(record.id, isErased), record.document);
    return 1;
}

int enhance(Call& call) {
    return done(call, Headless::enhance(call.object(1, Kind::record).id));
}

int represent(Call& call) {
    const KzDbObjectId block = call.object(1, Kind::record).id;
    return give(call, Headless::represent(block, recordOrNull(call, 2)));
}

int rename(Call& call) {
    const KzDbObjectId record = call.object(1, Kind::record).id;
    return done(call, Headless::rename(record, call.text(2, "a name (string)")));
}

// ---- references

int get(Call& call) {
    const KzDbObjectId reference = call.object(1, Kind::reference).id;
    const KzDbObjectId attribute = Headless::attributeOf(reference, call.text(2, aTag));
    // An erased one is found when there is no other of its tag; it says nothing then.
    if (attribute.isNull() || attribute.isErased()) {
        lua_pushnil(call.state());
    } else {
        pushText(call.state(), Headless::attributeText(attribute));
    }
    return 1;
}

int set(Call& call) {
    const KzDbObjectId reference = call.object(1, Kind::reference).id;
    return done(call, Headless::setAttribute(reference, call.text(2, aTag), call.text(3, aText)));
}

int add(Call& call) {
    const KzDbObjectId reference = call.object(1, Kind::reference).id;
    return give(call, Headless::addAttribute(reference, call.text(2, aTag), call.text(3, aText)));
}

int attribute(Call& call) {
    const KzDbObjectId reference = call.object(1, Kind::reference).id;
    return give(call, Headless::attributeOf(reference, call.text(2, aTag)));
}

int move(Call& call) {
    const KzDbObjectId reference = call.object(1, Kind::reference).id;
    return done(call, Headless::move(reference, call.object(2, Kind::record).id));
}

int copy(Call& call) {
    const KzDbObjectId reference = call.object(1, Kind::reference).id;
    return give(call, Headless::copy(reference, recordOrNull(call, 2)));
}

// ---- every object

int touch(Call& call) {
    return done(call, Headless::touch(call.object(1).id));
}

int erase(Call& call) {
    const KzDbObjectId object = call.object(1).id;
    const bool isErasing = !call.has(2) || call.boolean(2, "whether to erase (boolean)");
    return done(call, Headless::erase(object, isErasing));
}

/// An object that has left memory is not erased either; only its drawing has to be there.
int erased(Call& call) {
    // Not by `call.object`, which raises an error for what has left memory.
    const ObjectValue* const value = toObject(call.state(), 1, Kind::none);
    const bool hasLeft = value != nullptr && !value->id.isValid() && Headless::isOpen(value->document);
    lua_pushboolean(call.state(), !hasLeft && call.object(1).id.isErased() ? 1 : 0);
    return 1;
}

int reactors(Call& call) {
    const std::size_t count = Headless::reactorCount(call.object(1).id);
    lua_pushinteger(call.state(), static_cast<lua_Integer>(count));
    return 1;
}

int open(Call& call) {
    return done(call, Headless::holdOpen(call.object(1).id));
}

int close(Call& call) {
    return done(call, Headless::letGo(call.object(1).id));
}

int goodbye(Call& call) {
    return done(call, Headless::goodbye(call.object(1).id));
}

// ---- fields

/// Known for ever, whatever became of the object.
int id(Call& call) {
    const ObjectValue* const value = toObject(call.state(), 1, Kind::none);
    lua_pushinteger(call.state(), static_cast<lua_Integer>(value->id.value()));
    return 1;
}

int recordName(Call& call) {
    pushText(call.state(), Headless::recordName(call.object(1).id));
    return 1;
}

int block(Call& call) {
    return give(call, Headless::blockOf(call.object(1).id));
}

int owner(Call& call) {
    return give(call, Headless::ownerOf(call.object(1).id));
}

int attributeText(Call& call) {
    pushText(call.state(), Headless::attributeText(call.object(1).id));
    return 1;
}

// ---- what they say about themselves

constexpr Function objectFields[] = {
    {"object.id", id, R"(
        The number that names the object. Ids are unique in the process, ascend in the order of creation and
        are never used again. It stays readable when the object has gone.
        @type integer
        @example print(door.id)
        )"},
};

constexpr Function objectMethods[] = {
    {"object:touch", touch, R"(
        Opens the object for write and closes it: an edit that changes nothing.
        @error it is erased or held open
        @example door:touch()
        )"},
    {"object:erase", erase, R"(
        Erases the object, or takes its erasure back. An erased record keeps its references, those that insert
        it and those placed in it; an erased reference moves from its block's live references to the erased
        ones. No edit is made when it is in that state already.
        @param erasing? boolean false takes the erasure back
        @error it is held open
        @example placed:erase()
        )"},
    {"object:erased", erased, R"(
        Tells whether the object itself is erased. One that has left memory is not.
        @return boolean erased whether it is
        @example print(door:erased())
        )"},
    {"object:reactors", reactors, R"(
        Counts the reactors of the object. One that was added twice is there once.
        @return integer reactors how many there are
        @example print(door:reactors())
        )"},
    {"object:open", open, R"(
        Opens the object for write and holds it, as a user does who is in the middle of something. Its
        reactors hear at once that it is about to change. Until `object:close` every other opening of it
        fails, and so does an edit.
        @error it is erased or open already
        @example door:open()
        )"},
    {"object:close", close, R"(
        Lets go of an object that is held open. Its reactors hear that it was closed.
        @error it is not held open
        @example door:open() door:close()
        )"},
};

constexpr Function recordFields[] = {
    {"record.name", recordName, R"(
        How the record is called.
        @type string
        @example print(door.name)
        )"},
};

constexpr Function recordMethods[] = {
    {"record:insert", insert, R"(
        Places a new reference of a block in this record, by an edit of this record. A block may be placed
        anywhere in its drawing, in itself too.
        @param block record what is placed
        @param attributes? table<string, string> the texts of its attributes by tag, made in ascending order
            of tags
        @return reference reference the new reference
        @error the block or the record is erased; they lie in different drawings
        @example room:insert(door, {NUMBER = "1.18"})
        )"},
    {"record:references", references, R"(
        Lists the references that insert this record, in order of creation.
        @param erased? boolean true lists the erased ones instead of the live ones
        @return reference[] references the list
        @example print(#door:references())
        )"},
    {"record:enhance", enhance, R"(
        Makes the record an enhanced block: gives it an evaluation graph under the host's key for them. One
        that has it keeps it, which is an edit all the same.
        @example door:enhance()
        )"},
    {"record:represent", represent, R"(
        Makes a record a representation of this enhanced block. All references that insert it, whenever they
        were made, lead back to this record. Whether it is anonymous does not change.
        @param record? record the representation; without it a new anonymous record, called `*U1`, `*U2` and
            so on
        @return record representation the representation
        @error this record is not enhanced; the other one represents a block already
        @example door:enhance() door:represent()
        )"},
    {"record:rename", rename, R"(
        Gives the record another name. Whether it is anonymous does not change.
        @param name string how it is called from now on
        @error another record of the drawing has the name, be it an erased one
        @example door:rename("Gate")
        )"},
};

constexpr Function referenceFields[] = {
    {"reference.block", block, R"(
        The record that is placed.
        @type record
        @example print(placed.block.name)
        )"},
    {"reference.owner", owner, R"(
        The record in which it is placed.
        @type record
        @example print(placed.owner.name)
        )"},
};

constexpr Function referenceMethods[] = {
    {"reference:get", get, R"(
        Gives the text of an attribute.
        @param tag string which attribute
        @return string? text nil when there is none of that tag that is not erased
        @example print(placed:get("NUMBER"))
        )"},
    {"reference:set", set, R"(
        Changes the text of an attribute: an edit of the attribute alone.
        @param tag string which attribute
        @param text string what it says from now on
        @error there is no attribute of that tag, or it is erased
        @example placed:set("NUMBER", "1.19")
        )"},
    {"reference:add", add, R"(
        Adds an attribute, by an edit of the reference.
        @param tag string which attribute
        @param text string what it says
        @return attribute attribute the new attribute
        @example placed:add("COLOUR", "green")
        )"},
    {"reference:attribute", attribute, R"(
        Gives an attribute as an object.
        @param tag string which attribute
        @return attribute? attribute the first live one of that tag, else the first erased one
        @example placed:attribute("NUMBER"):touch()
        )"},
    {"reference:move", move, R"(
        Moves the reference into another record: an edit of the reference, of the record that it leaves and of
        the one that it enters.
        @param record record where to
        @error they lie in different drawings
        @example placed:move(house:modelSpace())
        )"},
    {"reference:copy", copy, R"(
        Copies the reference with its attributes that are not erased. Its reactors hear of the copy before
        that is placed, which edits the record that takes it.
        @param record? record where to; without it into the same record
        @return reference copy the copy, which has no reactors
        @example placed:copy()
        )"},
    {"reference:goodbye", goodbye, R"(
        Lets the reference leave memory, its attributes before it. Their reactors hear it say goodbye. Its id
        is not valid afterwards, and no list reports it any more.
        @example placed:goodbye()
        )"},
};

constexpr Function attributeFields[] = {
    {"attribute.owner", owner, R"(
        The reference that it belongs to.
        @type reference
        @example print(number.owner == placed)
        )"},
    {"attribute.text", attributeText, R"(
        What it says.
        @type string
        @example print(number.text)
        )"},
};

constexpr Function attributeMethods[] = {
    {"attribute:goodbye", goodbye, R"(
        Lets the attribute leave memory. Its reactors hear it say goodbye, and its id is not valid afterwards.
        @example number:goodbye()
        )"},
};

} // namespace

extern const Chapter objectChapter = {"object", "Objects",
                                      "What records, references and attributes have in common. An edit of an "
                                      "erased object, or across drawings, is an "
                                      "error.",
                                      objectMethods, objectFields};
extern const Chapter recordChapter = {
    "record",      "Records",    "Block table records: the blocks of a drawing.",
    recordMethods, recordFields, &objectChapter};
extern const Chapter referenceChapter = {"reference",      "References",    "A block, placed in a record.",
                                         referenceMethods, referenceFields, &objectChapter};
extern const Chapter attributeChapter = {
    "attribute",      "Attributes",    "A text under a tag, which belongs to a reference.",
    attributeMethods, attributeFields, &objectChapter};

} // namespace KzHost
