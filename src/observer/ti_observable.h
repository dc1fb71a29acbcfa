#ifndef OBSERVER_TI_OBSERVABLE_H
#define OBSERVER_TI_OBSERVABLE_H

#include <memory>

#include "ti_observer.h"

/// Publishes the records of one type. Subscribing does not keep an observer alive: one that its
/// owner releases just receives nothing more.
template <class T>
class TIObservable
{
public:
    virtual ~TIObservable() = default;

    /// An observer subscribed twice receives every record twice. An empty pointer is harmless.
    virtual void subscribe(std::shared_ptr<TIObserver<T>> const& observer) = 0;

    /// Removes every subscription of the observer; an empty pointer removes those whose observers
    /// are gone.
    virtual void unsubscribe(std::shared_ptr<TIObserver<T>> const& observer) = 0;
};

#endif
