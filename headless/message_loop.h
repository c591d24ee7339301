#pragma once

#include "host/editor.h"
#include "zelvane/call_list.h"

#include <string>
#include <vector>

namespace Headless {

// Never destroyed, like all that modules may ask for until the process ends.

extern Zelvane::CallList<KzEdMessageFilter>& messageFilters;

/// The folder in which libraries loaded by bare name are looked up first; empty if there is none.
extern std::string& resourceFolder;
/// The libraries that modules asked for and did not get since this was cleared.
extern std::vector<std::string>& librariesNotFound;

/// Resets filters, messages, boxes, clock, commands and input. Registered message numbers stay: they live as
/// long as the process. Libraries that modules have loaded stay too: they are open in the process.
void resetMessageLoop();

} // namespace Headless
