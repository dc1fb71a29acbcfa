#ifndef APP_LOG_DATA_DELAY_H
#define APP_LOG_DATA_DELAY_H

#include <cstdint>
#include <functional>
#include <memory>

#include "fdloop_timer.h"
#include "playback_observable.h"
#include "ti_multi_observable.h"
#include "ti_multi_observer.h"

/// Paces records: passes each one on as long after the first as their time stamps say. The schedule
/// depends on the first record alone, so it does not drift. A record that is late, or stamped
/// before the first one, is passed on at once. Only one record is held at a time: an update()
/// before m_onSent was called replaces it.
class LogDataDelay : public TIMultiObserver<GenericData, AttitudeData, ImuData, GnssPvt, GnssData>,
                     public TIMultiObservable<GenericData, AttitudeData, ImuData, GnssPvt, GnssData>
{
public:
    explicit LogDataDelay(_fdloop_t* loop);

    void update(GenericData const& record) override;
    void update(AttitudeData const& record) override;
    void update(ImuData const& record) override;
    void update(GnssPvt const& record) override;
    void update(GnssData const& record) override;
    void subscribe(std::shared_ptr<TIObserver<GenericData>> const& observer) override;
    void subscribe(std::shared_ptr<TIObserver<AttitudeData>> const& observer) override;
    void subscribe(std::shared_ptr<TIObserver<ImuData>> const& observer) override;
    void subscribe(std::shared_ptr<TIObserver<GnssPvt>> const& observer) override;
    void subscribe(std::shared_ptr<TIObserver<GnssData>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<GenericData>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<AttitudeData>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<ImuData>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<GnssPvt>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<GnssData>> const& observer) override;

private:
    static constexpr uint64_t UNKNOWN = UINT64_MAX;

    template <class T>
    void schedule(T const& record);
    template <class T>
    __attribute__((noinline)) // inlined, it would slow down the records that need no wait
    void
    hold(T const& record, uint32_t wait);
    template <class T>
    std::function<bool()> delaySend(T record);
    template <class T>
    void passOn(T const& record);

    PlaybackObservable m_observable;
    FdloopTimer m_timer;
    uint64_t m_startMs = UNKNOWN;    // tt_time_ms() at the first record
    uint64_t m_firstTicks = UNKNOWN; // time stamp of the first record

public:
    /// Called after each record that was passed on, if it is set. It may call update() with the
    /// next record, and it may replace itself.
    HeldFunction<void()> m_onSent;
};

#endif
