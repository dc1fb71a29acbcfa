#include "wait_point.h"

#include <utility>

void WaitPoint::setCallback(std::function<bool()> callback)
{
    // The former callback is released last: it may destroy the gate.
    HeldFunction<bool()>::Hold const former(m_callback);
    m_callback = std::move(callback);
    if (m_reached && m_callback)
        call();
}

bool WaitPoint::call()
{
    m_reached = true;
    return m_callback && m_callback();
}
