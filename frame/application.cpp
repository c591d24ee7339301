#include "frame/application.h"

#include "timers/idle_check.h"

KzDxApplication::KzDxApplication() {
    KzDxRollback undo([] { instance_ = nullptr; });
    instance_ = this;
    setAutoCreate(true);
    setAttached(true);
    storeEnabled(true);
    undo.keep();
}

KzDxApplication::~KzDxApplication() {
    static_cast<void>(leaveHost());
}

void KzDxApplication::end() noexcept {
    if (instance_ != nullptr) instance_->departure_.begin(instance_);
}

bool KzDxApplication::leaveHost() noexcept {
    const bool hasLeft = leaveDocManager();
    AppDataT::deleteAll();
    AppDataT::setAutoCreate(false); // should it hear of documents after all
    storeEnabled(false);
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
    const KzDxDocument* const record = docData(document, false);
    return record != nullptr && record->document() == document && record->isEnabled();
}

Orvo::ErrorStatus KzDxApplication::setEnabled(bool enable) {
    setAttached(enable);
    storeEnabled(enable);
    return Orvo::ok;
}

KzDxDocument* kzdxRecordOf(KzApDocument* document, bool create) {
    KzDxApplication* const application = KzDxApplication::instance();
    if (application == nullptr || document == nullptr || !KzDxApplication::isOpen(document)) return nullptr;
    return application->docData(document, create);
}
