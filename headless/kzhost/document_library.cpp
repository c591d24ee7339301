#include "headless/kzhost/libraries.h"
#include "headless/kzhost/values.h"
#include "headless/session.h"

#include <string_view>

namespace KzHost {

namespace {

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

/// Reads one option of a new block.
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

Headless::BlockOptions blockOptions(const Call& call, int index) {
    Headless::BlockOptions options;
    if (!call.has(index)) return options;
    call.table(index, "a table of options");
    lua_State* const state = call.state();
    for (lua_pushnil(state); lua_next(state, index) != 0; lua_pop(state, 1)) {
        if (lua_type(state, -2) != LUA_TSTRING) call.fail("expected options under names, got a list");
        readOption(call, lua_tostring(state, -2), options);
    }
    return options;
}

int block(Call& call) {
    KzApDocument* const document = call.drawing(1);
    const std::u16string name = call.text(2, "a name (string)");
    const Headless::Made made = Headless::makeBlock(document, name, blockOptions(call, 3));
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
    const bool isHere = id.isValid() && id.database() == document->database();
    return give(call, isHere ? id : KzDbObjectId(), document);
}

constexpr Function methods[] = {
    {"document:close", close},       {"document:ready", ready},           {"document:busy", busy},
    {"document:lockMode", lockMode}, {"document:block", block},           {"document:find", find},
    {"document:records", records},   {"document:modelSpace", modelSpace}, {"document:attach", attach},
    {"document:object", object},
};

} // namespace

void enterDocumentMethods(lua_State* state) {
    enter(state, methods);
}

int documentField(Call& call, const std::string& key) {
    if (key != "name") return 0;
    pushText(call.state(), Headless::documentName(call.document(1)));
    return 1;
}

} // namespace KzHost
