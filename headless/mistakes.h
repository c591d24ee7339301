#pragma once

#include "headless/export.h"

#include <string>
#include <vector>

namespace Headless {

/// What modules have passed to the host although no module has to, in words and in order: other flags, modes,
/// keys, tokens or message parameters than those that "host/" names, reactors for an object that is not open
/// for them, a close without an opening. The host refuses such a call. Tests look here, and `kzhost` tells
/// the script.
[[nodiscard]] HEADLESS_API const std::vector<std::string>& mistakes();

HEADLESS_API void forgetMistakes();

void noteMistake(const char* call);

/// Notes a mistake unless a call is as it should be. Gives whether it is.
inline bool isProvidedFor(bool isAsItShouldBe, const char* call) {
    if (!isAsItShouldBe) noteMistake(call);
    return isAsItShouldBe;
}

} // namespace Headless
