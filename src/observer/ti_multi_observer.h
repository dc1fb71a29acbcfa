#ifndef OBSERVER_TI_MULTI_OBSERVER_H
#define OBSERVER_TI_MULTI_OBSERVER_H

#include "ti_observer.h"

/// Observes several record types.
template <class... Ts>
class TIMultiObserver : public TIObserver<Ts>...
{
public:
    using TIObserver<Ts>::update...;
};

#endif
