#pragma once

#include "host/status.h"

/// Base of objects that can be switched on and off.
///
/// Switching is virtual: a composite object also switches its parts, and an object that observes the host
/// registers or unregisters. Off after construction.
class KzDxEnableBase {
public:
    KzDxEnableBase() = default;
    KzDxEnableBase(const KzDxEnableBase&) = delete;
    KzDxEnableBase& operator=(const KzDxEnableBase&) = delete;

    virtual ~KzDxEnableBase() = default;
    [[nodiscard]] virtual bool isEnabled() const { return enabled_; }
    /// Switches on or off. The current state may be set again.
    virtual Orvo::ErrorStatus setEnabled(bool enable) {
        storeEnabled(enable);
        return Orvo::ok;
    }

protected:
    void storeEnabled(bool enable) { enabled_ = enable; }

private:
    bool enabled_ = false;
};
