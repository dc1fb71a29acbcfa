#ifndef OBSERVER_I_DATA_READER_H
#define OBSERVER_I_DATA_READER_H

#include "playback_observable.h"
#include "ti_multi_observable.h"

/// A source of stored records.
class IDataReader : public TIMultiObservable<GenericData, AttitudeData, ImuData, GnssPvt, GnssData>
{
public:
    void subscribe(std::shared_ptr<TIObserver<GenericData>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<GenericData>> const& observer) override;

    /// Publishes all stored records.
    virtual bool readData() = 0;

    void subscribe(std::shared_ptr<TIObserver<AttitudeData>> const& observer) override;
    void subscribe(std::shared_ptr<TIObserver<ImuData>> const& observer) override;
    void subscribe(std::shared_ptr<TIObserver<GnssPvt>> const& observer) override;
    void subscribe(std::shared_ptr<TIObserver<GnssData>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<AttitudeData>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<ImuData>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<GnssPvt>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<GnssData>> const& observer) override;

protected:
    PlaybackObservable m_observable;
};

#endif
