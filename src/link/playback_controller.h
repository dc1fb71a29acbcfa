#ifndef LINK_PLAYBACK_CONTROLLER_H
#define LINK_PLAYBACK_CONTROLLER_H

#include <memory>

#include "i_playback_controller.h"
#include "i_udp_con.h"
#include "playback_observable.h"
#include "udp_packet_analyzer.h"

/// Receives the device's datagrams, from any sender, and publishes their records. Call tearDown()
/// before it is destroyed, because the connection's callback refers to it.
class PlaybackController : public IPlaybackController
{
public:
    /// Without a connection the controller does nothing.
    explicit PlaybackController(std::shared_ptr<IUdpCon> connection);

    /// Opens the connection and starts to receive.
    void initialize() override;

    /// Stops receiving; what is still queued in the socket is not delivered.
    void tearDown() override;

    /// Publishes the record of one datagram before it returns. Ignores a datagram of unknown type.
    /// Panics if the datagram is shorter than a header or than its type: the device is broken.
    virtual void received(sockaddr const* from, unsigned char const* data, unsigned int len);

    void subscribe(std::shared_ptr<TIObserver<ImuData>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<ImuData>> const& observer) override;
    void subscribe(std::shared_ptr<TIObserver<GnssData>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<GnssData>> const& observer) override;
    void subscribe(std::shared_ptr<TIObserver<GnssPvt>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<GnssPvt>> const& observer) override;
    void subscribe(std::shared_ptr<TIObserver<AttitudeData>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<AttitudeData>> const& observer) override;
    void subscribe(std::shared_ptr<TIObserver<GenericData>> const& observer) override;
    void unsubscribe(std::shared_ptr<TIObserver<GenericData>> const& observer) override;

private:
    template <class Record>
    void publish(UdpPacketAnalyzer<Record> const& analyzer, unsigned char const* data,
                 unsigned int len);

    std::shared_ptr<IUdpCon> m_connection;
    UdpPacketAnalyzer<ImuData> m_imuAnalyzer;
    UdpPacketAnalyzer<GnssData> m_gnssAnalyzer;
    UdpPacketAnalyzer<GnssPvt> m_pvtAnalyzer;
    UdpPacketAnalyzer<AttitudeData> m_attitudeAnalyzer;
    UdpPacketAnalyzer<GenericData> m_genericAnalyzer;
    PlaybackObservable m_observable;
};

/// Makes controllers on one connection.
class PlaybackControllerFactory
{
public:
    explicit PlaybackControllerFactory(std::shared_ptr<IUdpCon> connection);
    virtual ~PlaybackControllerFactory() = default;

    std::shared_ptr<IPlaybackController> create();

private:
    std::shared_ptr<IUdpCon> m_connection;
};

#endif
