#pragma once

#include "headless/kzhost/binding.h"
#include "headless/modules.h"
#include "zelvane/zelvane.h"

#include <cstddef>

namespace KzHost {

/// How many clients can be in use at a time.
inline constexpr std::size_t maxClients = 1024;

/// What a module may call a client for. Attaching and detaching concern one use alone.
struct ClientUse {
    Headless::ModuleId module;
    const KzApDocument* document;
    enum class Purpose : std::uint8_t { timer, monitor } purpose;

    auto operator<=>(const ClientUse&) const = default;
};

/// A client as an argument.
struct Client {
    std::size_t slot;

    [[nodiscard]] KzDxClientCallback function() const;
    /// Keeps the client in use until `release` of the same use, while the document is open and the module
    /// loaded, although the script may forget it.
    void keep(const ClientUse& use) const;
    void release(const ClientUse& use) const;
};
template <>
struct Argument<Client> {
    static Client read(const Call& call, int index);
};

} // namespace KzHost
