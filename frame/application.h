#pragma once

#include "core/deferred_deletion.h"
#include "core/enable_base.h"
#include "frame/app_data.h"
#include "frame/document.h"

/// The one application object: it keeps the data of the open documents and starts their idle checks.
///
/// Created at load, ended at unload. Exports return their failure value while there is none.
class KzDxApplication : public AppDataT<KzDxDocument>, public KzDxEnableBase, private KzDxDeferredDeletion {
public:
    /// The application object; null before load and after unload.
    [[nodiscard]] static KzDxApplication* instance() { return instance_; }

    /// Ends the application object, if there is one: the document data are destroyed at once, and the object
    /// itself as soon as it has left the document manager.
    static void end() noexcept;

    /// Attaches to the document manager, if there is one, and makes data for every open document. Throws
    /// std::bad_alloc, with nothing changed.
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

/// The data of a document for an export, with `create` made if needed. Null without an application object,
/// for an address at which no document is open, for a document without a drawing, and without `create` for
/// one that has no data.
[[nodiscard]] KzDxDocument* kzdxDocDataOf(KzApDocument* document, bool create = true);
