#include "device_sim/device_socket.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <system_error>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include "device_sim/simulation_time.h"

static constexpr int BUFFER_SIZE = 64 * 1024 * 1024; // seconds of the fastest replay

static std::system_error systemError(int cause, std::string const& what)
{
    return {cause, std::generic_category(), what};
}

static sockaddr_in parseAddress(std::string const& address, uint16_t port)
{
    sockaddr_in parsed = {};
    parsed.sin_family = AF_INET;
    parsed.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &parsed.sin_addr) != 1)
        throw std::invalid_argument("not an IPv4 address: " + address);
    return parsed;
}

static bool setOption(int fd, int option, int value)
{
    return setsockopt(fd, SOL_SOCKET, option, &value, sizeof value) == 0;
}

DeviceSocket::DeviceSocket(std::string const& address, uint16_t port)
{
    sockaddr_in const local = parseAddress(address, port);
    m_fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (m_fd == -1)
        throw systemError(errno, "socket");

    if (bind(m_fd, reinterpret_cast<sockaddr const*>(&local), sizeof local) == -1) {
        int const cause = errno;
        close(m_fd);
        throw systemError(cause, "cannot listen on " + address + ":" + std::to_string(port));
    }

    // Without the privilege the system's limit applies.
    if (!setOption(m_fd, SO_RCVBUFFORCE, BUFFER_SIZE))
        setOption(m_fd, SO_RCVBUF, BUFFER_SIZE);
    setOption(m_fd, SO_TIMESTAMPNS, 1);
    setOption(m_fd, SO_RXQ_OVFL, 1);
}

DeviceSocket::~DeviceSocket()
{
    close(m_fd);
}

uint16_t DeviceSocket::port() const
{
    sockaddr_in local = {};
    socklen_t size = sizeof local;
    if (getsockname(m_fd, reinterpret_cast<sockaddr*>(&local), &size) == -1)
        throw systemError(errno, "getsockname");
    return ntohs(local.sin_port);
}

static void readControl(msghdr& message, DeviceSocket::Reception& reception)
{
    for (cmsghdr* c = CMSG_FIRSTHDR(&message); c; c = CMSG_NXTHDR(&message, c)) {
        if (c->cmsg_level != SOL_SOCKET)
            continue;
        if (c->cmsg_type == SCM_TIMESTAMPNS) {
            timespec stamp = {};
            memcpy(&stamp, CMSG_DATA(c), sizeof stamp);
            reception.time = static_cast<int64_t>(stamp.tv_sec) * NS_PER_S + stamp.tv_nsec;
        } else if (c->cmsg_type == SO_RXQ_OVFL) {
            memcpy(&reception.overflows, CMSG_DATA(c), sizeof reception.overflows);
        }
    }
}

bool DeviceSocket::receive(Reception& reception) const
{
    alignas(cmsghdr) std::array<unsigned char, 256> control;
    iovec part = {reception.bytes.data(), reception.bytes.size()};
    msghdr message = {};
    message.msg_name = &reception.from;
    message.msg_namelen = sizeof reception.from;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();

    ssize_t const size = recvmsg(m_fd, &message, MSG_DONTWAIT);
    if (size == -1)
        return false;
    reception.size = static_cast<size_t>(size);
    readControl(message, reception);
    return true;
}

bool DeviceSocket::send(sockaddr_in const& to, void const* data, size_t size) const
{
    ssize_t sent = -1;
    do {
        sent = sendto(m_fd, data, size, 0, reinterpret_cast<sockaddr const*>(&to), sizeof to);
    } while (sent == -1 && errno == EINTR);
    return sent == static_cast<ssize_t>(size);
}
