#include "tools/kztemplate/template_from_json.h"

#include "text/unicode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <utility>
#include <vector>

using nlohmann::json;

namespace {

// The kind of a value, by its position.
enum class Kind { document, blocks, block, attributes, attribute, name, number };

struct Field {
    std::string_view key;
    Kind kind;
};

std::span<const Field> fieldsOf(Kind object) {
    static constexpr std::array document{Field{"header", Kind::number}, Field{"blocks", Kind::blocks}};
    static constexpr std::array block{Field{"name", Kind::name}, Field{"flag", Kind::number},
                                      Field{"attributes", Kind::attributes}};
    static constexpr std::array attribute{Field{"name", Kind::name}, Field{"flag", Kind::number}};
    switch (object) {
    case Kind::document:
        return document;
    case Kind::block:
        return block;
    case Kind::attribute:
        return attribute;
    default:
        return {};
    }
}

const char* expectationOf(Kind kind) {
    switch (kind) {
    case Kind::name:
        return "must be a string";
    case Kind::number:
        return "must be an integer from -2147483648 to 2147483647";
    case Kind::blocks:
    case Kind::attributes:
        return "must be an array";
    default:
        return "must be an object";
    }
}

// Whether a key can follow a dot; other keys are in brackets and quotes.
bool isPlain(std::string_view key) {
    return !key.empty() &&
           key.find_first_not_of("abcdefghijklmnopqrstuvwxyz"
                                 "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") == std::string::npos;
}

std::string memberPath(const std::string& path, std::string_view key) {
    return isPlain(key) ? path + '.' + std::string(key) : path + '[' + json(key).dump() + ']';
}

std::string elementPath(const std::string& path, std::size_t index) {
    return path + '[' + std::to_string(index) + ']';
}

// Shortens a text that may quote the input to the length of a line, at a character boundary.
std::string cut(std::string text) {
    constexpr std::size_t longest = 200;
    if (text.size() <= longest) return text;
    std::size_t size = longest;
    while ((static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) --size;
    return text.substr(0, size) + "...";
}

// SAX handler: creates the template while the text is parsed, and stops the parser at the first error. The
// nesting is never deeper than that of a template, because each value is checked at its start.
class TemplateMaker : public nlohmann::json_sax<json> {
public:
    CEattMain made;
    std::optional<JsonError> jsonError;

    bool null() override { return refuse(); }
    bool boolean(bool /*unused*/) override { return refuse(); }
    bool binary(binary_t& /*unused*/) override { return refuse(); }
    // Also called for integers beyond 64 bits.
    bool number_float(number_float_t /*unused*/, const string_t& /*unused*/) override { return refuse(); }
    bool number_integer(number_integer_t value) override {
        return value >= Limits::min() ? number(static_cast<std::int32_t>(value)) : refuse();
    }
    bool number_unsigned(number_unsigned_t value) override { // for numbers that are not negative
        return value <= Limits::max() ? number(static_cast<std::int32_t>(value)) : refuse();
    }

    bool string(string_t& value) override {
        auto text = Text::toUtf16(value);
        if (next() != Kind::name || !text.has_value()) return refuse(); // valid: the parser checks UTF-8
        (level().kind == Kind::block ? made.blocks.back()->blockName : attributeName_) = std::move(*text);
        return ended();
    }

    bool start_object(std::size_t /*unused*/) override {
        const Kind kind = next();
        if (fieldsOf(kind).empty()) return refuse();
        if (kind == Kind::block) made.blocks.push_back(std::make_shared<CEattBlockInfo>());
        levels_.push_back({.kind = kind});
        return true;
    }

    bool key(string_t& name) override {
        const auto fields = fieldsOf(level().kind);
        const auto field = std::ranges::find(fields, name, &Field::key);
        if (field == fields.end()) return refuse(memberPath(objectPath(), name), "unknown key");
        auto& keys = level().keys;
        const bool isRepeated = std::ranges::find(keys, name) != keys.end();
        keys.push_back(field->key);
        return !isRepeated || refuse(path(), "duplicate key");
    }

    bool end_object() override {
        for (const Field& field : fieldsOf(level().kind)) {
            if (std::ranges::find(level().keys, field.key) == level().keys.end())
                return refuse(memberPath(objectPath(), field.key), "missing key");
        }
        if (level().kind == Kind::attribute)
            made.blocks.back()->attributes.append(attributeName_, attributeFlag_);
        levels_.pop_back();
        return ended();
    }

    bool start_array(std::size_t /*unused*/) override {
        const Kind kind = next();
        if (kind != Kind::blocks && kind != Kind::attributes) return refuse();
        levels_.push_back({.kind = kind});
        return true;
    }

    bool end_array() override {
        const bool isOfAttributes = level().kind == Kind::attributes;
        levels_.pop_back();
        if (isOfAttributes) {
            if (const auto repeated = made.blocks.back()->attributes.firstRepeated()) {
                return refuse(elementPath(path(), *repeated) + ".name",
                              "duplicate attribute name in the block");
            }
        }
        return ended();
    }

    bool parse_error(std::size_t /*unused*/, const std::string& /*unused*/,
                     const json::exception& error) override {
        const std::string what = error.what();
        const auto code = what.find("] "); // what() starts with an error number in brackets
        return refuse(path(), code == std::string::npos ? what : what.substr(code + 2));
    }

private:
    using Limits = std::numeric_limits<std::int32_t>;

    // One per open object or array, outermost first.
    struct Level {
        Kind kind;
        std::vector<std::string_view> keys = {}; // of an object: the keys that were read
        std::size_t index = 0;                   // of an array: the next or open element
    };

    Level& level() { return levels_.back(); }

    // The expected kind of the value that starts now.
    [[nodiscard]] Kind next() const {
        if (levels_.empty()) return Kind::document;
        const Level& level = levels_.back();
        if (level.kind == Kind::blocks) return Kind::block;
        if (level.kind == Kind::attributes) return Kind::attribute;
        return std::ranges::find(fieldsOf(level.kind), level.keys.back(), &Field::key)->kind;
    }

    bool number(std::int32_t value) {
        if (next() != Kind::number) return refuse();
        if (level().kind == Kind::document) made.headerValue = value;
        if (level().kind == Kind::block) made.blocks.back()->blockFlag = value;
        if (level().kind == Kind::attribute) attributeFlag_ = value;
        return ended();
    }

    // A value has ended. In an object the index has no meaning.
    bool ended() {
        if (!levels_.empty()) ++level().index;
        return true;
    }

    bool refuse() { return refuse(path(), expectationOf(next())); }
    bool refuse(std::string path, std::string reason) {
        jsonError = JsonError{cut(std::move(path)), cut(std::move(reason))};
        return false;
    }

    // The paths of the innermost object, and of the value whose key was read last; in an array, of the
    // element.
    [[nodiscard]] std::string objectPath() const { return pathTo(levels_.size() - 1); }
    [[nodiscard]] std::string path() const { return pathTo(levels_.size()); }
    [[nodiscard]] std::string pathTo(std::size_t depth) const {
        std::string result = "$";
        for (const Level& level : std::span(levels_).first(depth)) {
            if (fieldsOf(level.kind).empty()) {
                result = elementPath(result, level.index);
            } else if (!level.keys.empty()) {
                result = memberPath(result, level.keys.back());
            }
        }
        return result;
    }

    std::vector<Level> levels_;
    std::u16string attributeName_;
    std::int32_t attributeFlag_ = 0;
};

} // namespace

std::optional<JsonError> templateFromJson(std::string_view text, CEattMain& result) {
    TemplateMaker maker;
    if (!json::sax_parse(text, &maker)) return maker.jsonError;
    result.headerValue = maker.made.headerValue;
    result.blocks.swap(maker.made.blocks);
    return std::nullopt;
}
