#include "udp_socket_factory.h"

#include "udp_socket.h"

UdpSocketFactory::UdpSocketFactory(int port) : m_port(port) {}

std::unique_ptr<IUdpSocket> UdpSocketFactory::create() const
{
    return std::make_unique<UdpSocket>(m_port);
}
