#ifndef OBSERVER_TI_MULTI_OBSERVABLE_H
#define OBSERVER_TI_MULTI_OBSERVABLE_H

#include "ti_observable.h"

/// Can be observed for several record types.
template <class... Ts>
class TIMultiObservable : public TIObservable<Ts>...
{
public:
    using TIObservable<Ts>::subscribe...;
    using TIObservable<Ts>::unsubscribe...;
};

#endif
