#pragma once

/// @file
/// Services by name. A client registers services under names of its own only.
///
///     if (!kzrxServiceIsRegistered(u"DoorService")) kzrxRegisterService(u"DoorService");

#include "host/platform_export.h"

/// Adds a service under `name` to the service dictionary. Returns false if the name is null or taken.
KZHOST_API bool kzrxRegisterService(const char16_t* name);

/// Whether a service of that name is in the service dictionary.
[[nodiscard]] KZHOST_API bool kzrxServiceIsRegistered(const char16_t* name);

/// Declares a module MDI-aware. `moduleToken` is the packet of the module's load message. Returns false
/// if the token is null.
KZHOST_API bool kzrxRegisterAppMDIAware(void* moduleToken);
