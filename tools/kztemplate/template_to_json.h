#pragma once

#include "templates/eatt_main.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

/// Writes everything that is stored of a template as one JSON document in UTF-8, an attribute a line, in the
/// order of the template. Gives how many surrogates without a partner were replaced by U+FFFD.
[[nodiscard]] std::size_t templateToJson(const CEattMain& eattMain, std::ostream& to);

/// Writes the two lists as one JSON document in UTF-8, a name a line. Gives how many surrogates were
/// replaced, as above.
[[nodiscard]] std::size_t namesToJson(const std::vector<std::u16string>& blocks,
                                      const std::vector<std::u16string>& attributes, std::ostream& to);

/// Writes a heading with the number of names, then one name a line. Control characters, which could break a
/// line, are written as \u000A. Gives how many surrogates were replaced, as above.
[[nodiscard]] std::size_t writeNames(const char* heading, const std::vector<std::u16string>& names,
                                     std::ostream& to);
