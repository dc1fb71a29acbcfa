#ifndef OBSERVER_T_MULTI_OBSERVABLE_H
#define OBSERVER_T_MULTI_OBSERVABLE_H

#include "t_observable.h"

/// The publisher of several record types: one list of observers each.
template <class... Ts>
class TMultiObservable : public TObservable<Ts>...
{
public:
    using TObservable<Ts>::subscribe...;
    using TObservable<Ts>::unsubscribe...;
    using TObservable<Ts>::notifySubscribers...;
};

#endif
