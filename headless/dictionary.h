#pragma once

#include "host/runtime_class.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Headless {

/// A dictionary that owns what is entered, by name in ascending order.
class Dictionary final : public KzRxDictionary {
public:
    /// False, and the object is gone, when the key is taken.
    bool enter(std::u16string_view key, std::unique_ptr<KzRxObject> object);
    /// The object under `key`, for the host itself; null when there is none.
    [[nodiscard]] KzRxObject* find(const char16_t* key) const;
    [[nodiscard]] std::vector<std::u16string> keys() const;
    void clear() { entries_.clear(); }

    // What modules see.
    [[nodiscard]] KzRxClass* isA() const override { return KzRxDictionary::desc(); }
    [[nodiscard]] KzRxObject* at(const char16_t* key) const override;
    [[nodiscard]] KzRxObject* remove(const char16_t* key) override;

private:
    std::map<std::u16string, std::unique_ptr<KzRxObject>, std::less<>> entries_;
};

/// The dictionary of services inside the system registry; null after a module has removed it.
[[nodiscard]] Dictionary* serviceDictionary();

/// Puts an empty dictionary of services into the registry.
void resetRegistry();

} // namespace Headless
