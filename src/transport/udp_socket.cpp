#include "udp_socket.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <linux/filter.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tt_slog.h"

UdpSocket::UdpSocket(int port) : m_port(port) {}

UdpSocket::~UdpSocket()
{
    if (isOpen())
        ::close(m_fd);
}

bool UdpSocket::open()
{
    m_fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (m_fd == -1) {
        tt_slog(TT_SLOG_ERROR, "%s: socket create failed errno %d", "open", errno);
        return false;
    }

    int const flags = ::fcntl(m_fd, F_GETFL);
    if (::fcntl(m_fd, F_SETFL, flags | O_NONBLOCK) < 0) {
        tt_slog(TT_SLOG_ERROR, "%s: turning NONBLOCKING on failed errno %d", "open", errno);
        closeFd();
        return false;
    }
    return true;
}

bool UdpSocket::bind()
{
    if (!isOpen()) {
        tt_slog(TT_SLOG_ERROR, "%s: socket not open", "bind");
        return false;
    }

    sockaddr_in local = {};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_ANY);
    local.sin_port = htons(static_cast<uint16_t>(m_port));
    if (::bind(m_fd, reinterpret_cast<sockaddr*>(&local), sizeof local) == -1) {
        tt_slog(TT_SLOG_ERROR, "%s: bind failed errno %d", "bind", errno);
        closeFd();
        return false;
    }
    return true;
}

bool UdpSocket::close()
{
    if (!isOpen()) {
        tt_slog(TT_SLOG_WARNING, "UdpSocket::%s: not open\n", "close");
        return false;
    }
    closeFd();
    return true;
}

bool UdpSocket::transmit(sockaddr_in const* to, unsigned char const* data, unsigned int len)
{
    if (::sendto(m_fd, data, len, 0, reinterpret_cast<sockaddr const*>(to), sizeof *to) >= 0)
        return true;

    // The loop has one thread: waiting for room in the send queue would stall reception and timers.
    if (errno == EAGAIN)
        return true;

    tt_slog(TT_SLOG_DEBUG, "UdpSocket::%s: sendto failed errno %d: %s", "transmit", errno,
            strerror(errno));
    return false;
}

bool UdpSocket::transmit(message_t const& msg)
{
    return transmit(&msg.addr, msg.data, static_cast<unsigned>(msg.len));
}

IUdpSocket::message_t UdpSocket::receive()
{
    message_t msg;
    socklen_t addrLen = sizeof msg.addr;

    msg.len = static_cast<int32_t>(::recvfrom(m_fd, msg.data, sizeof msg.data, 0,
                                              reinterpret_cast<sockaddr*>(&msg.addr), &addrLen));
    return msg;
}

int UdpSocket::getFd() const
{
    return m_fd;
}

bool UdpSocket::refuseFurther()
{
    // A filter that lets no byte of a datagram pass.
    sock_filter nothing = {BPF_RET | BPF_K, 0, 0, 0};
    sock_fprog const program = {1, &nothing};

    return ::setsockopt(m_fd, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
}

void UdpSocket::closeFd()
{
    ::close(m_fd);
    m_fd = -1;
}
