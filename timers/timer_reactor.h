#pragma once

/// Is told when a timer's interval has passed. It is not told which timer it was.
///
/// Borrowed by timers and never destroyed through this interface.
class KzDxTimerReactor {
public:
    virtual void timerElapsed() = 0;

protected:
    ~KzDxTimerReactor() = default;
};
