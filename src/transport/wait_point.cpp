#include "wait_point.h"

#include <utility>

void WaitPoint::setCallback(std::function<bool()> callback)
{
    // The former callback may take the gate with it: it goes last.
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
