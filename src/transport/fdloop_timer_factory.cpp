#include "fdloop_timer_factory.h"

#include "fdloop_timer.h"

FdloopTimerFactory::FdloopTimerFactory(_fdloop_t* loop) : m_loop(loop) {}

std::shared_ptr<ITimer> FdloopTimerFactory::create() const
{
    return std::make_shared<FdloopTimer>(m_loop);
}
