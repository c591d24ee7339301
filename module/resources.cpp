// The resource library. The module loads it and reads nothing from it; its texts are for people who inspect
// the file.

#include "host/platform_export.h"

extern "C" KZ_EXPORT const char16_t zelvaneProductName[];
const char16_t zelvaneProductName[] = u"Zelvane";
