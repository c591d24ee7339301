#pragma once

/// @file
/// A client module as one class.

#include "host/module_interface.h"
#include "zelvane/document_client.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace Zelvane {

/// A client module as an object: made at the load message, destroyed at the unload message.
///
///     struct Greeter : Zelvane::ClientModule {
///         Zelvane::IdleTimer timer;
///         bool load() override { return timer.attach(...) == Zelvane::Status::ok; }
///     };
///     ZELVANE_CLIENT_MODULE(Greeter)
///
/// What it owns is destroyed with it. At the unload message all other watches and timers of the library are
/// detached, too, static ones for instance; after that the exports are released.
class ClientModule {
public:
    ClientModule() = default;
    ClientModule(const ClientModule&) = delete;
    ClientModule& operator=(const ClientModule&) = delete;
    virtual ~ClientModule() = default;

    /// Begins to work. False: the object is destroyed again, and the host closes the module.
    [[nodiscard]] virtual bool load() = 0;

protected:
    /// The exports of Zelvane, as far as it was loaded before.
    [[nodiscard]] const KzDxExports& zelvane() const { return zelvane_; }

private:
    KzDxExports zelvane_;
};

namespace detail {

/// From the load message to the unload message.
ZELVANE_OWN inline constinit ClientModule* loadedClient = nullptr;

/// Loads a client of class Client. False if it does not want to be loaded or throws.
template <class Client>
[[nodiscard]] ZELVANE_OWN bool loadClient() noexcept try {
    auto client = std::make_unique<Client>();
    if (!client->load()) return false;
    loadedClient = client.release();
    return true;
} catch (...) {
    return false;
}

/// Answers the messages of the host with a client of class Client. No exception leaves it.
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

/// Makes the two functions that the host asks of a module. To be written once in a module, outside every
/// namespace.
#define ZELVANE_CLIENT_MODULE(Client)                                                                        \
    ZELVANE_EXPORT std::uint32_t kzrxGetApiVersion() noexcept {                                              \
        return KzRx::apiVersion;                                                                             \
    }                                                                                                        \
    ZELVANE_EXPORT std::int32_t kzrxEntryPoint(std::int32_t message, void* /*packet*/) noexcept {            \
        return Zelvane::detail::answer<Client>(message);                                                     \
    }
