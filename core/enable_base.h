#pragma once

#include "host/status.h"

/// Something that can be switched on and off.
///
/// Switching is virtual: a composite object passes it on to its parts, and an object that listens to the host
/// registers or unregisters itself with it. Off after construction.
class KzDxEnableBase {
public:
    KzDxEnableBase() = default;
    KzDxEnableBase(const KzDxEnableBase&) = delete;
    KzDxEnableBase& operator=(const KzDxEnableBase&) = delete;

    virtual ~KzDxEnableBase() = default;
    [[nodiscard]] virtual bool isEnabled() const { return enabled_; }
    /// Switches on or off. Setting the present state again is allowed.
    virtual Orvo::ErrorStatus setEnabled(bool enable) {
        storeEnabled(enable);
        return Orvo::ok;
    }

protected:
    void storeEnabled(bool enable) { enabled_ = enable; }

private:
    bool enabled_ = false;
};
