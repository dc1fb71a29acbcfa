#ifndef TRANSPORT_WAIT_POINT_H
#define TRANSPORT_WAIT_POINT_H

#include <functional>

#include "held_function.h"

/// A gate. Its callback runs as soon as the callback is set and the gate is reached, in either
/// order.
class WaitPoint
{
public:
    virtual ~WaitPoint() = default;

    /// Replaces the callback. Runs it at once if the gate has been reached already.
    virtual void setCallback(std::function<bool()> callback);

    /// Starts whatever leads to call().
    virtual void start() = 0;

    /// Tells that the gate is reached. Runs the callback, every time, and returns its result; false
    /// without one. The callback may replace itself and destroy the gate.
    bool call();

private:
    HeldFunction<bool()> m_callback;
    bool m_reached = false;
};

#endif
