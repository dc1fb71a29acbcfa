#ifndef OBSERVER_TI_OBSERVABLE_H
#define OBSERVER_TI_OBSERVABLE_H

#include <memory>

#include "ti_observer.h"

/// Publishes the records of one type. A subscription does not keep an observer alive: once its
/// owner has released it, it receives nothing more.
template <class T>
class TIObservable
{
public:
    virtual ~TIObservable() = default;

    /// An observer subscribed twice receives every record twice. A null pointer does no harm.
    virtual void subscribe(std::shared_ptr<TIObserver<T>> const& observer) = 0;

    /// Removes every subscription of the observer. A null pointer removes the subscriptions of
    /// observers that no longer exist.
    virtual void unsubscribe(std::shared_ptr<TIObserver<T>> const& observer) = 0;
};

#endif
