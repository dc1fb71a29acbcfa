// Loaded into a program ahead of the C library (LD_PRELOAD), for faults that loopback, the disk and
// the limits of a process do not bring about. The environment says what to do:
//
//   FAULT_CALL      sendto, recvfrom, select, socket, bind, fcntl, malloc, this one for every
//                   allocation there is, or poll, which fails by telling that there is room
//   FAULT_FIRST     the first call that fails, from 1
//   FAULT_COUNT     how many fail from there on
//   FAULT_ERRNO     how they fail; 0 for 1000 and the number of the call, which no error has
//   FAULT_SEEN      a file that gets a byte for every call that has failed
//   FAULT_STALL_MS  how long the first write to the log takes, whatever signals come; it gives
//                   FAULT_SEEN a byte when it begins
//   FAULT_SLOW_US   how long each recvfrom takes at least
//   FAULT_ALARM_US  a signal that interrupts whatever waits, every so many microseconds

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

static constexpr long FIRST_NUMBER = 1000;

static long variable(char const* name)
{
    char const* const text = getenv(name);
    return text ? strtol(text, nullptr, 10) : 0;
}

static void noteFailure()
{
    char const* const path = getenv("FAULT_SEEN");
    if (!path)
        return;
    int const fd = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0 || write(fd, ".", 1) != 1)
        abort();
    close(fd);
}

static bool fails(char const* call)
{
    static long s_calls = 0;

    // Null before the C library is set up, which allocates, too.
    char const* const chosen = environ ? getenv("FAULT_CALL") : nullptr;
    if (!chosen || strcmp(chosen, call) != 0)
        return false;
    long const past = ++s_calls - variable("FAULT_FIRST");
    if (past < 0 || past >= variable("FAULT_COUNT"))
        return false;
    noteFailure();
    long const error = variable("FAULT_ERRNO");
    errno = static_cast<int>(error != 0 ? error : FIRST_NUMBER + s_calls);
    return true;
}

// The C library's own function, of the type of `own`.
template <class Function>
static Function* next(char const* name, Function* /*own*/)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

static void sleepThrough(long us)
{
    timespec left = {us / 1000000, us % 1000000 * 1000};
    while (nanosleep(&left, &left) != 0) {
    }
}

static void stall()
{
    static bool s_over = false;

    if (s_over)
        return;
    s_over = true;
    noteFailure();
    sleepThrough(variable("FAULT_STALL_MS") * 1000);
}

// A stream above a stream: the C library's own writes cannot be replaced.
static ssize_t writeLate(void* stream, char const* data, size_t len)
{
    stall();
    return write(fileno(static_cast<FILE*>(stream)), data, len);
}

static int closeLate(void* stream)
{
    return fclose(static_cast<FILE*>(stream));
}

static void onAlarm(int /*sig*/) {}

__attribute__((constructor)) static void startAlarm()
{
    auto const us = static_cast<suseconds_t>(variable("FAULT_ALARM_US"));
    struct sigaction action = {};
    action.sa_handler = onAlarm;
    action.sa_flags = SA_RESTART; // of reads and writes; a wait is cut short all the same
    itimerval const period = {{0, us}, {0, us}};

    if (us != 0 && (sigaction(SIGALRM, &action, nullptr) != 0 ||
                    setitimer(ITIMER_REAL, &period, nullptr) != 0))
        abort();
}

extern "C" {
ssize_t sendto(int fd, void const* data, size_t len, int flags, sockaddr const* to, socklen_t toLen)
{
    return fails("sendto") ? -1 : next("sendto", &sendto)(fd, data, len, flags, to, toLen);
}

ssize_t recvfrom(int fd, void* data, size_t len, int flags, sockaddr* from, socklen_t* fromLen)
{
    if (long const us = variable("FAULT_SLOW_US"))
        sleepThrough(us);
    return fails("recvfrom") ? -1
                             : next("recvfrom", &recvfrom)(fd, data, len, flags, from, fromLen);
}

int select(int count, fd_set* read, fd_set* write, fd_set* except, timeval* limit)
{
    return fails("select") ? -1 : next("select", &select)(count, read, write, except, limit);
}

FILE* fopen64(char const* name, char const* mode)
{
    FILE* const stream = next("fopen64", &fopen64)(name, mode);
    if (!stream || variable("FAULT_STALL_MS") == 0)
        return stream;
    return fopencookie(stream, mode, {nullptr, writeLate, nullptr, closeLate});
}

// As if another program were faster and took the room.
int poll(pollfd* watched, nfds_t count, int timeout)
{
    if (!fails("poll"))
        return next("poll", &poll)(watched, count, timeout);
    watched->revents = watched->events;
    return 1;
}

int socket(int domain, int type, int protocol) noexcept
{
    return fails("socket") ? -1 : next("socket", &socket)(domain, type, protocol);
}

int bind(int fd, sockaddr const* address, socklen_t len) noexcept
{
    return fails("bind") ? -1 : next("bind", &bind)(fd, address, len);
}

int fcntl(int fd, int command, ...)
{
    va_list ap;
    va_start(ap, command);
    long const argument = va_arg(ap, long);
    va_end(ap);
    return command == F_SETFL && fails("fcntl") ? -1 : next("fcntl", &fcntl)(fd, command, argument);
}

// The sanitizers have their own allocator.
#ifndef __SANITIZE_ADDRESS__
// The names are the C library's.
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);

void* malloc(size_t size) noexcept
{
    return fails("malloc") ? nullptr : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) noexcept
{
    return fails("malloc") ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) noexcept
{
    return fails("malloc") ? nullptr : __libc_realloc(memory, size);
}
// NOLINTEND(bugprone-reserved-identifier)
#endif
}
