#include "frame/application.h"

#include "timers/idle_check.h"

KzDxApplication::KzDxApplication() {
    // Creating data attaches to the document manager. Without one, the object stays empty until an export
    // is called.
    static_cast<void>(setAutoCreate(true));
    storeEnabled(true);
    instance_ = this; // last, so that a failure above leaves nothing to undo
}

KzDxApplication::~KzDxApplication() {
    // Has no effect after a deferred deletion, but a failed load destroys the object directly.
    static_cast<void>(KzDxApplication::tryUnregister());
}

void KzDxApplication::end() noexcept {
    if (instance_ != nullptr) KzDxDeferredDeletion::deleteWhenUnregistered(instance_);
}

bool KzDxApplication::tryUnregister() noexcept {
    const bool hasLeft = leaveDocManager();
    static_cast<void>(AppDataT::deleteAll());          // always `ok`
    static_cast<void>(AppDataT::setAutoCreate(false)); // it may still be notified
    if (instance_ == this) instance_ = nullptr;
    return hasLeft;
}

void KzDxApplication::documentLockModeChanged(KzApDocument* document, KzAp::DocLockMode, KzAp::DocLockMode,
                                              KzAp::DocLockMode, const char16_t* command) {
    kzdxAtBoundary([&] {
        if (wantsIdleCheck(document, command)) kzdxPostIdleCheck(document);
    });
}

bool KzDxApplication::wantsIdleCheck(KzApDocument* document, const char16_t* command) {
    if (document == nullptr || !isEnabled()) return false;
    if (command == nullptr || command[0] != u'#') return false;
    const KzApDocManager* const manager = kzDocManagerPtr();
    if (manager == nullptr || manager->currentDocument() != document) return false;
    const KzDxDocument* const data = docData(document, false);
    return data != nullptr && data->document() == document && data->isEnabled();
}

Orvo::ErrorStatus KzDxApplication::setEnabled(bool enable) {
    static_cast<void>(setAttached(enable)); // switched even without a document manager
    storeEnabled(enable);
    return Orvo::ok;
}

KzDxDocument* kzdxDocDataOf(KzApDocument* document, bool create) {
    KzDxApplication* const application = KzDxApplication::instance();
    if (application == nullptr || document == nullptr || !KzDxApplication::isOpen(document)) return nullptr;
    return application->docData(document, create);
}
