#ifndef TRANSPORT_I_TIMER_FACTORY_H
#define TRANSPORT_I_TIMER_FACTORY_H

#include <memory>

#include "i_timer.h"

class ITimerFactory
{
public:
    virtual ~ITimerFactory() = default;
    virtual std::shared_ptr<ITimer> create() const = 0;
};

#endif
