#pragma once

#include "headless/kzhost/call.h"

#include <span>
#include <string>
#include <string_view>

namespace KzHost {

/// What a script starts from; `program` is the folder of `kzhost`, or that of the installed modules.
struct Setup {
    std::string modulePath; ///< what `host.load()` loads when it is given no path
    std::string program;    ///< the folder in which libraries are looked for first unless told otherwise
};

/// Makes the tables and functions, and everything that they hand out, known to a new state. `setup` has to
/// stay.
void openLibraries(lua_State* state, const Setup& setup);

/// All that scripts can reach, in the order of the reference page. What is in no chapter cannot be reached,
/// so nothing is without its description.
[[nodiscard]] std::span<const Chapter* const> chapters();
/// The first chapter about a table or kind of values of that name; null when there is none.
[[nodiscard]] const Chapter* chapterNamed(std::string_view name);

/// The name of the table of the host's functions.
inline constexpr const char* hostTable = "host";

// ---- the chapters, each beside its functions

extern const Chapter helpChapter;
extern const Chapter loadingChapter;
extern const Chapter clientsOfHostChapter;
extern const Chapter tracingChapter;
extern const Chapter moduleChapter;
extern const Chapter documentChapter;
extern const Chapter recordChapter;
extern const Chapter referenceChapter;
extern const Chapter attributeChapter;
extern const Chapter objectChapter;
extern const Chapter clientChapter;

// ---- what a new state has to know of them

void registerClients(lua_State* state);
void registerModules(lua_State* state, const Setup& setup);

} // namespace KzHost
