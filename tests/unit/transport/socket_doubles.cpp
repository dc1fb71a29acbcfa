#include "socket_doubles.h"

#include <cerrno>
#include <cstdarg>
#include <cstddef>

#include <fcntl.h>
#include <sys/socket.h>

static int s_errors[static_cast<size_t>(SystemCall::COUNT)] = {};

Failing::Failing(SystemCall call, int error) : m_call(call)
{
    s_errors[static_cast<size_t>(call)] = error;
}

Failing::~Failing()
{
    s_errors[static_cast<size_t>(m_call)] = 0;
}

static bool fails(SystemCall call)
{
    int const error = s_errors[static_cast<size_t>(call)];
    if (error != 0)
        errno = error;
    return error != 0;
}

// The names are the linker's.
extern "C" {
ssize_t __real_sendto(int fd, void const* data, size_t len, int flags, sockaddr const* to,
                      socklen_t toLen);
int __real_fcntl(int fd, int command, ...);
int __real_setsockopt(int fd, int level, int name, void const* value, socklen_t len);

ssize_t __wrap_sendto(int fd, void const* data, size_t len, int flags, sockaddr const* to,
                      socklen_t toLen);
int __wrap_fcntl(int fd, int command, ...);
int __wrap_setsockopt(int fd, int level, int name, void const* value, socklen_t len);

int __wrap_setsockopt(int fd, int level, int name, void const* value, socklen_t len)
{
    return fails(SystemCall::SETSOCKOPT) ? -1 : __real_setsockopt(fd, level, name, value, len);
}

ssize_t __wrap_sendto(int fd, void const* data, size_t len, int flags, sockaddr const* to,
                      socklen_t toLen)
{
    return fails(SystemCall::SENDTO) ? -1 : __real_sendto(fd, data, len, flags, to, toLen);
}

int __wrap_fcntl(int fd, int command, ...)
{
    va_list ap;
    va_start(ap, command);
    long const argument = va_arg(ap, long);
    va_end(ap);
    return command == F_SETFL && fails(SystemCall::FCNTL_SETFL)
               ? -1
               : __real_fcntl(fd, command, argument);
}
}
