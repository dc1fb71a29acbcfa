#ifndef TESTS_LINK_LOOPBACK_DEVICE_H
#define TESTS_LINK_LOOPBACK_DEVICE_H

#include <cstdlib>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "i_udp_con.h"
#include "sample_records.h"

/// A device's socket on the loopback interface.
class LoopbackDevice
{
public:
    LoopbackDevice()
    {
        timeval const timeout = {20, 0};
        socklen_t size = sizeof m_address;

        m_address.sin_family = AF_INET;
        m_address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (m_fd == -1 ||
            setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout) != 0 ||
            bind(m_fd, generic(&m_address), size) != 0 ||
            getsockname(m_fd, generic(&m_address), &size) != 0)
            abort();
    }
    ~LoopbackDevice() { close(m_fd); }
    LoopbackDevice(LoopbackDevice const&) = delete;
    LoopbackDevice& operator=(LoopbackDevice const&) = delete;

    int fd() const { return m_fd; }
    sockaddr_in const& address() const { return m_address; }

    /// Learns the address of a connection that is open.
    void meet(IUdpCon& connection)
    {
        static unsigned char const GREETING = 0;
        EXPECT_TRUE(connection.transmit(&m_address, &GREETING, 1));
        EXPECT_EQ(Bytes{GREETING}, receive());
    }

    /// The next datagram; its sender is the peer from then on.
    Bytes receive()
    {
        Bytes bytes(2000);
        sockaddr_in sender = {};
        socklen_t size = sizeof sender;
        ssize_t const received =
            recvfrom(m_fd, bytes.data(), bytes.size(), 0, generic(&sender), &size);
        EXPECT_GE(received, 0) << "no datagram";
        m_peer = sender;
        bytes.resize(received > 0 ? static_cast<size_t>(received) : 0);
        return bytes;
    }

    bool hasDatagram() const
    {
        unsigned char byte = 0;
        return recv(m_fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT) >= 0;
    }

    /// On loopback the datagram is in the peer's queue when this returns.
    template <class Container>
    void send(Container const& bytes) const
    {
        sendTo(m_peer, bytes);
    }
    template <class Container>
    void sendTo(sockaddr_in const& to, Container const& bytes) const
    {
        EXPECT_EQ(static_cast<ssize_t>(bytes.size()),
                  sendto(m_fd, bytes.data(), bytes.size(), 0, generic(&to), sizeof to));
    }
    void sendAllSamples() const
    {
        send(Sample<ImuData>::PACKET);
        send(Sample<GnssData>::PACKET);
        send(Sample<GnssPvt>::PACKET);
        send(Sample<AttitudeData>::PACKET);
        send(Sample<GenericData>::PACKET);
    }

    sockaddr_in const& peer() const { return m_peer; }

private:
    static sockaddr* generic(sockaddr_in* address) { return reinterpret_cast<sockaddr*>(address); }
    static sockaddr const* generic(sockaddr_in const* address)
    {
        return reinterpret_cast<sockaddr const*>(address);
    }

    int m_fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in m_address = {};
    sockaddr_in m_peer = {};
};

#endif
