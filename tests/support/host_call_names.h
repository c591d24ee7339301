#pragma once

#include "headless/faults.h"

#include <array>

/// The name of a kind of host call, for messages.
[[nodiscard]] constexpr const char* nameOf(Headless::HostCall kind) {
    constexpr std::array names{"openObject",        "recordByName",    "tableIterator",    "recordId",
                               "recordName",        "references",      "erasedReferences", "attachedDrawing",
                               "attributeIterator", "evaluationGraph", "protocol",         "representations",
                               "originalBlock",     "modelSpace",      "manager",          "documentIterator",
                               "currentDocument",   "drawing",         "addFilter",        "removeFilter",
                               "mainWindow",        "postMessage",     "loadLibrary",      "registerService",
                               "declareMdiAware",   "registry",        "dictionaryEntry",  "takeEntry"};
    static_assert(names.size() == Headless::hostCallKinds);
    return names.at(static_cast<std::size_t>(kind));
}
