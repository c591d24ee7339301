// What scripts and the prompt are told about the functions at hand.

#include "headless/kzhost/libraries.h"
#include "headless/kzhost/script.h"
#include "headless/kzhost/values.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>

namespace KzHost {

namespace {

constexpr std::size_t width = 100;

/// Breaks a text into lines, each with that many blanks before it.
std::string wrapped(const std::string& text, std::size_t indent) {
    std::string result(indent, ' ');
    std::size_t column = indent;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        if (column > indent && column + 1 + end - at > width) {
            result += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            result += ' ';
            ++column;
        }
        result.append(text, at, end - at);
        column += end - at;
        at = end + 1;
    }
    return result + '\n';
}

/// As much as fits a summary. A colon ends it too.
std::string firstSentence(const std::string& text) {
    const std::size_t end = std::min(text.find(". "), text.find(": "));
    return end == std::string::npos ? text : text.substr(0, end) + ".";
}

std::string itemLine(const char* what, const Item& item) {
    const std::string type = item.type + (item.isOptional ? ", may be left out" : "");
    return wrapped(what + item.name + " (" + type + "): " + item.text, 2);
}

/// All about one function, as the reference page has it, for a terminal.
std::string helpOnFunction(const Function& function) {
    const Description description = describe(function);
    std::string text = signatureOf(function, description) + "\n" + wrapped(description.text, 2);
    if (!description.type.empty()) text += "  is a " + description.type + "\n";
    for (const Item& each : description.parameters) text += itemLine("", each);
    for (const Item& each : description.results) text += itemLine("gives ", each);
    for (const std::string& each : description.errors) text += wrapped("an error when: " + each, 2);
    return text + "  > " + description.example + "\n";
}

/// One line: the signature, then in a column what it does.
std::string summary(const Function& function) {
    constexpr std::size_t column = 42;
    const Description description = describe(function);
    std::string line = "  " + signatureOf(function, description);
    line.append(line.size() < column ? column - line.size() : 1, ' ');
    return line + firstSentence(description.text) + "\n";
}

/// A chapter with those that it builds on, because a value has the methods of all.
std::string helpOnChapter(const Chapter& chapter) {
    const std::string preamble = chapter.preamble;
    std::string text = wrapped(chapter.title + (preamble.empty() ? "" : ": " + preamble), 0);
    for (const Function& each : chapter.fields) text += summary(each);
    for (const Function& each : chapter.functions) text += summary(each);
    if (chapter.base != nullptr) text += helpOnChapter(*chapter.base);
    return text;
}

/// All chapters about one table or kind of values.
std::string helpOnChaptersNamed(std::string_view name) {
    std::string text;
    for (const Chapter* const each : chapters()) {
        if (each->name == name) text += helpOnChapter(*each);
    }
    return text;
}

/// Names alone, chapter by chapter.
std::string overview() {
    std::string text = "What there is. More is said by help(host.idle), help(host), or help(value) for a "
                       "value of the host;\n"
                       "without a value at hand by help(\"document:block\") or help(\"document\").\n";
    for (const Chapter* const chapter : chapters()) {
        std::string names;
        for (const std::span<const Function> list : {chapter->fields, chapter->functions}) {
            for (const Function& each : list) names += (names.empty() ? "" : ", ") + std::string(each.name);
        }
        text += chapter->title + ("\n" + wrapped(names, 2));
    }
    return text;
}

/// Finds a function or field by its full name, "document:block".
const Function* functionNamed(std::string_view name) {
    for (const Chapter* const chapter : chapters()) {
        for (const std::span<const Function> each : {chapter->fields, chapter->functions}) {
            const auto found =
                std::find_if(each.begin(), each.end(), [&](const Function& one) { return one.name == name; });
            if (found != each.end()) return &*found;
        }
    }
    return nullptr;
}

/// The name that a value is explained under, when it is one of a table or a kind.
std::optional<std::string> nameOfSubject(lua_State* state, int index) {
    if (const Chapter* const chapter = chapterOfValue(state, index)) return chapter->name;
    if (lua_type(state, index) == LUA_TSTRING) return lua_tostring(state, index);
    lua_getglobal(state, hostTable);
    const bool isHost = lua_rawequal(state, -1, index) != 0;
    lua_pop(state, 1);
    return isHost ? std::optional<std::string>(hostTable) : std::nullopt;
}

/// From the most to the least certain: a function explains itself, a value by its kind, a text as the name of
/// one of them.
int help(Call& call) {
    lua_State* const state = call.state();
    std::string text;
    if (!call.has(1)) {
        text = overview();
    } else if (const Function* const function = toFunction(state, 1)) {
        text = helpOnFunction(*function);
    } else if (const std::optional<std::string> name = nameOfSubject(state, 1)) {
        const Function* const named = functionNamed(*name);
        text = named != nullptr ? helpOnFunction(*named) : helpOnChaptersNamed(*name);
    }
    // A name that nothing has comes here too.
    if (text.empty()) text = "Nothing is known about it here. help() lists what there is.\n";
    std::fputs(text.c_str(), stdout);
    return 0;
}

int traceback(Call& call) {
    const std::string text = lastTraceback(call.state());
    std::puts(text.empty() ? "There was no mistake." : text.c_str());
    return 0;
}

constexpr Function functions[] = {
    {"help", help, R"(
        Prints what there is, or what one function, table or value of the host does.
        @param thing? any a function, a table or a value of the host, or a name in quotes
        @example help(host.idle)
        )"},
    {"traceback", traceback, R"(
        Prints where the last mistake at the prompt came from: the calls under way, also those inside of
        clients.
        @example traceback()
        )"},
};

} // namespace

extern const Chapter helpChapter = {"", "Help", "", functions};

} // namespace KzHost
