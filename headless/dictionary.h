#pragma once

#include "host/runtime_class.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Headless {

/// A dictionary that owns its entries. They are in ascending order of their keys.
class Dictionary final : public KzRxDictionary {
public:
    /// Adds an object. If the key is taken, returns false and deletes the object.
    bool enter(std::u16string_view key, std::unique_ptr<KzRxObject> object);
    /// The object under `key`, for the host's own use; null if there is none.
    [[nodiscard]] KzRxObject* find(const char16_t* key) const;
    [[nodiscard]] std::vector<std::u16string> keys() const;
    void clear() { entries_.clear(); }

    // The interface for modules.
    [[nodiscard]] KzRxClass* isA() const override { return KzRxDictionary::desc(); }
    [[nodiscard]] KzRxObject* at(const char16_t* key) const override;
    [[nodiscard]] KzRxObject* remove(const char16_t* key) override;

private:
    std::map<std::u16string, std::unique_ptr<KzRxObject>, std::less<>> entries_;
};

/// The dictionary of services inside the system registry; null after a module has removed it.
[[nodiscard]] Dictionary* serviceDictionary();

/// Resets the registry: it contains one entry, an empty dictionary of services.
void resetRegistry();

} // namespace Headless
