#pragma once

#include "templates/eatt_main.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

/// Writes a complete template as one JSON document in UTF-8, one attribute per line, in the order of the
/// template. Returns the number of unpaired surrogates, which are replaced by U+FFFD.
[[nodiscard]] std::size_t templateToJson(const CEattMain& eattMain, std::ostream& to);

/// Writes the two lists as one JSON document in UTF-8, one name per line. Returns the number of replaced
/// surrogates, as above.
[[nodiscard]] std::size_t namesToJson(const std::vector<std::u16string>& blocks,
                                      const std::vector<std::u16string>& attributes, std::ostream& to);

/// Writes a heading with the number of names, then one name per line. Control characters, which could break
/// a line, are written as \u000A. Returns the number of replaced surrogates, as above.
[[nodiscard]] std::size_t writeNames(const char* heading, const std::vector<std::u16string>& names,
                                     std::ostream& to);
