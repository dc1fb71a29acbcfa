#ifndef TRANSPORT_WAIT_POINT_H
#define TRANSPORT_WAIT_POINT_H

#include <functional>

/// A gate: its callback runs as soon as both have happened, the callback was set and the gate was
/// reached.
class WaitPoint
{
public:
    virtual ~WaitPoint() = default;

    /// Replaces the callback; runs it at once if the gate has been reached already.
    virtual void setCallback(std::function<bool()> callback);

    /// Starts whatever leads to call().
    virtual void start() = 0;

    /// The gate is reached. Runs the callback, each time anew, and returns its result; false
    /// without one.
    bool call();

private:
    std::function<bool()> m_callback;
    bool m_reached = false;
};

#endif
