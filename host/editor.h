#pragma once

/// @file
/// The host's message loop, and whether a command runs in it.
///
///     int seeMessage(const KzPlatform::Message* message) { return message->number == ours ? 1 : 0; }
///     ...
///     if (kzedRegisterFilterWinMsg(&seeMessage) == 0) std::puts("the host refuses");

#include "host/platform.h"
#include "host/platform_export.h"

/// Sees each queued message of the main thread before it is dispatched. Non-zero: the message was taken.
using KzEdMessageFilter = int (*)(const KzPlatform::Message* message);

/// Registers a filter. Non-zero on success; 0 when the host refuses or the filter is null. A filter that is
/// registered already stays registered once. Filters may register and remove filters while they run. A
/// client may register one of its own, and removes it before it is unloaded.
[[nodiscard]] KZHOST_API int kzedRegisterFilterWinMsg(KzEdMessageFilter filter);

/// Removes a filter. Non-zero on success; 0 when the host refuses or the filter is not registered.
[[nodiscard]] KZHOST_API int kzedRemoveFilterWinMsg(KzEdMessageFilter filter);

/// Non-zero while a command runs.
[[nodiscard]] KZHOST_API int kzedCommandActive();
