#ifndef TRANSPORT_UDP_SOCKET_FACTORY_H
#define TRANSPORT_UDP_SOCKET_FACTORY_H

#include <memory>

#include "i_udp_socket.h"

class UdpSocketFactory
{
public:
    /// `port` is the local port of every socket made; 0 lets the system choose.
    explicit UdpSocketFactory(int port);
    virtual ~UdpSocketFactory() = default;

    std::unique_ptr<IUdpSocket> create() const;

private:
    int m_port;
};

#endif
