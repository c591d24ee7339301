#pragma once

#include "headless/kzhost/script.h"

namespace KzHost {

/// Reads lines, runs them and prints their values, until the end of input. A statement may go over several
/// lines. A mistake is printed in one line and ends nothing; Ctrl-C ends what runs, or clears what is being
/// typed.
void prompt(Session& session, const Setup& setup, bool hasHistory);

} // namespace KzHost
