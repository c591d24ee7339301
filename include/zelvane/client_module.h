#pragma once

/// @file
/// A base class for client modules.

#include "host/module_interface.h"
#include "zelvane/document_client.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace Zelvane {

/// A client module. The object is created at the load message and destroyed at the unload message.
///
///     struct Greeter : Zelvane::ClientModule {
///         Zelvane::IdleTimer timer;
///         bool load() override { return timer.attach(...) == Zelvane::Status::ok; }
///     };
///     ZELVANE_CLIENT_MODULE(Greeter)
///
/// Its members are destroyed with it. At the unload message all other watches and timers of the library,
/// for example static ones, are detached too; then the exports are released.
class ClientModule {
public:
    ClientModule() = default;
    ClientModule(const ClientModule&) = delete;
    ClientModule& operator=(const ClientModule&) = delete;
    virtual ~ClientModule() = default;

    /// Called at the load message. If it returns false, the object is destroyed and the host closes the
    /// module.
    [[nodiscard]] virtual bool load() = 0;

protected:
    /// The exports of Zelvane. Available if Zelvane was loaded before this module.
    [[nodiscard]] const KzDxExports& zelvane() const { return zelvane_; }

private:
    KzDxExports zelvane_;
};

namespace detail {

/// The client between the load message and the unload message; otherwise null.
ZELVANE_OWN inline constinit ClientModule* loadedClient = nullptr;

/// Creates and loads the client. False if its `load` returns false or throws.
template <class Client>
[[nodiscard]] ZELVANE_OWN bool loadClient() noexcept try {
    auto client = std::make_unique<Client>();
    if (!client->load()) return false;
    loadedClient = client.release();
    return true;
} catch (...) {
    return false;
}

/// Processes a message of the host with a client of class Client. Throws no exception.
template <class Client>
[[nodiscard]] ZELVANE_OWN std::int32_t answer(std::int32_t message) noexcept {
    const bool hasToLoad = message == KzRx::loadMessage && loadedClient == nullptr;
    const bool isLoaded = !hasToLoad || loadClient<Client>();
    if (message == KzRx::unloadMessage) delete std::exchange(loadedClient, nullptr);
    if (message == KzRx::unloadMessage || !isLoaded) Kit::DocumentClient::detachAll();
    return isLoaded ? KzRx::done : KzRx::loadFailed;
}

} // namespace detail

} // namespace Zelvane

/// Defines the two functions that the host requires of a module. Must be used once in a module, outside all
/// namespaces.
#define ZELVANE_CLIENT_MODULE(Client)                                                                        \
    ZELVANE_EXPORT std::uint32_t kzrxGetApiVersion() noexcept {                                              \
        return KzRx::apiVersion;                                                                             \
    }                                                                                                        \
    ZELVANE_EXPORT std::int32_t kzrxEntryPoint(std::int32_t message, void* /*packet*/) noexcept {            \
        return Zelvane::detail::answer<Client>(message);                                                     \
    }
