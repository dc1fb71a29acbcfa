#ifndef TESTS_LOOPBACK_PEER_H
#define TESTS_LOOPBACK_PEER_H

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

inline sockaddr_in loopbackAddress(uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

/// The local address of a socket.
inline sockaddr_in localAddress(int fd)
{
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        abort();
    return address;
}

/// The local port of a socket, 0 while it is not bound.
inline uint16_t localPort(int fd)
{
    return ntohs(localAddress(fd).sin_port);
}

/// The other end: a plain socket with its own port on the loopback interface.
class LoopbackPeer
{
public:
    LoopbackPeer()
    {
        timeval const timeout = {20, 0};
        sockaddr_in const any = loopbackAddress(0);
        if (setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout) != 0 ||
            bind(m_fd, reinterpret_cast<sockaddr const*>(&any), sizeof any) != 0)
            abort();
        m_address = localAddress(m_fd);
    }
    ~LoopbackPeer() { close(m_fd); }
    LoopbackPeer(LoopbackPeer const&) = delete;
    LoopbackPeer& operator=(LoopbackPeer const&) = delete;

    int fd() const { return m_fd; }
    sockaddr_in const& address() const { return m_address; }
    uint16_t port() const { return ntohs(m_address.sin_port); }

    /// Learns the address of an open IUdpCon.
    template <class Connection>
    void meet(Connection& connection)
    {
        static unsigned char const GREETING = 0;
        EXPECT_TRUE(connection.transmit(&m_address, &GREETING, 1));
        EXPECT_EQ(std::vector<unsigned char>{GREETING}, receive());
    }

    /// The next datagram; waits for it.
    std::vector<unsigned char> receive()
    {
        std::vector<unsigned char> bytes(65536);
        socklen_t size = sizeof m_sender;
        ssize_t const received = recvfrom(m_fd, bytes.data(), bytes.size(), 0,
                                          reinterpret_cast<sockaddr*>(&m_sender), &size);
        EXPECT_GE(received, 0) << "no datagram";
        bytes.resize(received > 0 ? static_cast<size_t>(received) : 0);
        return bytes;
    }
    std::string receiveText()
    {
        std::vector<unsigned char> const bytes = receive();
        return {bytes.begin(), bytes.end()};
    }

    bool hasDatagram() const
    {
        unsigned char byte = 0;
        return recv(m_fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT) >= 0;
    }

    /// Of the datagram received last.
    sockaddr_in const& sender() const { return m_sender; }

    /// Sends to that sender.
    template <class Container>
    void send(Container const& bytes) const
    {
        sendTo(m_sender, bytes);
    }
    template <class Container>
    void sendTo(sockaddr_in const& to, Container const& bytes) const
    {
        EXPECT_EQ(static_cast<ssize_t>(bytes.size()),
                  sendto(m_fd, bytes.data(), bytes.size(), 0,
                         reinterpret_cast<sockaddr const*>(&to), sizeof to));
    }

    /// Sends to the port of a socket of this process and waits until there is something to read.
    void sendToSocket(int fd, std::string const& text) const
    {
        pollfd arrival = {fd, POLLIN, 0};
        sendTo(loopbackAddress(localPort(fd)), text);
        EXPECT_EQ(1, poll(&arrival, 1, 20000)) << "nothing arrived";
    }

private:
    int m_fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in m_address = {};
    sockaddr_in m_sender = {};
};

#endif
