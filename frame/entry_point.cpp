#include "core/boundary.h"
#include "core/deferred_deletion.h"
#include "core/scope_guard.h"
#include "frame/application.h"
#include "frame/resource_library.h"
#include "host/module_interface.h"
#include "host/services.h"
#include "timers/cmd_line_hook.h"
#include "zelvane/zelvane.h"

#include <memory>

namespace {

constexpr const char16_t* serviceName = u"Zelvane";

KzDxResourceLibrary resourceLibrary;

/// The host's dictionary of services; null if there is none.
KzRxDictionary* serviceDictionary() {
    KzRxDictionary* const registry = kzrxSysRegistry();
    KzRxObject* const entry = registry == nullptr ? nullptr : registry->at(u"ServiceDictionary");
    const bool isDictionary = entry != nullptr && entry->isA()->isDerivedFrom(KzRxDictionary::desc());
    return isDictionary ? static_cast<KzRxDictionary*>(entry) : nullptr;
}

// Another module may have stored an object under the name, so only a service is deleted.
void removeService() {
    if (!kzrxServiceIsRegistered(serviceName)) return;
    KzRxDictionary* const services = serviceDictionary();
    if (services == nullptr) return;
    KzRxObject* const service = services->remove(serviceName);
    if (service != nullptr && service->isA()->isDerivedFrom(KzRxService::desc())) delete service;
}

bool initModule(void* packet) {
    if (!resourceLibrary.load()) return false;
    if (kzrxServiceIsRegistered(serviceName)) return false;
    KzDxScopeGuard undo(removeService);
    kzrxRegisterService(serviceName);
    kzrxRegisterAppMDIAware(packet);
    KzDxDeferredDeletion::retryAll(); // those that were pending when the module was unloaded
    // The object registers itself as the instance; `end` deletes it.
    if (KzDxApplication::instance() == nullptr)
        static_cast<void>(std::make_unique<KzDxApplication>().release());
    undo.dismiss();
    return true;
}

/// Runs every step, even if another one fails.
void unloadModule() noexcept {
    KzDxApplication::end();
    KzDxDeferredDeletion::retryAll();
    KzDxCmdLineHook::removeOrphanedFilter();
    kzdxAtBoundary(removeService);
    resourceLibrary.release();
}

} // namespace

ZELVANE_EXPORT std::int32_t kzrxEntryPoint(std::int32_t message, void* packet) noexcept {
    switch (message) {
    case KzRx::loadMessage:
        return kzdxAtBoundary(false, [&] { return initModule(packet); }) ? KzRx::done : KzRx::loadFailed;
    case KzRx::unloadMessage:
        unloadModule();
        return KzRx::done;
    default:
        return KzRx::done;
    }
}

ZELVANE_EXPORT std::uint32_t kzrxGetApiVersion() noexcept {
    return KzRx::apiVersion;
}
