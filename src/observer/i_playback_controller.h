#ifndef OBSERVER_I_PLAYBACK_CONTROLLER_H
#define OBSERVER_I_PLAYBACK_CONTROLLER_H

#include "i_controller.h"
#include "record_type.h"
#include "ti_observable.h"

/// A controller that publishes records.
template <class... Ts>
class TIPlaybackController : public IController, public TIObservable<Ts>...
{
public:
    using TIObservable<Ts>::subscribe...;
    using TIObservable<Ts>::unsubscribe...;
};

/// The receiving end of the device link: publishes what the device sends.
class IPlaybackController
    : public TIPlaybackController<ImuData, GnssData, GnssPvt, AttitudeData, GenericData>
{};

#endif
