#pragma once

/// A receiver: is notified when the interval of a timer has passed. The notification does not identify the
/// timer.
///
/// Borrowed by timers and never destroyed through this interface.
class KzDxTimerReactor {
public:
    virtual void timerElapsed() = 0;

protected:
    ~KzDxTimerReactor() = default;
};
