#pragma once

#include "host/editor.h"
#include "zelvane/call_list.h"

#include <string>
#include <vector>

namespace Headless {

// Never destroyed: modules may call until the process ends.

extern Zelvane::CallList<KzEdMessageFilter>& messageFilters;

/// The folder in which libraries loaded by bare name are looked up first; empty if there is none.
extern std::string& resourceFolder;
/// The libraries that modules failed to load since this was cleared.
extern std::vector<std::string>& librariesNotFound;

/// Resets filters, messages, boxes, clock, commands and input. Registered message numbers are kept, because
/// they are valid as long as the process. Libraries that modules have loaded are kept, because they are
/// still open.
void resetMessageLoop();

} // namespace Headless
