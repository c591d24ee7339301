#pragma once

#include <string>

/// What the host still holds that a module should have taken along when it was unloaded: filters, reactors,
/// services, libraries, opened objects; and what the module should not have passed to the host. Empty when
/// there is nothing.
[[nodiscard]] std::string leftoversInHost();
