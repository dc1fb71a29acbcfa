#include "fdloop_timer.h"

#include "fdloop.h"

FdloopTimer::FdloopTimer(_fdloop_t* loop) : m_loop(loop) {}

FdloopTimer::~FdloopTimer()
{
    FdloopTimer::stopTimer();
}

void FdloopTimer::setCallBack(std::function<bool()> const& cb)
{
    std::function<bool()>(cb).swap(m_callback);
}

void FdloopTimer::startTimer(unsigned int ms)
{
    if (m_timer)
        fdloop_timer_del(m_loop, m_timer);
    m_timer = fdloop_timer_add(m_loop, ms, staticTimeout, this);
}

void FdloopTimer::stopTimer()
{
    if (!isActive())
        return;
    fdloop_timer_del(m_loop, m_timer);
    m_timer = nullptr;
}

bool FdloopTimer::isActive() const
{
    return m_timer != nullptr;
}

int FdloopTimer::staticTimeout(void* data)
{
    return data ? static_cast<FdloopTimer*>(data)->timeout() : 0;
}

int FdloopTimer::timeout()
{
    if (!m_callback) {
        m_timer = nullptr;
        return 0;
    }

    _fdloop_timer_t const* const expired = m_timer;
    std::weak_ptr<void> const lifetime = m_lifetime;
    // A copy runs: the callback may replace itself or destroy the timer.
    auto const callback = m_callback;
    bool const again = callback();

    // The handle, not isActive(): the callback may have restarted this very timer.
    if (lifetime.expired() || m_timer != expired)
        return 0;
    if (!again)
        m_timer = nullptr;
    return again ? 1 : 0;
}
