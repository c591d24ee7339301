#include "headless/kzhost/description.h"

#include <cstring>
#include <sstream>

namespace KzHost {

namespace {

/// Without the blanks and ends of lines around it.
std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \n");
    if (begin == std::string::npos) return {};
    return text.substr(begin, text.find_last_not_of(" \n") - begin + 1);
}

/// Takes the first word away and gives it. Blanks inside of brackets do not end it: a type such as
/// `{database: boolean}` is one word.
std::string takeWord(std::string& text) {
    int depth = 0;
    std::size_t end = 0;
    for (; end < text.size() && (depth != 0 || text[end] != ' '); ++end) {
        if (std::strchr("({[<", text[end]) != nullptr) ++depth;
        if (std::strchr(")}]>", text[end]) != nullptr) --depth;
    }
    std::string word = text.substr(0, end);
    text = trimmed(text.substr(end));
    return word;
}

/// The name comes first in a parameter, the type in a result: so the annotations want it.
Item readParameter(std::string text) {
    Item item;
    item.name = takeWord(text);
    item.isOptional = item.name.ends_with('?');
    if (item.isOptional) item.name.pop_back();
    item.type = takeWord(text);
    item.text = text;
    return item;
}

Item readResult(std::string text) {
    Item item;
    item.type = takeWord(text);
    item.name = takeWord(text);
    item.text = text;
    return item;
}

/// Enters one annotation, for example "@param name string how it is called", or the text before the first.
void enterAnnotation(Description& description, std::string text) {
    const std::string tag = text.starts_with('@') ? takeWord(text) : "";
    if (tag == "@param") {
        description.parameters.push_back(readParameter(text));
    } else if (tag == "@return") {
        description.results.push_back(readResult(text));
    } else if (tag == "@type") {
        description.type = text;
    } else if (tag == "@error") {
        description.errors.push_back(text);
    } else if (tag == "@example") {
        description.example = text;
    } else {
        description.text = text;
    }
}

} // namespace

/// Gathers lines until the next annotation begins, which is when the one before is complete. Taken apart at
/// each call: only the help, the reference, the prompt and traces ask.
Description describe(const Function& function) {
    Description description;
    std::istringstream lines(function.description);
    std::string annotation;
    for (std::string line; std::getline(lines, line);) {
        line = trimmed(line);
        if (line.starts_with('@')) {
            enterAnnotation(description, annotation);
            annotation = line;
        } else if (!line.empty()) {
            annotation += (annotation.empty() ? "" : " ") + line;
        }
    }
    enterAnnotation(description, annotation);
    return description;
}

/// Optional parameters nest: "name [, first [, second]]".
std::string signatureOf(const Function& function, const Description& description) {
    if (!description.type.empty()) return function.name;
    std::string list;
    std::string closing;
    for (const Item& each : description.parameters) {
        const std::string separator = list.empty() ? "" : ", ";
        // What follows an optional parameter is optional too.
        list += each.isOptional ? (list.empty() ? "[" : " [") + separator : separator;
        if (each.isOptional) closing += "]";
        list += each.name;
    }
    return function.name + ("(" + list + closing + ")");
}

const char* shortName(const Function& function) {
    const char* const separator = std::strpbrk(function.name, ".:");
    return separator != nullptr ? separator + 1 : function.name;
}

} // namespace KzHost
