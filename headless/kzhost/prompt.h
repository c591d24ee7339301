#pragma once

#include "headless/kzhost/session.h"

namespace KzHost {

/// Whether this system has a prompt.
#ifdef _WIN32
inline constexpr bool hasPrompt = false;
#else
inline constexpr bool hasPrompt = true;
#endif

/// Must be called before the scripts of a session that ends with a prompt. From then on Ctrl-C interrupts
/// Lua, also in coroutines, which makes Lua slower.
void preparePrompt(Session& session);

/// Reads statements, runs them and prints their values, until the end of input. A statement may span
/// several lines. An error is printed in one line; the prompt continues. Ctrl-C interrupts the running
/// statement, or clears the input line.
void prompt(Session& session, const Setup& setup, bool hasHistory);

} // namespace KzHost
