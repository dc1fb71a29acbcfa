#ifndef LINK_LOG_CONTROLLER_H
#define LINK_LOG_CONTROLLER_H

#include <memory>

#include "i_log_controller.h"
#include "i_udp_con.h"
#include "i_udp_receiver.h"

/// Sends records as device datagrams to where its receiver says, if the receiver is ready: the
/// others are dropped in silence. What arrives on the connection goes to the receiver. It must
/// outlive its reception: tearDown() before it is destroyed.
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
    template <class T>
    void sendImpl(T const& record);

    std::shared_ptr<IUdpCon> m_connection;
    std::unique_ptr<IUdpReceiver> m_receiver;
};

/// Makes controllers on one connection, each with a receiver of its own.
class LogControllerFactory
{
public:
    /// Controllers that wait for a device to greet them.
    explicit LogControllerFactory(std::shared_ptr<IUdpCon> const& connection);

    /// Controllers that send to `address`; null makes them wait for a greeting.
    LogControllerFactory(std::shared_ptr<IUdpCon> const& connection,
                         std::shared_ptr<sockaddr_in> address);

    std::shared_ptr<ILogController> create() const;

private:
    std::shared_ptr<IUdpCon> m_connection;
    std::shared_ptr<sockaddr_in> m_address;
};

#endif
