#include "frame/application.h"

#include "timers/idle_check.h"

KzDxApplication::KzDxApplication() {
    instance_ = this;
    kzdxAtBoundary([this] {
        setAutoCreate(true);
        setAttached(true);
    });
    storeEnabled(true);
}

KzDxApplication::~KzDxApplication() {
    if (kzDocManagerPtr() != nullptr) {
        leaveDocManager();
        deleteAll();
    }
    storeEnabled(false);
    instance_ = nullptr;
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
    const KzDxDocument* const record = docData(document, false);
    return record != nullptr && record->document() == document && record->isEnabled();
}

Orvo::ErrorStatus KzDxApplication::setEnabled(bool enable) {
    setAttached(enable);
    storeEnabled(enable);
    return Orvo::ok;
}

KzDxDocument* kzdxRecordOf(KzApDocument* document) {
    KzDxApplication* const application = KzDxApplication::instance();
    return application == nullptr ? nullptr : application->docData(document, true);
}
