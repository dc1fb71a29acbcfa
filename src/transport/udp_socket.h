#ifndef TRANSPORT_UDP_SOCKET_H
#define TRANSPORT_UDP_SOCKET_H

#include "i_udp_socket.h"

/// A socket on all interfaces. Descriptor 0 counts as not open.
class UdpSocket : public IUdpSocket
{
public:
    /// `port` is the local port to bind, in host byte order; 0 lets the system choose.
    explicit UdpSocket(int port);
    ~UdpSocket() override;
    UdpSocket(UdpSocket const&) = delete;
    UdpSocket& operator=(UdpSocket const&) = delete;

    bool open() override;

    /// Closes the socket when it fails.
    bool bind() override;
    bool close() override;
    bool transmit(sockaddr_in const* to, unsigned char const* data, unsigned int len) override;
    bool transmit(message_t const& msg) override;
    message_t receive() override;
    int getFd() const override;

    /// Refuses datagrams from now on. What has already arrived stays in the queue. Returns false on
    /// failure, and prints nothing.
    bool refuseFurther();

private:
    bool isOpen() const { return m_fd >= 1; }
    void closeFd();

    int m_fd = -1;
    int m_port;
};

#endif
