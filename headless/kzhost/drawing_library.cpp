// The members of documents and of the objects of their drawings.

#include "headless/kzhost/libraries.h"
#include "headless/kzhost/values.h"
#include "text/unicode.h"

#include <map>

namespace KzHost {

using Headless::AttributeText;
using Headless::BlockOptions;
using Headless::Kind;

/// The options of a new block. An unknown option is an error, so that typos are reported.
template <>
struct Argument<BlockOptions> {
    static BlockOptions read(const Call& call, int index) {
        constexpr const char* what = "the options layout, anonymous and dependent";
        BlockOptions options;
        if (!call.has(index)) return options;
        readTable(call, index, what, [&](int key, int value) {
            const std::string name = Argument<std::string>::read(call, key);
            const bool isSet = Argument<bool>::read(call, value);
            using Anonymous = BlockOptions::Anonymous;
            if (name == "layout") {
                options.isLayout = isSet;
            } else if (name == "dependent") {
                options.isDependent = isSet;
            } else if (name == "anonymous") {
                options.anonymous = isSet ? Anonymous::yes : Anonymous::no;
            } else {
                call.expected(key, what);
            }
        });
        return options;
    }
};

/// Attributes from a table of texts by tag, in ascending order of the tags; none by default.
template <>
struct Argument<std::vector<AttributeText>> {
    static std::vector<AttributeText> read(const Call& call, int index) {
        std::map<std::string, AttributeText> byTag; // the order of UTF-8 bytes is that of the characters
        if (!call.has(index)) return {};
        readTable(call, index, "a table of texts by tag", [&](int key, int value) {
            byTag[Argument<std::string>::read(call, key)] = {Argument<std::u16string>::read(call, key),
                                                             Argument<std::u16string>::read(call, value)};
        });
        std::vector<AttributeText> attributes;
        attributes.reserve(byTag.size());
        for (auto& [tag, attribute] : byTag) attributes.push_back(std::move(attribute));
        return attributes;
    }
};

namespace {

using String = std::u16string;

// ---- documents

void close(const Call& call, OpenDocument document) {
    if (!Headless::closeDocument(document)) call.fail("the document is being edited or closed already");
}

bool ready(OpenDocument document, std::optional<bool> value) {
    bool& isReady = Headless::documentState(document).isReady;
    return isReady = value.value_or(isReady);
}

/// The number is reduced to 32 bits, the width in the host.
std::int32_t busy(OpenDocument document, std::optional<std::uint32_t> value) {
    std::int32_t& number = Headless::documentState(document).busy;
    return number = value.has_value() ? static_cast<std::int32_t>(*value) : number;
}

std::int32_t lockMode(OpenDocument document, std::optional<std::uint32_t> value) {
    KzAp::DocLockMode& mode = Headless::documentState(document).lockMode;
    if (value.has_value()) mode = static_cast<KzAp::DocLockMode>(*value);
    return static_cast<std::int32_t>(mode);
}

/// Any number may be passed; an object of another drawing is not found.
KzDbObjectId object(DrawingDocument document, lua_Integer number) {
    const KzDbObjectId id(static_cast<std::uint64_t>(number));
    return id.isValid() && id.database() == document.address->database() ? id : KzDbObjectId();
}

constexpr Function documentMembers[] = {
    {"document.name", bind<Headless::documentName, OpenDocument>},
    {"document:close", bind<close>},
    {"document:ready", bind<ready>},
    {"document:busy", bind<busy>},
    {"document:lockMode", bind<lockMode>},
    {"document:block", bind<Headless::makeBlock, DrawingDocument, String, BlockOptions>},
    {"document:find", bind<Headless::find, DrawingDocument, String>},
    {"document:modelSpace", bind<Headless::modelSpace, DrawingDocument>},
    {"document:records", bind<Headless::records, DrawingDocument>},
    {"document:attach", bind<Headless::attach, DrawingDocument, DrawingDocument, String>},
    {"document:object", bind<object>},
};

int describeDocument(lua_State* state) {
    const KzApDocument* const document = toDocument(state, 1);
    const std::string name = Text::toUtf8(Headless::documentName(document));
    lua_pushstring(state,
                   Headless::isOpen(document) ? ("document \"" + name + "\"").c_str() : "a closed document");
    return 1;
}

// ---- objects

/// Whether the first argument is an object that was removed from a drawing that is still open.
bool isRemoved(const Call& call) {
    const ObjectValue* const value = toObject(call.state(), 1, Kind::none);
    return value != nullptr && !value->id.isValid() && Headless::isOpen(value->document);
}

bool erased(const Call& call) {
    return !isRemoved(call) && readObject(call, 1, Kind::none).isErased();
}

Headless::EditResult erase(Object object, std::optional<bool> isErasing) {
    return Headless::erase(object, isErasing.value_or(true));
}

/// Available even if the object no longer exists.
std::uint64_t id(const Call& call) {
    const ObjectValue* const value = toObject(call.state(), 1, Kind::none);
    if (value == nullptr) call.expected(1, "an object");
    return value->id.value();
}

/// `attributeOf` finds an erased attribute if no live one has the tag; the result is then nil.
std::optional<String> get(Reference reference, const String& tag) {
    const KzDbObjectId attribute = Headless::attributeOf(reference, tag);
    if (attribute.isNull() || attribute.isErased()) return std::nullopt;
    return Headless::attributeText(attribute);
}

constexpr Function objectMembers[] = {
    {"object.id", bind<id>},
    {"object:touch", bind<Headless::touch, Object>},
    {"object:erase", bind<erase>},
    {"object:erased", bind<erased>},
    {"object:reactors", bind<Headless::reactorCount, Object>},
    {"object:open", bind<Headless::holdOpen, Object>},
    {"object:close", bind<Headless::releaseHold, Object>},
};

constexpr Function recordMembers[] = {
    {"record.name", bind<Headless::recordName, Record>},
    {"record:insert", bind<Headless::insert, Record, Record, std::vector<AttributeText>>},
    {"record:references", bind<Headless::references, Record, Or<bool, bool>>},
    {"record:enhance", bind<Headless::enhance, Record>},
    {"record:represent", bind<Headless::represent, Record, RecordOrNull>},
    {"record:rename", bind<Headless::rename, Record, String>},
};

constexpr Function referenceMembers[] = {
    {"reference.block", bind<Headless::blockOf, Reference>},
    {"reference.owner", bind<Headless::ownerOf, Reference>},
    {"reference:get", bind<get>},
    {"reference:set", bind<Headless::setAttribute, Reference, String, String>},
    {"reference:add", bind<Headless::addAttribute, Reference, String, String>},
    {"reference:attribute", bind<Headless::attributeOf, Reference, String>},
    {"reference:move", bind<Headless::move, Reference, Record>},
    {"reference:copy", bind<Headless::copy, Reference, RecordOrNull>},
    {"reference:goodbye", bind<Headless::goodbye, Reference>},
};

constexpr Function attributeMembers[] = {
    {"attribute.owner", bind<Headless::ownerOf, Attribute>},
    {"attribute.text", bind<Headless::attributeText, Attribute>},
    {"attribute:goodbye", bind<Headless::goodbye, Attribute>},
};

int describeObject(lua_State* state) {
    const ObjectValue* const value = toObject(state, 1, Kind::none);
    lua_pushstring(state, Headless::describeObject(value->id).c_str());
    return 1;
}

} // namespace

void addDrawingLibrary(lua_State* state) {
    registerKind(state, "document", {documentMembers}, describeDocument);
    registerKind(state, "object", {objectMembers}, describeObject);
    registerKind(state, "record", {objectMembers, recordMembers}, describeObject);
    registerKind(state, "reference", {objectMembers, referenceMembers}, describeObject);
    registerKind(state, "attribute", {objectMembers, attributeMembers}, describeObject);
    lua_pop(state, 5);
}

} // namespace KzHost
