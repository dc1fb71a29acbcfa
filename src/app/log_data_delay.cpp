#include "log_data_delay.h"

#include <new>

#include "tt_time.h"

LogDataDelay::LogDataDelay(_fdloop_t* loop) : m_timer(loop) {}

void LogDataDelay::update(GenericData const& record)
{
    schedule(record);
}

void LogDataDelay::update(AttitudeData const& record)
{
    schedule(record);
}

void LogDataDelay::update(ImuData const& record)
{
    schedule(record);
}

void LogDataDelay::update(GnssPvt const& record)
{
    schedule(record);
}

void LogDataDelay::update(GnssData const& record)
{
    schedule(record);
}

template <class T>
void LogDataDelay::schedule(T const& record)
{
    if (m_startMs == UNKNOWN)
        m_startMs = tt_time_ms();
    if (m_firstTicks == UNKNOWN)
        m_firstTicks = ticksOf(record);

    // 64 bits, not modulo 2^32, on purpose: once the device's counter wraps or restarts, its
    // records count as late, and they are passed on back to back.
    int64_t const offset = int64_t{ticksOf(record)} - static_cast<int64_t>(m_firstTicks);
    int64_t const elapsed = int64_t{tt_time_ms()} - static_cast<int64_t>(m_startMs);
    int64_t const wait = offset - elapsed;

    if (wait < 1)
        passOn(record);
    else // the low 32 bits are also right when our own clock has wrapped since the first record
        hold(record, static_cast<uint32_t>(wait));
}

template <class T>
void LogDataDelay::hold(T const& record, uint32_t wait)
{
    m_timer.takeCallBack(delaySend<T>(record));
    m_timer.startTimer(wait);
    if (!m_timer.isActive())
        throw std::bad_alloc(); // or the replay would wait for ever
}

template <class T>
std::function<bool()> LogDataDelay::delaySend(T record)
{
    return [this, record] {
        passOn(record);
        return false;
    };
}

template <class T>
void LogDataDelay::passOn(T const& record)
{
    m_observable.notifySubscribers(record);
    if (m_onSent)
        m_onSent();
}

void LogDataDelay::subscribe(std::shared_ptr<TIObserver<GenericData>> const& observer)
{
    m_observable.subscribe(observer);
}

void LogDataDelay::subscribe(std::shared_ptr<TIObserver<AttitudeData>> const& observer)
{
    m_observable.subscribe(observer);
}

void LogDataDelay::subscribe(std::shared_ptr<TIObserver<ImuData>> const& observer)
{
    m_observable.subscribe(observer);
}

void LogDataDelay::subscribe(std::shared_ptr<TIObserver<GnssPvt>> const& observer)
{
    m_observable.subscribe(observer);
}

void LogDataDelay::subscribe(std::shared_ptr<TIObserver<GnssData>> const& observer)
{
    m_observable.subscribe(observer);
}

void LogDataDelay::unsubscribe(std::shared_ptr<TIObserver<GenericData>> const& observer)
{
    m_observable.unsubscribe(observer);
}

void LogDataDelay::unsubscribe(std::shared_ptr<TIObserver<AttitudeData>> const& observer)
{
    m_observable.unsubscribe(observer);
}

void LogDataDelay::unsubscribe(std::shared_ptr<TIObserver<ImuData>> const& observer)
{
    m_observable.unsubscribe(observer);
}

void LogDataDelay::unsubscribe(std::shared_ptr<TIObserver<GnssPvt>> const& observer)
{
    m_observable.unsubscribe(observer);
}

void LogDataDelay::unsubscribe(std::shared_ptr<TIObserver<GnssData>> const& observer)
{
    m_observable.unsubscribe(observer);
}
