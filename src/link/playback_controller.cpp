#include "playback_controller.h"

#include <utility>

PlaybackController::PlaybackController(std::shared_ptr<IUdpCon> connection)
    : m_connection(std::move(connection))
{}

void PlaybackController::initialize()
{
    if (!m_connection)
        return;

    m_connection->open();
    m_connection->setRxCallBack([this](sockaddr const* from, unsigned char const* data,
                                       unsigned int len) { received(from, data, len); });
}

void PlaybackController::tearDown()
{
    if (!m_connection)
        return;

    m_connection->setRxCallBack({});
    m_connection->close();
}

template <class Record>
void PlaybackController::publish(UdpPacketAnalyzer<Record> const& analyzer,
                                 unsigned char const* data, unsigned int len)
{
    // Qualified, so that the calls are not virtual: the members have exactly this type.
    if (analyzer.UdpPacketAnalyzer<Record>::isType(data, len))
        m_observable.TObservable<Record>::notifySubscribers(
            analyzer.UdpPacketAnalyzer<Record>::getData(data, len));
}

void PlaybackController::received(sockaddr const* /*from*/, unsigned char const* data,
                                  unsigned int len)
{
    publish(m_imuAnalyzer, data, len);
    publish(m_gnssAnalyzer, data, len);
    publish(m_pvtAnalyzer, data, len);
    publish(m_attitudeAnalyzer, data, len);
    publish(m_genericAnalyzer, data, len);
}

void PlaybackController::subscribe(std::shared_ptr<TIObserver<ImuData>> const& observer)
{
    m_observable.subscribe(observer);
}

void PlaybackController::unsubscribe(std::shared_ptr<TIObserver<ImuData>> const& observer)
{
    m_observable.unsubscribe(observer);
}

void PlaybackController::subscribe(std::shared_ptr<TIObserver<GnssData>> const& observer)
{
    m_observable.subscribe(observer);
}

void PlaybackController::unsubscribe(std::shared_ptr<TIObserver<GnssData>> const& observer)
{
    m_observable.unsubscribe(observer);
}

void PlaybackController::subscribe(std::shared_ptr<TIObserver<GnssPvt>> const& observer)
{
    m_observable.subscribe(observer);
}

void PlaybackController::unsubscribe(std::shared_ptr<TIObserver<GnssPvt>> const& observer)
{
    m_observable.unsubscribe(observer);
}

void PlaybackController::subscribe(std::shared_ptr<TIObserver<AttitudeData>> const& observer)
{
    m_observable.subscribe(observer);
}

void PlaybackController::unsubscribe(std::shared_ptr<TIObserver<AttitudeData>> const& observer)
{
    m_observable.unsubscribe(observer);
}

void PlaybackController::subscribe(std::shared_ptr<TIObserver<GenericData>> const& observer)
{
    m_observable.subscribe(observer);
}

void PlaybackController::unsubscribe(std::shared_ptr<TIObserver<GenericData>> const& observer)
{
    m_observable.unsubscribe(observer);
}

PlaybackControllerFactory::PlaybackControllerFactory(std::shared_ptr<IUdpCon> connection)
    : m_connection(std::move(connection))
{}

std::shared_ptr<IPlaybackController> PlaybackControllerFactory::create()
{
    return std::make_shared<PlaybackController>(m_connection);
}
