#include "fdloop_timer.h"

#include <utility>

#include "fdloop.h"

FdloopTimer::FdloopTimer(_fdloop_t* loop) : m_loop(loop) {}

FdloopTimer::~FdloopTimer()
{
    FdloopTimer::stopTimer();
}

void FdloopTimer::setCallBack(std::function<bool()> const& cb)
{
    m_callback = cb;
}

void FdloopTimer::takeCallBack(std::function<bool()>&& cb)
{
    m_callback = std::move(cb);
}

void FdloopTimer::startTimer(unsigned int ms)
{
    if (m_timer)
        fdloop_timer_del(m_loop, m_timer);
    m_timer = fdloop_timer_add(m_loop, ms, staticTimeout, this);
}

void FdloopTimer::stopTimer()
{
    // The destructor means our own. NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall)
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
    Lifetime::Watch const lifetime(m_lifetime);
    bool const again = m_callback();

    // The handle, not isActive(): the callback may have restarted this very timer.
    if (lifetime.isOver() || m_timer != expired)
        return 0;
    if (!again)
        m_timer = nullptr;
    return again ? 1 : 0;
}
