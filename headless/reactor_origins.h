#pragma once

#include "host/runtime_class.h"

#include <unordered_map>

namespace Headless {

/// Remembers where the code of each registered reactor lies, by its table of operations.
///
/// When a library is closed, what it left registered is dropped. Asking the reactors themselves then would be
/// too late: a module that could not reach the document manager has destroyed them already.
class ReactorOrigins {
public:
    /// To be told of every registration. Cheap for the same reactor again and again.
    void note(const KzRxObject* reactor) {
        const void* const code = *reinterpret_cast<const void* const*>(reactor);
        if (reactor == lastReactor_ && code == lastCode_) return;
        codes_[reactor] = code;
        lastReactor_ = reactor;
        lastCode_ = code;
    }

    /// Null for a reactor that was never registered.
    [[nodiscard]] const void* codeOf(const KzRxObject* reactor) const {
        const auto found = codes_.find(reactor);
        return found != codes_.end() ? found->second : nullptr;
    }

    /// Forgets the reactors whose code `isGone` says to be gone.
    template <class Predicate>
    void forgetIf(Predicate isGone) {
        std::erase_if(codes_, [&](const auto& entry) { return isGone(entry.second); });
        lastReactor_ = nullptr;
    }

private:
    std::unordered_map<const KzRxObject*, const void*> codes_;
    const KzRxObject* lastReactor_ = nullptr;
    const void* lastCode_ = nullptr;
};

extern ReactorOrigins& reactorOrigins;

} // namespace Headless
