#ifndef TESTS_SOCKET_DOUBLES_H
#define TESTS_SOCKET_DOUBLES_H

// Failures, by the linker's --wrap, that a datagram socket on the loopback interface never shows.

enum class SystemCall
{
    SENDTO,
    FCNTL_SETFL,
    SETSOCKOPT,
    COUNT
};

/// The system call fails with the error while the object lives.
class Failing
{
public:
    Failing(SystemCall call, int error);
    ~Failing();
    Failing(Failing const&) = delete;
    Failing& operator=(Failing const&) = delete;

private:
    SystemCall m_call;
};

#endif
