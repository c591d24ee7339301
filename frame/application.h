#pragma once

#include "frame/app_data.h"
#include "frame/departure.h"
#include "frame/document.h"
#include "frame/enable_base.h"

/// The one application object: it keeps the records of the open documents and starts their idle checks.
///
/// Made at load and destroyed at unload. Exports answer with their failure value while there is none.
class KzDxApplication : public AppDataT<KzDxDocument>, public KzDxEnableBase {
public:
    /// The application object; null before load and after unload.
    [[nodiscard]] static KzDxApplication* instance() { return instance_; }

    /// Ends the application object, if there is one: its records are destroyed at once, and it itself as soon
    /// as it has left the document manager.
    static void end() noexcept;

    /// Attaches to the document manager, if there is one, and makes a record for every open document. When
    /// memory runs out on the way, there is no object.
    KzDxApplication();
    ~KzDxApplication() override;

    /// Posts an idle check when the lock mode of the current document has changed for a command whose name
    /// begins with "#".
    void documentLockModeChanged(KzApDocument* document, KzAp::DocLockMode, KzAp::DocLockMode,
                                 KzAp::DocLockMode, const char16_t* command) override;

    /// Attaches to or detaches from the document manager. Idle checks are posted only while switched on.
    Orvo::ErrorStatus setEnabled(bool enable) override;

private:
    friend class KzDxDeparture;

    [[nodiscard]] bool leaveHost() noexcept;
    [[nodiscard]] bool wantsIdleCheck(KzApDocument* document, const char16_t* command);

    static inline KzDxApplication* instance_ = nullptr;

    KzDxDeparture departure_;
};

/// The record of a document for an export, with `create` made if needed. Null without an application object,
/// for an address that is no open document's, for a document without a drawing, and without `create` for one
/// that has no record.
[[nodiscard]] KzDxDocument* kzdxRecordOf(KzApDocument* document, bool create = true);
