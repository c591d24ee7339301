// The resource library. The module loads it and reads nothing from it; its texts are for whoever inspects the
// file.

extern "C" __attribute__((visibility("default"))) const char16_t zelvaneProductName[];
const char16_t zelvaneProductName[] = u"Zelvane";
