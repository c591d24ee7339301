#pragma once

#include "headless/shared_library.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Headless {

/// Why a module was not loaded, in one line of words for a person.

/// The file could not be opened as a library.
[[nodiscard]] std::string describeUnopened(const std::string& path, const OpenedLibrary& refused);

/// The library lacks one of the two exports that every module has.
[[nodiscard]] std::string describeMissingExport(const char* name);

/// It was built for another version of the interface.
[[nodiscard]] std::string describeOtherVersion(std::uint32_t version);

/// It answered its load message with something else than 0. `notFound` are the libraries that it asked for
/// meanwhile and did not get.
[[nodiscard]] std::string describeRefusedLoad(std::int32_t answer, const std::vector<std::string>& notFound);

} // namespace Headless
