#ifndef TRANSPORT_I_UDP_SOCKET_H
#define TRANSPORT_I_UDP_SOCKET_H

#include <cstdint>

#include <netinet/in.h>

/// A non-blocking IPv4 UDP socket. Failures are logged and reported as false.
class IUdpSocket
{
public:
    /// The longest datagram in either direction. A longer one is cut to this size when it is
    /// received.
    static constexpr unsigned MAX_DATAGRAM_SIZE = 1600;

    /// One datagram. It is not cleared: only the first `len` bytes of `data` mean anything.
    struct message_t
    {
        sockaddr_in addr; // sender when received, destination when sent
        int32_t len;      // when received: recvfrom's result, -1 for none
        unsigned char data[MAX_DATAGRAM_SIZE];
    };

    virtual ~IUdpSocket() = default;
    virtual bool open() = 0;
    virtual bool bind() = 0;
    virtual bool close() = 0;

    /// Sends one datagram. If the kernel cannot take it at once, it is dropped and counts as sent.
    virtual bool transmit(sockaddr_in const* to, unsigned char const* data, unsigned int len) = 0;
    virtual bool transmit(message_t const& msg) = 0;

    /// Takes one datagram from the socket's queue; never blocks.
    virtual message_t receive() = 0;

    /// -1 while closed.
    virtual int getFd() const = 0;
};

#endif
