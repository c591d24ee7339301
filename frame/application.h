#pragma once

#include "core/deferred_deletion.h"
#include "core/enable_base.h"
#include "frame/app_data.h"
#include "frame/document.h"

/// The application object: owns the data of the open documents and posts their idle checks. Singleton.
///
/// Created at load, ended at unload. While there is none, exports return their failure values.
class KzDxApplication : public AppDataT<KzDxDocument>, public KzDxEnableBase, private KzDxDeferredDeletion {
public:
    /// The application object; null before load and after unload.
    [[nodiscard]] static KzDxApplication* instance() { return instance_; }

    /// Ends the application object, if there is one: destroys the document data immediately, and the object
    /// itself when it has unregistered from the document manager.
    static void end() noexcept;

    /// Attaches to the document manager, if there is one, and creates data for every open document. May
    /// throw std::bad_alloc, without effect.
    KzDxApplication();
    ~KzDxApplication() override;

    /// Posts an idle check when the lock mode of the current document has changed for a command whose name
    /// begins with "#".
    void documentLockModeChanged(KzApDocument* document, KzAp::DocLockMode, KzAp::DocLockMode,
                                 KzAp::DocLockMode, const char16_t* command) override;

    /// Attaches to or detaches from the document manager. Idle checks are posted only while switched on.
    Orvo::ErrorStatus setEnabled(bool enable) override;

private:
    [[nodiscard]] bool tryUnregister() noexcept override;
    [[nodiscard]] bool wantsIdleCheck(KzApDocument* document, const char16_t* command);

    static inline KzDxApplication* instance_ = nullptr;
};

/// The data of a document for an export; with `create`, created if there are none. Null without an
/// application object, for the address of no open document, for a document without a drawing, and if there
/// are no data.
[[nodiscard]] KzDxDocument* kzdxDocDataOf(KzApDocument* document, bool create = true);
