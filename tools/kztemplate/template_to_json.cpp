#include "tools/kztemplate/template_to_json.h"

#include "text/unicode.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <string_view>

namespace {

// Writes JSON incrementally: a tree of values would need many times the memory of the template.
class JsonWriter {
public:
    explicit JsonWriter(std::ostream& to) : to_(to) {}

    // The number of unpaired surrogates that were replaced by U+FFFD.
    std::size_t replaced = 0;

    void document(const CEattMain& eattMain) {
        to_ << "{\"header\": " << eattMain.headerValue << ", \"blocks\": [";
        const char* separator = "\n";
        for (const auto& block : eattMain.blocks) {
            // A null element is not a block.
            if (!block) continue;
            to_ << separator;
            blockInfo(*block);
            separator = ",\n";
        }
        to_ << "]}\n";
    }

    void names(const char* key, const std::vector<std::u16string>& names) {
        to_ << '"' << key << "\": [";
        const char* separator = "\n  ";
        for (const auto& name : names) {
            to_ << separator;
            text(name);
            separator = ",\n  ";
        }
        to_ << ']';
    }

private:
    void blockInfo(const CEattBlockInfo& block) {
        to_ << "  {";
        nameAndFlag(block.blockName, block.blockFlag);
        to_ << ", \"attributes\": [";
        for (std::size_t i = 0; i < block.attributes.size(); ++i) {
            to_ << (i == 0 ? "\n    {" : ",\n    {");
            nameAndFlag(block.attributes.name(i), block.attributes.entry(i).flag);
            to_ << '}';
        }
        to_ << "]}";
    }

    void nameAndFlag(std::u16string_view name, std::int32_t flag) {
        to_ << "\"name\": ";
        text(name);
        to_ << ", \"flag\": " << flag;
    }

    // The library quotes and escapes: a name may contain any character.
    void text(std::u16string_view name) { to_ << nlohmann::json(Text::toUtf8(name, &replaced)).dump(); }

    std::ostream& to_;
};

// The two ranges of control characters, and DEL between them.
bool isControl(char32_t codePoint) {
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
}

// The name, with control characters, which could break the line or the terminal, as \u000A.
std::u16string onOneLine(std::u16string_view name) {
    std::u16string result;
    for (const char16_t unit : name) {
        if (!isControl(unit)) {
            result += unit;
            continue;
        }
        char escape[8];
        const auto size = std::snprintf(escape, sizeof escape, "\\u%04X", unsigned{unit});
        result.append(escape, escape + size);
    }
    return result;
}

} // namespace

std::size_t templateToJson(const CEattMain& eattMain, std::ostream& to) {
    JsonWriter writer(to);
    writer.document(eattMain);
    return writer.replaced;
}

std::size_t namesToJson(const std::vector<std::u16string>& blocks,
                        const std::vector<std::u16string>& attributes, std::ostream& to) {
    JsonWriter writer(to);
    to << '{';
    writer.names("blocks", blocks);
    to << ",\n ";
    writer.names("attributes", attributes);
    to << "}\n";
    return writer.replaced;
}

std::size_t writeNames(const char* heading, const std::vector<std::u16string>& names, std::ostream& to) {
    std::size_t replaced = 0;
    to << heading << " (" << names.size() << "):\n";
    for (const auto& name : names) to << Text::toUtf8(onOneLine(name), &replaced) << '\n';
    return replaced;
}
