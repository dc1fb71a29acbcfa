#include "log_controller.h"

#include <utility>

#include "acknowledge_udp_receiver.h"
#include "constant_udp_receiver.h"
#include "packet_codec.h"

LogController::LogController(std::shared_ptr<IUdpCon> const& connection,
                             std::unique_ptr<IUdpReceiver> receiver)
    : m_connection(connection),
      m_receiver(std::move(receiver))
{}

void LogController::initialize()
{
    if (!m_connection || !m_receiver)
        return;

    m_connection->open();
    m_connection->setRxCallBack(
        [this](sockaddr const* from, unsigned char const* data, unsigned int len) {
            m_receiver->received(from, data, len);
        });
}

void LogController::tearDown()
{
    if (!m_connection)
        return;

    m_connection->setRxCallBack({});
    m_connection->close();
}

void LogController::send(ImuData const& record)
{
    sendImpl(record);
}

void LogController::send(GnssData const& record)
{
    sendImpl(record);
}

void LogController::send(GnssPvt const& record)
{
    sendImpl(record);
}

void LogController::send(AttitudeData const& record)
{
    sendImpl(record);
}

void LogController::send(GenericData const& record)
{
    sendImpl(record);
}

template <class T>
void LogController::sendImpl(T const& record)
{
    if (!m_connection || !m_receiver || !m_receiver->isReceiverReady())
        return;

    auto const packet = encodePacket(record);
    // Asked once per datagram: an acknowledging receiver counts the records it may still get.
    sockaddr_in const* const to = m_receiver->getReceiverAddress();
    m_connection->transmit(to, packet.data(), packet.size());
}

LogControllerFactory::LogControllerFactory(std::shared_ptr<IUdpCon> const& connection)
    : m_connection(connection)
{}

LogControllerFactory::LogControllerFactory(std::shared_ptr<IUdpCon> const& connection,
                                           std::shared_ptr<sockaddr_in> address)
    : m_connection(connection),
      m_address(std::move(address))
{}

std::shared_ptr<ILogController> LogControllerFactory::create() const
{
    std::unique_ptr<IUdpReceiver> receiver;
    if (m_address)
        receiver = std::make_unique<ConstantUdpReceiver>(m_address);
    else
        receiver = std::make_unique<AcknowledgeUdpReceiver>();
    return std::make_shared<LogController>(m_connection, std::move(receiver));
}
