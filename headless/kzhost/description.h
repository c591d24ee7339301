#pragma once

#include <span>
#include <string>
#include <vector>

namespace KzHost {

class Call;

/// A function or a field that scripts reach. What it says about itself is said here alone: the help, the
/// reference page and the declarations for editors are made of it.
///
/// The description is written in the annotations of the Lua language server. Lines may be indented; one that
/// begins no annotation goes on with the one before.
///
///     What it does, in sentences.
///     @param NAME TYPE what it is (NAME? when it may be left out)
///     @return TYPE NAME what it is
///     @type TYPE (of a field)
///     @error what raises an error, beside what raises one everywhere
///     @example one line of Lua
struct Function {
    const char* name;        ///< "document:block"; of a field "document.name"
    int (*run)(Call& call);  ///< gives how many results it has pushed
    const char* description; ///< never empty
};

/// What scripts find under one heading: some functions of a table, or a kind of values.
struct Chapter {
    const char* name;     ///< of the table or the kind: "host", "document"
    const char* title;    ///< what its functions have in common
    const char* preamble; ///< what has to be known before them; may be empty
    std::span<const Function> functions;
    std::span<const Function> fields = {};
    const Chapter* base = nullptr; ///< what else the values of this kind have
};

/// A parameter, or a result.
struct Item {
    std::string name;
    std::string type;
    std::string text;
    bool isOptional = false;
};

/// A description taken apart.
struct Description {
    std::string text;
    std::vector<Item> parameters;
    std::vector<Item> results;
    std::vector<std::string> errors;
    std::string example;
    std::string type;
};

[[nodiscard]] Description describe(const Function& function);

/// How it is called, for example "document:block(name [, options])".
[[nodiscard]] std::string signatureOf(const Function& function, const Description& description);

/// The last word of a function's name.
[[nodiscard]] const char* shortName(const Function& function);

} // namespace KzHost
