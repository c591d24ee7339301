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

int give(const Call& call, KzDbObjectId id) {
    pushObject(call.state(), id, toObject(call.state(), 1, Kind::none)->document);
    return 1;
}

int give(const Call& call, const Headless::Made& made) {
    call.require(made);
    return give(call, made.id);
}

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

constexpr Function objectMethods[] = {
    {"object:touch", touch},       {"object:erase", erase}, {"object:erased", erased},
    {"object:reactors", reactors}, {"object:open", open},   {"object:close", close},
};

constexpr Function recordMethods[] = {
    {"record:insert", insert},       {"record:references", references}, {"record:enhance", enhance},
    {"record:represent", represent}, {"record:rename", rename},
};

constexpr Function referenceMethods[] = {
    {"reference:get", get},         {"reference:set", set},
    {"reference:add", add},         {"reference:attribute", attribute},
    {"reference:move", move},       {"reference:copy", copy},
    {"reference:goodbye", goodbye},
};

constexpr Function attributeMethods[] = {{"attribute:goodbye", goodbye}};

} // namespace

void enterObjectMethods(lua_State* state, Kind kind) {
    enter(state, objectMethods);
    if (kind == Kind::record) enter(state, recordMethods);
    if (kind == Kind::reference) enter(state, referenceMethods);
    if (kind == Kind::attribute) enter(state, attributeMethods);
}

int objectField(Call& call, const std::string& key) {
    lua_State* const state = call.state();
    if (key == "id") { // known for ever, whatever became of the object
        const ObjectValue* const value = toObject(state, 1, Kind::none);
        lua_pushinteger(state, static_cast<lua_Integer>(value->id.value()));
        return 1;
    }
    const bool isRecord = toObject(state, 1, Kind::record) != nullptr;
    const bool isReference = toObject(state, 1, Kind::reference) != nullptr;
    const bool isAttribute = toObject(state, 1, Kind::attribute) != nullptr;
    if (key == "name" && isRecord) {
        pushText(state, Headless::recordName(call.object(1).id));
    } else if (key == "block" && isReference) {
        return give(call, Headless::blockOf(call.object(1).id));
    } else if (key == "owner" && (isReference || isAttribute)) {
        return give(call, Headless::ownerOf(call.object(1).id));
    } else if (key == "text" && isAttribute) {
        pushText(state, Headless::attributeText(call.object(1).id));
    } else {
        return 0;
    }
    return 1;
}

} // namespace KzHost
