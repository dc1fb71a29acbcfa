#ifndef TESTS_DESCRIPTORS_H
#define TESTS_DESCRIPTORS_H

#include <cstdlib>

#include <sys/socket.h>
#include <unistd.h>

/// Two connected stream sockets: `near` is writable, and readable once `makeReadable` was called.
class SocketPair
{
public:
    SocketPair()
    {
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, m_fds) == -1)
            abort();
    }
    ~SocketPair()
    {
        close(m_fds[0]);
        close(m_fds[1]);
    }
    SocketPair(SocketPair const&) = delete;
    SocketPair& operator=(SocketPair const&) = delete;

    int near() const { return m_fds[0]; }

    void makeReadable() const
    {
        if (write(m_fds[1], "x", 1) != 1)
            abort();
    }

private:
    int m_fds[2] = {-1, -1};
};

/// A descriptor that stays readable and writable.
class ReadyPair : public SocketPair
{
public:
    ReadyPair() { makeReadable(); }
};

#endif
