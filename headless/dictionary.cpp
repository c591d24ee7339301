#include "headless/dictionary.h"

#include "headless/faults.h"
#include "headless/modules.h"
#include "headless/session.h"
#include "host/services.h"

#include <utility>

namespace Headless {

namespace {

constexpr const char16_t* servicesKey = u"ServiceDictionary";

/// A registered service. It has no content: only its name matters.
class Service final : public KzRxService {
public:
    [[nodiscard]] KzRxClass* isA() const override { return KzRxService::desc(); }
};

/// Singleton, never destroyed: a module that is unloaded while the process ends may still use it.
Dictionary& registry() {
    static Dictionary& registry = *[] {
        auto* const made = new Dictionary;
        made->enter(servicesKey, std::make_unique<Dictionary>());
        return made;
    }();
    return registry;
}

} // namespace

bool Dictionary::enter(std::u16string_view key, std::unique_ptr<KzRxObject> object) {
    return entries_.emplace(key, std::move(object)).second;
}

std::vector<std::u16string> Dictionary::keys() const {
    std::vector<std::u16string> result;
    result.reserve(entries_.size());
    for (const auto& entry : entries_) result.push_back(entry.first);
    return result;
}

KzRxObject* Dictionary::at(const char16_t* key) const {
    // The host itself calls `find`, which cannot be made to fail.
    return shouldFail(HostCall::dictionaryEntry) ? nullptr : find(key);
}

KzRxObject* Dictionary::find(const char16_t* key) const {
    if (key == nullptr) return nullptr;
    const auto found = entries_.find(std::u16string_view(key));
    return found != entries_.end() ? found->second.get() : nullptr;
}

KzRxObject* Dictionary::remove(const char16_t* key) {
    if (key == nullptr || shouldFail(HostCall::takeEntry)) return nullptr;
    const auto found = entries_.find(std::u16string_view(key));
    if (found == entries_.end()) return nullptr;
    // The caller becomes the owner: the object must be released before the entry is erased.
    KzRxObject* const object = found->second.release();
    entries_.erase(found);
    return object;
}

/// The cast is valid because modules can remove entries from the registry but not add any: the entry under
/// this key was added by `registry` or `resetRegistry`, or there is none.
Dictionary* serviceDictionary() {
    return static_cast<Dictionary*>(registry().find(servicesKey));
}

void resetRegistry() {
    // Replaces the dictionary of services, because a module may have removed it.
    registry().clear();
    registry().enter(servicesKey, std::make_unique<Dictionary>());
}

std::vector<std::u16string> services() {
    const Dictionary* const dictionary = serviceDictionary();
    return dictionary != nullptr ? dictionary->keys() : std::vector<std::u16string>();
}

} // namespace Headless

KzRxDictionary* kzrxSysRegistry() {
    using namespace Headless;
    return shouldFail(HostCall::registry) ? nullptr : &registry();
}

bool kzrxRegisterService(const char16_t* name) {
    if (!Headless::checkUsage(name != nullptr, "kzrxRegisterService without a name")) return false;
    if (Headless::shouldFail(Headless::HostCall::registerService)) return false;
    Headless::Dictionary* const dictionary = Headless::serviceDictionary();
    return dictionary != nullptr && dictionary->enter(name, std::make_unique<Headless::Service>());
}

/// Uses `find`, because this query cannot be made to fail.
bool kzrxServiceIsRegistered(const char16_t* name) {
    const Headless::Dictionary* const dictionary = Headless::serviceDictionary();
    return dictionary != nullptr && dictionary->find(name) != nullptr;
}

bool kzrxRegisterAppMDIAware(void* moduleToken) {
    using namespace Headless;
    // Only the message that is being processed has a token; that of an earlier message is a usage error.
    const bool isToken = moduleToken != nullptr && moduleToken == currentPacket();
    return checkUsage(isToken, "kzrxRegisterAppMDIAware with another token than the load message's packet") &&
           !shouldFail(HostCall::declareMdiAware);
}
