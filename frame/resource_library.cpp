#include "frame/resource_library.h"

#include <string>
#include <utility>

namespace {

constexpr const char16_t* libraryName = u"ZelvaneRes.dll";
constexpr std::u16string_view messageFormat = u"Unable to load resource DLL: %s";

void showFailure() {
    std::u16string message(messageFormat);
    message.replace(message.find(u"%s"), 2, libraryName);
    KzPlatform::messageBox(message.c_str(), KzPlatform::BoxStyle::error, 0);
}

} // namespace

bool KzDxResourceLibrary::load() {
    // One handle per load, because a module that stays in memory may be loaded again.
    handles_.reserve(handles_.size() + 1);
    const KzPlatform::Library handle = KzPlatform::loadLibrary(libraryName);
    if (handle == nullptr) {
        showFailure();
        return false;
    }
    handles_.push_back(handle);
    return true;
}

void KzDxResourceLibrary::release() {
    for (const KzPlatform::Library handle : std::exchange(handles_, {})) KzPlatform::freeLibrary(handle);
}
