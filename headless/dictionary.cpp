#include "headless/dictionary.h"

#include "headless/fault_gate.h"
#include "headless/mistakes.h"
#include "headless/modules.h"
#include "headless/session.h"
#include "host/services.h"

#include <utility>

namespace Headless {

namespace {

constexpr const char16_t* servicesKey = u"ServiceDictionary";

class Service final : public KzRxService {
public:
    [[nodiscard]] KzRxClass* isA() const override { return KzRxService::desc(); }
};

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
    return FaultGate::strikes(HostCall::dictionaryEntry) ? nullptr : find(key);
}

KzRxObject* Dictionary::find(const char16_t* key) const {
    if (key == nullptr) return nullptr;
    const auto found = entries_.find(std::u16string_view(key));
    return found != entries_.end() ? found->second.get() : nullptr;
}

KzRxObject* Dictionary::remove(const char16_t* key) {
    if (key == nullptr || FaultGate::strikes(HostCall::takeEntry)) return nullptr;
    const auto found = entries_.find(std::u16string_view(key));
    if (found == entries_.end()) return nullptr;
    KzRxObject* const object = found->second.release();
    entries_.erase(found);
    return object;
}

Dictionary* serviceDictionary() {
    return static_cast<Dictionary*>(registry().find(servicesKey));
}

void resetRegistry() {
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
    return FaultGate::strikes(HostCall::registry) ? nullptr : &registry();
}

bool kzrxRegisterService(const char16_t* name) {
    if (!Headless::isProvidedFor(name != nullptr, "kzrxRegisterService without a name")) return false;
    if (Headless::FaultGate::strikes(Headless::HostCall::registerService)) return false;
    Headless::Dictionary* const dictionary = Headless::serviceDictionary();
    return dictionary != nullptr && dictionary->enter(name, std::make_unique<Headless::Service>());
}

bool kzrxServiceIsRegistered(const char16_t* name) {
    const Headless::Dictionary* const dictionary = Headless::serviceDictionary();
    return dictionary != nullptr && dictionary->find(name) != nullptr;
}

bool kzrxRegisterAppMDIAware(void* moduleToken) {
    using namespace Headless;
    const bool isToken = moduleToken != nullptr && moduleToken == packetUnderWay();
    return isProvidedFor(isToken,
                         "kzrxRegisterAppMDIAware with another token than the load message's packet") &&
           !FaultGate::strikes(HostCall::declareMdiAware);
}
