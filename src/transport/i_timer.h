#ifndef TRANSPORT_I_TIMER_H
#define TRANSPORT_I_TIMER_H

#include <functional>

/// A restartable millisecond timer. Its callback may do anything to it: replace the callback,
/// restart, stop or destroy the timer. It may also keep state, which the next run finds.
class ITimer
{
public:
    virtual ~ITimer() = default;

    /// The callback's result keeps the timer running at the same period (true) or stops it (false),
    /// unless the callback itself restarted or stopped it. Neither starts nor stops the timer.
    virtual void setCallBack(std::function<bool()> const& cb) = 0;

    /// Starts or restarts the timer, `ms` from now. Without memory for that the timer becomes
    /// inactive, also one that was running.
    virtual void startTimer(unsigned int ms) = 0;
    virtual void stopTimer() = 0;
    virtual bool isActive() const = 0;
};

#endif
