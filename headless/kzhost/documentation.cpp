#include "headless/kzhost/documentation.h"

#include "headless/kzhost/libraries.h"

#include <set>
#include <string_view>

namespace KzHost {

namespace {

// ---- the page

constexpr const char* pageStart = R"(# kzhost: reference

<!-- Made by: kzhost --reference > docs/kzhost.md -->

`kzhost` keeps drawings in memory, loads extension modules, runs a message loop, and is driven by Lua 5.4
scripts. At its prompt `help()` says what this page says, and `kzhost --declarations` writes it for editors
that run the Lua language server.

## The command

)";

constexpr const char* pageRules =
    R"(The process ends with 0 when everything is done, 1 when a script failed (`file:line: message` and a
traceback are on standard error), and 2 when it was called in a wrong way. A script may end with documents
open and modules loaded: the host unloads and closes.

The prompt completes names with the tab key and keeps its history in `kzhost/history` in the user's state
folder (`$XDG_STATE_HOME`, else `~/.local/state`). Ctrl-C ends the line that runs with an error, or clears
the one being typed.

## What holds everywhere

Strings are UTF-8 in Lua and UTF-16 in the host. A wrong kind of argument, a string that is not valid UTF-8,
a closed document and an object that has left memory raise an error that says what was expected and what
came. Values can be compared and used as keys of tables: the same document or object is always the same
value.

Every edit opens what it changes for write: the object's reactors hear that it is about to change, once per
edit and before the change; after the change they hear that it was modified, and at the end that it was
closed.

In the examples `house` is an open document with the blocks `door` and `room`, `placed` is a reference of
`door` in `room` with the attribute `number` under the tag NUMBER, `zelvane` is the loaded module, and
`client` is a client.)";

/// A parameter or a result as an item of a list.
std::string itemLine(const char* what, const Item& item) {
    return std::string("- ") + what + "`" + item.name + "` (`" + item.type + "`" +
           (item.isOptional ? ", may be left out" : "") + "): " + item.text + "\n";
}

/// One function or field: its signature as the heading, what it does, the list, the example.
std::string section(const Function& function) {
    const Description description = describe(function);
    std::string text = "\n### `" + signatureOf(function, description) + "`\n\n";
    if (!description.type.empty()) text += "`" + description.type + "`: ";
    text += description.text + "\n";
    if (!description.parameters.empty() || !description.results.empty() || !description.errors.empty()) {
        text += "\n";
    }
    for (const Item& each : description.parameters) text += itemLine("", each);
    for (const Item& each : description.results) text += itemLine("gives ", each);
    for (const std::string& each : description.errors) text += "- an error when: " + each + "\n";
    return text + "\n```lua\n" + description.example + "\n```\n";
}

/// What a chapter has of its own. What all values of its base have stands there once.
std::string pageChapter(const Chapter& chapter) {
    const std::string preamble = chapter.preamble;
    std::string text = std::string("\n## ") + chapter.title + "\n";
    if (!preamble.empty()) text += "\n" + preamble + "\n";
    if (chapter.base != nullptr) {
        text += std::string("\nWhat is said of every ") + chapter.base->name + " holds here too.\n";
    }
    for (const Function& each : chapter.fields) text += section(each);
    for (const Function& each : chapter.functions) text += section(each);
    return text;
}

// ---- the declarations

/// The annotations go out much as they came in; the language server wants them before a function without a
/// body.
std::string functionDeclaration(const Function& function) {
    const Description description = describe(function);
    std::string text = "\n---" + description.text + "\n";
    std::string parameters;
    for (const Item& each : description.parameters) {
        text +=
            "---@param " + each.name + (each.isOptional ? "? " : " ") + each.type + " " + each.text + "\n";
        parameters += (parameters.empty() ? "" : ", ") + each.name;
    }
    for (const Item& each : description.results) {
        text += "---@return " + each.type + " " + each.name + " " + each.text + "\n";
    }
    return text + "function " + function.name + "(" + parameters + ") end\n";
}

/// A kind of values is a class that no script can name, so it is local; the table of the host is global.
std::string classDeclaration(const Chapter& chapter) {
    const std::string name = chapter.name;
    const std::string base = chapter.base != nullptr ? std::string(": ") + chapter.base->name : "";
    std::string text = "\n---@class " + name + base + "\n";
    for (const Function& each : chapter.fields) {
        const Description description = describe(each);
        text += std::string("---@field ") + shortName(each) + " " + description.type + " " +
                description.text + "\n";
    }
    return text + (name == hostTable ? "" : "local ") + name + " = {}\n";
}

} // namespace

std::string referencePage(const std::string& usage) {
    std::string text = pageStart + ("```\n" + usage + "```\n\n") + pageRules + "\n";
    for (const Chapter* const each : chapters()) text += pageChapter(*each);
    return text;
}

std::string luaDeclarations() {
    std::string text = "---@meta\n\n---@alias count integer\n";
    std::set<std::string_view> declared = {""}; // the table of the global functions needs no declaration
    for (const Chapter* const chapter : chapters()) {
        // Several chapters are about one table, which is declared once.
        if (declared.insert(chapter->name).second) text += classDeclaration(*chapter);
        for (const Function& each : chapter->functions) text += functionDeclaration(each);
    }
    return text;
}

} // namespace KzHost
