#pragma once

#include "headless/kzhost/binding.h"
#include "headless/modules.h"
#include "zelvane/zelvane.h"

#include <cstddef>

namespace KzHost {

/// The maximum number of clients in use.
inline constexpr std::size_t maxClients = 1024;

/// The reason for which a module may call a client. A client may have several uses.
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
    /// Keeps the client until `release` with the same use, or until the document is closed or the module
    /// unloaded, even if the script has no reference to the client.
    void keep(const ClientUse& use) const;
    void release(const ClientUse& use) const;
};
template <>
struct Argument<Client> {
    static Client read(const Call& call, int index);
};

} // namespace KzHost
