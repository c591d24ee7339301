#include "tools/kztemplate/json_document.h"

#include <cstddef>
#include <set>
#include <vector>

using nlohmann::json;

namespace {

// SAX handler: follows the parser to know where it is, and stops it at the first thing that is to be refused.
// What the values are does not matter to it.
class KeyCheck : public nlohmann::json_sax<json> {
public:
    std::optional<Refusal> refusal;

    bool null() override { return value(); }
    bool boolean(bool /*unused*/) override { return value(); }
    bool number_integer(number_integer_t /*unused*/) override { return value(); }
    bool number_unsigned(number_unsigned_t /*unused*/) override { return value(); }
    bool number_float(number_float_t /*unused*/, const string_t& /*unused*/) override { return value(); }
    bool string(string_t& /*unused*/) override { return value(); }
    bool binary(binary_t& /*unused*/) override { return value(); }

    bool start_object(std::size_t /*unused*/) override { return open(false); }
    bool end_object() override { return close(); }
    bool start_array(std::size_t /*unused*/) override { return open(true); }
    bool end_array() override { return close(); }

    bool key(string_t& name) override {
        auto& level = levels_.back();
        level.key = name;
        if (level.keys.insert(name).second) return true;
        refusal = Refusal{path(), "the key is repeated"};
        return false;
    }

    bool parse_error(std::size_t /*unused*/, const std::string& /*unused*/,
                     const json::exception& error) override {
        const std::string what = error.what();
        const auto code = what.find("] "); // what() begins with the number of the error in brackets
        refusal = Refusal{path(), code == std::string::npos ? what : what.substr(code + 2)};
        return false;
    }

private:
    // One for each object and array that is open, the outermost first.
    struct Level {
        bool isArray = false;
        std::size_t index = 0;
        std::string key;
        std::set<std::string> keys;
    };

    bool open(bool isArray) {
        levels_.push_back({isArray, 0, {}, {}});
        return true;
    }

    bool close() {
        levels_.pop_back();
        return value();
    }

    // A value has ended, an object or array too. In an object the index means nothing.
    bool value() {
        if (!levels_.empty()) ++levels_.back().index;
        return true;
    }

    // Where the parser is. In an object that has just been opened no key has been read: then the object
    // itself.
    [[nodiscard]] std::string path() const {
        std::string result = "$";
        for (const auto& level : levels_) {
            if (level.isArray) {
                result = elementPath(result, level.index);
            } else if (!level.keys.empty()) {
                result = memberPath(result, level.key);
            }
        }
        return result;
    }

    std::vector<Level> levels_;
};

// Whether a key can stand behind a dot; any other stands in brackets and quotes.
bool isPlain(const std::string& key) {
    return !key.empty() &&
           key.find_first_not_of("abcdefghijklmnopqrstuvwxyz"
                                 "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") == std::string::npos;
}

} // namespace

std::string memberPath(const std::string& path, const std::string& key) {
    return isPlain(key) ? path + '.' + key : path + '[' + json(key).dump() + ']';
}

std::string elementPath(const std::string& path, std::size_t index) {
    return path + '[' + std::to_string(index) + ']';
}

std::optional<Refusal> parseJson(std::string_view text, json& result) {
    KeyCheck check;
    // Parsed twice: only the first pass sees a key that is repeated, and only the second makes a document.
    if (!json::sax_parse(text, &check)) return check.refusal;
    result = json::parse(text);
    return std::nullopt;
}
