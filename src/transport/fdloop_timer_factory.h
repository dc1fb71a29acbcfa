#ifndef TRANSPORT_FDLOOP_TIMER_FACTORY_H
#define TRANSPORT_FDLOOP_TIMER_FACTORY_H

#include "i_timer_factory.h"

struct _fdloop_t;

/// Makes timers on one loop, inactive at first.
class FdloopTimerFactory : public ITimerFactory
{
public:
    explicit FdloopTimerFactory(_fdloop_t* loop);

    std::shared_ptr<ITimer> create() const override;

private:
    _fdloop_t* m_loop;
};

#endif
