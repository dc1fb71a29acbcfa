#ifndef TESTS_LOOPBACK_PEER_H
#define TESTS_LOOPBACK_PEER_H

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
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

/// The first `size` bytes of a pattern without a period of a power of two.
inline std::string pattern(size_t size)
{
    std::string bytes;
    for (size_t i = 0; i < size; ++i)
        bytes += static_cast<char>(i % 251);
    return bytes;
}

inline unsigned char const* bytesOf(std::string const& text)
{
    return reinterpret_cast<unsigned char const*>(text.data());
}

/// The other end: a plain socket bound to a port of its own on the loopback interface.
class LoopbackPeer
{
public:
    LoopbackPeer() : m_fd(socket(AF_INET, SOCK_DGRAM, 0))
    {
        sockaddr_in const any = loopbackAddress(0);
        if (bind(m_fd, reinterpret_cast<sockaddr const*>(&any), sizeof any) != 0)
            abort();
    }
    ~LoopbackPeer() { close(m_fd); }
    LoopbackPeer(LoopbackPeer const&) = delete;
    LoopbackPeer& operator=(LoopbackPeer const&) = delete;

    sockaddr_in address() const { return localAddress(m_fd); }
    uint16_t port() const { return localPort(m_fd); }

    /// Sends a datagram to a local port and waits until it has arrived at `fd`, bound to that port.
    void send(std::string const& bytes, int fd) const
    {
        sockaddr_in const to = loopbackAddress(localPort(fd));
        pollfd arrival = {fd, POLLIN, 0};
        if (sendto(m_fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr const*>(&to),
                   sizeof to) != static_cast<ssize_t>(bytes.size()) ||
            poll(&arrival, 1, 5000) != 1)
            abort();
    }

    /// The next datagram; `from` gets the port of the sender.
    std::string receive(uint16_t* from = nullptr) const
    {
        std::vector<char> bytes(65536);
        sockaddr_in sender = {};
        socklen_t size = sizeof sender;
        pollfd arrival = {m_fd, POLLIN, 0};
        if (poll(&arrival, 1, 5000) != 1)
            return "nothing arrived";
        ssize_t const len = recvfrom(m_fd, bytes.data(), bytes.size(), 0,
                                     reinterpret_cast<sockaddr*>(&sender), &size);
        if (from)
            *from = ntohs(sender.sin_port);
        return {bytes.data(), static_cast<size_t>(len)};
    }

    bool hasReceived() const
    {
        pollfd arrival = {m_fd, POLLIN, 0};
        return poll(&arrival, 1, 0) == 1;
    }

private:
    int m_fd;
};

#endif
