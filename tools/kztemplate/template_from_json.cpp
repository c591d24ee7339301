#include "tools/kztemplate/template_from_json.h"

#include "text/unicode.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <memory>
#include <utility>

using nlohmann::json;

namespace {

// Recursive descent into the document: each step takes a value, where it stands and what is to be made of it.
// It gives false when the value is not as wanted, and says why in `refusal`; the first refusal ends all.
class TemplateMaker {
public:
    std::optional<Refusal> refusal;

    bool document(const json& from, CEattMain& to) {
        const std::string path = "$";
        if (!object(from, path, {"header", "blocks"})) return false;
        return number(from["header"], memberPath(path, "header"), to.headerValue) &&
               elements(from["blocks"], memberPath(path, "blocks"), [&](const json& block, const auto& at) {
                   to.blocks.push_back(std::make_shared<CEattBlockInfo>());
                   return blockInfo(block, at, *to.blocks.back());
               });
    }

private:
    bool refuse(const std::string& path, std::string reason) {
        refusal = Refusal{path, std::move(reason)};
        return false;
    }

    bool blockInfo(const json& from, const std::string& path, CEattBlockInfo& to) {
        if (!object(from, path, {"name", "flag", "attributes"})) return false;
        return text(from["name"], memberPath(path, "name"), to.blockName) &&
               number(from["flag"], memberPath(path, "flag"), to.blockFlag) &&
               elements(from["attributes"], memberPath(path, "attributes"),
                        [&](const json& attribute, const auto& at) {
                            return this->attribute(attribute, at, to.attributes);
                        });
    }

    bool attribute(const json& from, const std::string& path, KzDxAttributeTable& to) {
        std::u16string name;
        std::int32_t flag = 0;
        if (!object(from, path, {"name", "flag"})) return false;
        if (!text(from["name"], memberPath(path, "name"), name)) return false;
        if (!number(from["flag"], memberPath(path, "flag"), flag)) return false;
        return to.add(name, flag) ||
               refuse(memberPath(path, "name"), "the block has an attribute of this name already");
    }

    // An object with just these keys. An unknown one is told first: it is mostly a missing one, written
    // wrong.
    bool object(const json& from, const std::string& path, std::initializer_list<const char*> keys) {
        if (!from.is_object()) return refuse(path, "must be an object");
        for (const auto& member : from.items()) {
            if (std::ranges::find(keys, member.key()) == keys.end())
                return refuse(memberPath(path, member.key()), "the key is unknown");
        }
        for (const char* key : keys)
            if (!from.contains(key)) return refuse(memberPath(path, key), "is missing");
        return true;
    }

    // Calls `each(element, path)` for the elements of an array, as long as it gives true.
    bool elements(const json& from, const std::string& path, const auto& each) {
        if (!from.is_array()) return refuse(path, "must be an array");
        for (std::size_t i = 0; i < from.size(); ++i)
            if (!each(from[i], elementPath(path, i))) return false;
        return true;
    }

    bool text(const json& from, const std::string& path, std::u16string& to) {
        if (!from.is_string()) return refuse(path, "must be a string");
        auto converted = Text::toUtf16(from.get_ref<const std::string&>());
        if (!converted.has_value()) return refuse(path, "must be text"); // the parser has refused it already
        to = std::move(*converted);
        return true;
    }

    // A whole number that fits the file. One that the parser takes for unsigned is not negative, and needs
    // the other comparison.
    bool number(const json& from, const std::string& path, std::int32_t& to) {
        using Limits = std::numeric_limits<std::int32_t>;
        // A whole number beyond 64 bits is a floating-point one to the parser.
        const bool fits = from.is_number_unsigned()
                              ? from.get<std::uint64_t>() <= Limits::max()
                              : from.is_number_integer() && from.get<std::int64_t>() >= Limits::min();
        if (!fits) return refuse(path, "must be a whole number from -2147483648 to 2147483647");
        to = from.get<std::int32_t>();
        return true;
    }
};

} // namespace

std::optional<Refusal> templateFromJson(std::string_view text, CEattMain& result) {
    json document;
    if (auto refusal = parseJson(text, document)) return refusal;

    // Made apart, so that a refused text changes nothing.
    CEattMain made;
    TemplateMaker maker;
    if (!maker.document(document, made)) return maker.refusal;
    // From here on nothing fails.
    result.headerValue = made.headerValue;
    result.blocks.swap(made.blocks);
    return std::nullopt;
}
