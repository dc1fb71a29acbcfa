#include "wait_point.h"

#include <utility>

void WaitPoint::setCallback(std::function<bool()> callback)
{
    m_callback = std::move(callback);
    if (m_reached && m_callback)
        call();
}

bool WaitPoint::call()
{
    m_reached = true;
    // A copy: the callback may replace itself.
    auto const callback = m_callback;
    return callback && callback();
}
