#ifndef LINK_LOG_CONTROLLER_H
#define LINK_LOG_CONTROLLER_H

#include <memory>

#include "i_log_controller.h"
#include "i_udp_con.h"
#include "i_udp_receiver.h"

/// Sends records as device datagrams to the address that its receiver gives. Drops them silently
/// while the receiver is not ready. What arrives on the connection goes to the receiver. Call
/// tearDown() before it is destroyed, because the connection's callback refers to it.
class LogController : public ILogController
{
public:
    /// Without a connection or a receiver the controller sends nothing.
    LogController(std::shared_ptr<IUdpCon> const& connection,
                  std::unique_ptr<IUdpReceiver> receiver);

    void initialize() override;
    void tearDown() override;
    void send(ImuData const& record) override;
    void send(GnssData const& record) override;
    void send(GnssPvt const& record) override;
    void send(AttitudeData const& record) override;
    void send(GenericData const& record) override;

private:
    // By reference: a copy would cost a hundredth of all that a replayed record takes.
    template <class T>
    void sendImpl(T const& record);

    std::shared_ptr<IUdpCon> m_connection;
    std::unique_ptr<IUdpReceiver> m_receiver;
};

/// Makes controllers on one connection. Each has its own receiver.
class LogControllerFactory
{
public:
    /// Makes controllers that wait for a hello.
    explicit LogControllerFactory(std::shared_ptr<IUdpCon> const& connection);

    /// Makes controllers that send to `address`. If it is null, they wait for a hello.
    LogControllerFactory(std::shared_ptr<IUdpCon> const& connection,
                         std::shared_ptr<sockaddr_in> address);

    std::shared_ptr<ILogController> create() const;

private:
    std::shared_ptr<IUdpCon> m_connection;
    std::shared_ptr<sockaddr_in> m_address;
};

#endif
