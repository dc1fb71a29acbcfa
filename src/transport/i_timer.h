#ifndef TRANSPORT_I_TIMER_H
#define TRANSPORT_I_TIMER_H

#include <functional>

/// A restartable millisecond timer. Its callback may do anything to it: replace the callback,
/// restart, stop or destroy the timer. It may also keep state from run to run.
class ITimer
{
public:
    virtual ~ITimer() = default;

    /// Sets the callback, and neither starts nor stops the timer. The callback returns true to keep
    /// the timer running with the same period, false to stop it. If it has restarted or stopped the
    /// timer itself, its result is ignored.
    virtual void setCallBack(std::function<bool()> const& cb) = 0;

    /// Starts or restarts the timer, `ms` from now. If memory is exhausted, the timer becomes
    /// inactive, even if it was running.
    virtual void startTimer(unsigned int ms) = 0;
    virtual void stopTimer() = 0;
    virtual bool isActive() const = 0;
};

#endif
