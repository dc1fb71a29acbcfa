#ifndef OBSERVER_SUBSCRIBE_ALL_H
#define OBSERVER_SUBSCRIBE_ALL_H

#include <memory>

#include "record_type.h"
#include "ti_observer.h"

/// Subscribes an observer of all five record types to a publisher of all five. Both are shared
/// pointers. `observable` must not be null.
template <class ObserverPtr, class ObservablePtr>
void subscribe_all(ObserverPtr observer, ObservablePtr observable)
{
    observable->subscribe(std::shared_ptr<TIObserver<GenericData>>(observer));
    observable->subscribe(std::shared_ptr<TIObserver<AttitudeData>>(observer));
    observable->subscribe(std::shared_ptr<TIObserver<ImuData>>(observer));
    observable->subscribe(std::shared_ptr<TIObserver<GnssData>>(observer));
    observable->subscribe(std::shared_ptr<TIObserver<GnssPvt>>(observer));
}

/// Undoes subscribe_all, however often it was called. Changes nothing for a pair that is not
/// linked.
template <class ObserverPtr, class ObservablePtr>
void unsubscribe_all(ObserverPtr observer, ObservablePtr observable)
{
    observable->unsubscribe(std::shared_ptr<TIObserver<GenericData>>(observer));
    observable->unsubscribe(std::shared_ptr<TIObserver<AttitudeData>>(observer));
    observable->unsubscribe(std::shared_ptr<TIObserver<ImuData>>(observer));
    observable->unsubscribe(std::shared_ptr<TIObserver<GnssData>>(observer));
    observable->unsubscribe(std::shared_ptr<TIObserver<GnssPvt>>(observer));
}

#endif
