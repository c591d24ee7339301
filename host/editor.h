#pragma once

/// @file
/// The host's message loop, and whether a command runs in it.
///
///     int seeMessage(const KzPlatform::Message* message) { return message->number == ours ? 1 : 0; }
///     ...
///     if (kzedRegisterFilterWinMsg(&seeMessage) == 0) std::puts("the host refuses");

#include "host/platform.h"
#include "host/platform_export.h"

/// Is called with each queued message of the main thread before it is dispatched. Returns non-zero if the
/// message was handled.
using KzEdMessageFilter = int (*)(const KzPlatform::Message* message);

/// Registers a filter. Returns non-zero on success; 0 if the host refuses or the filter is null. A filter
/// that is already registered stays registered once. Filters may register and remove filters while they run.
/// A client may register a filter of its own, and removes it before it is unloaded.
[[nodiscard]] KZHOST_API int kzedRegisterFilterWinMsg(KzEdMessageFilter filter);

/// Removes a filter. Returns non-zero on success; 0 if the host refuses or the filter is not registered.
[[nodiscard]] KZHOST_API int kzedRemoveFilterWinMsg(KzEdMessageFilter filter);

/// Non-zero while a command runs.
[[nodiscard]] KZHOST_API int kzedCommandActive();
