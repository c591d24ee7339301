#pragma once

#include "headless/kzhost/session.h"

namespace KzHost {

/// Only on systems whose terminals it knows.
#ifdef _WIN32
inline constexpr bool hasPrompt = false;
#else
inline constexpr bool hasPrompt = true;
#endif

/// Comes before the scripts of a session that ends with a prompt: Lua is interruptible from then on, also in
/// coroutines, and slower for that.
void preparePrompt(Session& session);

/// Reads lines, runs them and prints their values, until the end of input. A statement may span several
/// lines. An error is printed in one line and ends nothing. Ctrl-C ends what runs, or clears the line being
/// typed.
void prompt(Session& session, const Setup& setup, bool hasHistory);

} // namespace KzHost
