#ifndef DEVICE_SIM_DEVICE_SOCKET_H
#define DEVICE_SIM_DEVICE_SOCKET_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include <netinet/in.h>

/// The device's UDP socket. Construction throws std::system_error or std::invalid_argument.
class DeviceSocket
{
public:
    /// A received datagram. One longer than the buffer is cut to it.
    struct Reception
    {
        sockaddr_in from = {};
        std::array<unsigned char, 2048> bytes = {};
        size_t size = 0;
        int64_t time = 0;       // CLOCK_REALTIME when the kernel took it, in ns
        uint32_t overflows = 0; // datagrams that the socket had no room for so far
    };

    /// Port 0 lets the system choose.
    DeviceSocket(std::string const& address, uint16_t port);
    ~DeviceSocket();
    DeviceSocket(DeviceSocket const&) = delete;
    DeviceSocket& operator=(DeviceSocket const&) = delete;

    int fd() const { return m_fd; }
    uint16_t port() const;

    /// False when no datagram is waiting.
    bool receive(Reception& reception) const;

    /// False when the datagram could not be sent.
    bool send(sockaddr_in const& to, void const* data, size_t size) const;

private:
    int m_fd = -1;
};

#endif
