#ifndef OBSERVER_PLAYBACK_OBSERVABLE_H
#define OBSERVER_PLAYBACK_OBSERVABLE_H

#include "record_type.h"
#include "t_multi_observable.h"

/// The publisher of all five record types that every producer holds.
class PlaybackObservable
    : public TMultiObservable<ImuData, GnssData, GnssPvt, AttitudeData, GenericData>
{};

#endif
